// DString's wildcard match, abbreviation and binary-digit tests, and reading
// a line or a white-space-delimited word from a standard input stream.
#include "string/dstring_p.hpp"

#include "dstring.hpp"

#include <cctype>
#include <istream>

//===--- Matching ---------------------------------------------------------===//

bool DString::isLike(char const* pattern, unsigned int patternLength,
                     char anyString, char anyChar) const {
  // Plain equality wins first, whatever wildcards the pattern holds.
  if (buffer()->compare(pattern, patternLength) == 0)
    return true;
  unsigned int const n = length();
  if (patternLength == 0)
    return n == 0;
  // Greedy matcher with one restart point: only the latest anyString is ever
  // returned to, and each return lets it absorb one more byte. Every restart
  // moves restartText forward, so the work is at most patternLength times
  // the text length; there is no exponential backtracking.
  char const* const text = pBuffer;
  unsigned int p = 0, t = 0;
  bool haveRestart = false;
  unsigned int restartPattern = 0, restartText = 0;
  for (;;) {
    if (p == patternLength) {
      if (t == n)
        return true;
      if (!haveRestart)
        return false;
      p = restartPattern;
      t = ++restartText;
      continue;
    }
    char const c = pattern[p];
    if (c == anyString) { // before anyChar: when equal, it acts as anyString
      if (p + 1 == patternLength)
        return true; // swallows the rest of the text
      haveRestart = true;
      restartPattern = ++p;
      restartText = t;
      continue;
    }
    if (t == n)
      return false; // absorbing more into anyString cannot help either
    if (c == anyChar || c == text[t]) {
      ++p;
      ++t;
      continue;
    }
    if (!haveRestart)
      return false;
    p = restartPattern;
    t = ++restartText;
  }
}

bool DString::isAbbrevFor(char const* text, unsigned int textLength,
                          unsigned int minLength) const {
  unsigned int const n = length();
  unsigned int const least = minLength == 0 ? n : minLength;
  if (textLength < n || least > n)
    return false;
  return buffer()->compare(text, n) == 0;
}

bool DString::isBinaryDigits() const {
  unsigned int const n = length();
  if (n == 0)
    return false;
  // As a signed byte, b ^ 0x31 is 0 or 1 for "1" and "0" and negative for
  // every byte from 0x80 on: high bytes pass on purpose (b2c reads them as
  // 0 bits).
  for (unsigned int i = 0; i < n; ++i)
    if ((static_cast<signed char>(pBuffer[i]) ^ 0x31) > 1)
      return false;
  return true;
}

//===--- Stream input -----------------------------------------------------===//
// Both readers fill a private work string through non-const indexing (which
// never copies a private buffer) and double it with blanks when it is full,
// so reading stays linear; the unused tail is cut off at the end.

// Appends \p count blanks: one new buffer, the old one released.
static void appendBlanks(DString& s, unsigned int count) {
  DBuffer* old = s.buffer();
  dinternal::StringAccess::adopt(s, old->newBuffer(old->contents(),
                                                   old->length(), nullptr,
                                                   count, nullptr, 0, ' '));
}

// Stores \p c as byte \p k + 1 of \p work, doubling it first when full.
static void storeNext(DString& work, unsigned int& k, char c) {
  if (k == work.length())
    appendBlanks(work, k);
  ++k;
  work[k] = c;
}

// Cuts \p work after byte \p k, keeping its first k bytes exactly. The cut
// is a plain byte cut, not the buffer's remove(): in multibyte text that
// blanks the bytes of a character it cuts, and when a reused target's old
// text completes a character that the bytes read only begin (old E6 97 A5,
// word E6), the word's own last byte would turn into a blank.
static void cutAfter(DString& work, unsigned int k) {
  DBuffer* b = work.buffer();
  if (k == b->length())
    return;
  dinternal::StringAccess::adopt(
      work, b->newBuffer(b->contents(), k, nullptr, 0, nullptr, 0, ' '));
}

static constexpr unsigned int initialWorkLength = 128;

DString DString::lineFrom(std::istream& in, char delimiter) {
  DString line(static_cast<void const*>(nullptr), initialWorkLength);
  unsigned int k = 0;
  char c = 0;
  in.get(c);
  while (!in.fail() && c != delimiter) {
    storeNext(line, k, c);
    in.get(c);
  }
  cutAfter(line, k);
  return line;
}

std::istream& operator>>(std::istream& in, DString& target) {
  // A non-empty target is reused as the work area from its first byte.
  if (target.length() == 0)
    target = DString(static_cast<void const*>(nullptr), initialWorkLength);
  std::streamsize const width = in.width();
  in.width(0);
  // Skips leading white space when skipws is set. Without skipws nothing is
  // skipped, so the noskipws argument (set when a width was given) is moot.
  std::istream::sentry const ok(in, !(in.flags() & std::ios_base::skipws) &&
                                        width != 0);
  if (!ok) {
    target = DString();
    return in;
  }
  // With a width w at most w - 1 bytes are read, as for a terminated text.
  unsigned long long const limit =
      width < 1 ? ~0ull : static_cast<unsigned long long>(width) - 1;
  unsigned int k = 0;
  using Traits = std::istream::traits_type;
  if (limit > 0) {
    for (Traits::int_type next = in.peek();
         !Traits::eq_int_type(next, Traits::eof()) && !std::isspace(next);
         next = in.peek()) {
      char c = 0;
      in.get(c);
      storeNext(target, k, c);
      if (k == limit)
        break;
    }
  }
  cutAfter(target, k);
  return in;
}
