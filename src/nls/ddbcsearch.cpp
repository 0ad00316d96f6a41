// Multibyte searches and substrings: the DDBCSBuffer overrides that only
// ever answer the first byte of a character; they step with CharStarts
// (nls/dmbchar_p.hpp).
#include "nls/ddbcsb_p.hpp"
#include "nls/dmbchar_p.hpp"
#include "string/dstring_p.hpp"

#include "ddbcsb.hpp"
#include "dnlsutil.hpp"
#include "dstring.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string.h> // memmem, memrchr
#include <vector>

using dinternal::byteArgument;
using dinternal::CharStarts;
using dinternal::wideStrategy;

//===--- Shared scans -----------------------------------------------------===//

namespace {

/// Whether the character at a start p of a text is one of a set's
/// characters (DDBCSBuffer::isCharValid(p, set, length), with the set
/// walked once).
class InSet {
public:
  InSet(DDBCSBuffer const& b, char const* set, unsigned int length)
      : text(b.contents()), textLength(b.length()), members(set, length) {}
  bool operator()(unsigned int p) const {
    if (p == 0 || p > textLength)
      return false;
    char const* const here = text + p - 1;
    return members.contains(here, dinternal::mbStep(here, textLength - p + 1));
  }

private:
  char const* text;
  unsigned int textLength;
  dinternal::CharSet members;
};

/// Forward over the characters from the start \p s of \p text: the first
/// that is (\p want) or is not one of \p members; else 0. Each character
/// is measured once, for the test and for the step (CharStarts::next()).
unsigned int scanSet(char const* text, unsigned int length, unsigned int s,
                     dinternal::CharSet const& members, bool want) {
  for (unsigned int p = s; p <= length;) {
    char const* const here = text + p - 1;
    unsigned int const size = dinternal::mbStep(here, length - p + 1);
    if (members.contains(here, size) == want)
      return p;
    p += size;
  }
  return 0;
}

/// Forward over character starts from the start \p s: the first for which
/// accept(position) holds; else 0.
template <class Accept>
unsigned int scanStarts(CharStarts const& walk, unsigned int s,
                        unsigned int length, Accept accept) {
  for (unsigned int p = s; p != 0 && p <= length; p = walk.next(p))
    if (accept(p))
      return p;
  return 0;
}

/// Backward over character starts from the start \p s down to 1.
template <class Accept>
unsigned int scanStartsBack(CharStarts& walk, unsigned int s, Accept accept) {
  for (unsigned int p = s; p != 0; p = walk.previous(p))
    if (accept(p))
      return p;
  return 0;
}

/// The first byte-level candidate at or after the start \p s that is a
/// character start. find(p) gives the first candidate at or after p, or 0;
/// a candidate inside a character resumes the scan at the next start, so
/// the walk only ever moves forward from where it stood.
template <class Find>
unsigned int firstCandidateAtStart(CharStarts& walk, unsigned int s,
                                   Find find) {
  for (unsigned int p = s;;) {
    unsigned int const q = find(p);
    if (q == 0 || q == p)
      return q; // p is a start
    unsigned int const b = walk.startAtOrAfter(q);
    if (b == q)
      return q;
    p = b;
  }
}

/// The backward counterpart: find(p) gives the last candidate at or before
/// p, or 0.
template <class Find>
unsigned int lastCandidateAtStart(CharStarts& walk, unsigned int s, Find find) {
  for (unsigned int p = s; p != 0;) {
    unsigned int const q = find(p);
    if (q == 0 || q == p)
      return q;
    unsigned int const b = walk.startAtOrBefore(q);
    if (b == q)
      return q;
    p = b;
  }
  return 0;
}

/// 1-based position of \p hit in \p text; 0 for no hit.
inline unsigned int positionOf(void const* hit, char const* text) {
  if (hit == nullptr)
    return 0;
  return static_cast<unsigned int>(static_cast<char const*>(hit) - text) + 1;
}

/// Forward byte finder for one byte \p c in the text's \p length bytes.
struct ByteFinder {
  char const* text;
  unsigned int length;
  char c;
  unsigned int operator()(unsigned int p) const {
    if (p > length)
      return 0;
    void const* hit = std::memchr(text + p - 1, c, length - p + 1);
    return positionOf(hit, text);
  }
};

/// Backward byte finder for one byte \p c.
struct LastByteFinder {
  char const* text;
  char c;
  unsigned int operator()(unsigned int p) const {
    void const* hit = memrchr(text, c, p);
    return positionOf(hit, text);
  }
};

/// The wide strategy of the predicate searches: tests the wide characters
/// of \p b from number \p k (1-based) stepping by \p step (+1 or -1) and
/// answers the byte position of the first whose test result is \p want.
/// The DWBuffer is a local, so it goes also when the test throws.
unsigned int wideScan(DDBCSBuffer const& b, unsigned int k, int step,
                      DStringTest const& test, bool want) {
  if (k == 0)
    return 0;
  DWBuffer const wide(b.contents(), b.length());
  if (k > wide.count())
    return 0;
  for (long i = k; i >= 1 && static_cast<unsigned long>(i) <= wide.count();
       i += step)
    if ((test.test(static_cast<int>(wide.data()[i - 1])) != 0) == want)
      return findBytePos(b.contents(), b.length(),
                         static_cast<unsigned int>(i));
  return 0;
}

} // namespace

//===--- Search starts ----------------------------------------------------===//

unsigned int DDBCSBuffer::startSearch(unsigned int start,
                                      unsigned int patternLength) const {
  unsigned int const s = DBuffer::startSearch(start, patternLength);
  if (s <= 1) // 0, or the first byte, which always starts a character
    return s;
  CharStarts walk(contents(), length());
  unsigned int const b = walk.startAtOrAfter(s);
  return b <= length() ? b : 0;
}

unsigned int
DDBCSBuffer::startBackwardsSearch(unsigned int start,
                                  unsigned int patternLength) const {
  unsigned int const s = DBuffer::startBackwardsSearch(start, patternLength);
  if (s <= 1)
    return s;
  CharStarts walk(contents(), length());
  return walk.startAtOrBefore(s);
}

//===--- Search -----------------------------------------------------------===//

unsigned int DDBCSBuffer::indexOf(char const* pattern, unsigned int length,
                                  unsigned int start) const {
  if (length == 1)
    return indexOfAnyOf(pattern, 1, start);
  unsigned int const s = startSearch(start, length);
  if (s == 0 || length == 0)
    return 0;
  char const* const text = contents();
  unsigned int const size = this->length();
  // Candidates come from memmem; only those on a character start count.
  CharStarts walk(text, size, s);
  return firstCandidateAtStart(walk, s, [&](unsigned int p) -> unsigned int {
    if (p > size || length > size - p + 1)
      return 0;
    void const* hit = memmem(text + p - 1, size - p + 1, pattern, length);
    return positionOf(hit, text);
  });
}

unsigned int DDBCSBuffer::indexOf(DStringTest const& test,
                                  unsigned int start) const {
  return wideStrategy() ? indexOfAnyOf(test, start)
                        : DBuffer::indexOf(test, start);
}

unsigned int DDBCSBuffer::indexOfAnyOf(char const* set, unsigned int length,
                                       unsigned int start) const {
  unsigned int const s = startSearch(start, 1);
  if (s == 0 || length == 0 || s > this->length())
    return 0;
  if (length == 1) {
    CharStarts walk(contents(), this->length(), s);
    return firstCandidateAtStart(
        walk, s, ByteFinder{contents(), this->length(), set[0]});
  }
  return scanSet(contents(), this->length(), s, dinternal::CharSet(set, length),
                 true);
}

unsigned int DDBCSBuffer::indexOfAnyBut(char const* set, unsigned int length,
                                        unsigned int start) const {
  unsigned int const s = startSearch(start, 1);
  if (s == 0)
    return 0;
  if (length == 0)
    return s;
  char const* const text = contents();
  unsigned int const size = this->length();
  if (length == 1) {
    // The set's one byte is all that is read of it: a byte that would lead
    // a longer character is incomplete within the set's length and so a
    // one-byte character, as at the end of a text. (Measuring it 16 bytes
    // deep read past the set, up to an unmapped page.)
    for (unsigned int p = s; p <= size; ++p) // byte steps, unlike below
      if (text[p - 1] != set[0])
        return p;
    return 0;
  }
  return scanSet(text, size, s, dinternal::CharSet(set, length), false);
}

unsigned int DDBCSBuffer::lastIndexOf(char const* pattern, unsigned int length,
                                      unsigned int start) const {
  unsigned int const s = startBackwardsSearch(start, length);
  if (s == 0 || length == 0)
    return 0;
  char const* const text = contents();
  CharStarts walk(text, this->length(), s);
  if (length == 1)
    return lastCandidateAtStart(walk, s, LastByteFinder{text, pattern[0]});
  // Candidates: the pattern's first byte, confirmed with memcmp; s already
  // leaves room for the whole pattern.
  return lastCandidateAtStart(walk, s, [&](unsigned int p) -> unsigned int {
    for (unsigned int q = p; q != 0;) {
      q = LastByteFinder{text, pattern[0]}(q);
      if (q == 0 || std::memcmp(text + q - 1, pattern, length) == 0)
        return q;
      --q;
    }
    return 0;
  });
}

unsigned int DDBCSBuffer::lastIndexOf(DStringTest const& test,
                                      unsigned int start) const {
  return wideStrategy() ? lastIndexOfAnyOf(test, start)
                        : DBuffer::lastIndexOf(test, start);
}

unsigned int DDBCSBuffer::lastIndexOfAnyOf(char const* set, unsigned int length,
                                           unsigned int start) const {
  unsigned int const s = startBackwardsSearch(start, 1);
  if (s == 0 || length == 0)
    return 0;
  CharStarts walk(contents(), this->length(), s);
  if (length == 1)
    return lastCandidateAtStart(walk, s, LastByteFinder{contents(), set[0]});
  return scanStartsBack(walk, s, InSet(*this, set, length));
}

unsigned int DDBCSBuffer::lastIndexOfAnyBut(char const* set,
                                            unsigned int length,
                                            unsigned int start) const {
  unsigned int const s = startBackwardsSearch(start, 1);
  if (s == 0)
    return 0;
  if (length == 0)
    return s;
  CharStarts walk(contents(), this->length(), s);
  if (length == 1) { // one byte of set, as in indexOfAnyBut
    char const* const text = contents();
    return scanStartsBack(
        walk, s, [&](unsigned int p) { return text[p - 1] != set[0]; });
  }
  InSet const inSet(*this, set, length);
  return scanStartsBack(walk, s,
                        [&inSet](unsigned int p) { return !inSet(p); });
}

//===--- Predicate searches -----------------------------------------------===//
// Flag 1 tests wide characters (wideScan); flag 0 tests the first byte of
// each character as a signed char, except the forward any-of form, which
// tests every byte and so may answer inside a character.

unsigned int DDBCSBuffer::indexOfAnyOf(DStringTest const& test,
                                       unsigned int start) const {
  if (wideStrategy())
    return wideScan(*this,
                    findNextCharNum(contents(), length(), start ? start : 1), 1,
                    test, true);
  unsigned int const s = startSearch(start, 1);
  if (s == 0 || s > length())
    return 0;
  char const* const text = contents();
  for (unsigned int p = s; p <= length(); ++p)
    if (test.test(byteArgument(text[p - 1])) != 0)
      return p;
  return 0;
}

unsigned int DDBCSBuffer::indexOfAnyBut(DStringTest const& test,
                                        unsigned int start) const {
  if (wideStrategy())
    return wideScan(*this,
                    findNextCharNum(contents(), length(), start ? start : 1), 1,
                    test, false);
  unsigned int const s = startSearch(start, 1);
  if (s == 0 || s > length())
    return 0;
  char const* const text = contents();
  CharStarts walk(text, length(), s);
  return scanStarts(walk, s, length(), [&](unsigned int p) {
    return test.test(byteArgument(text[p - 1])) == 0;
  });
}

namespace {

/// The byte strategy of both backward predicate searches.
unsigned int lastByTest(DDBCSBuffer const& b, unsigned int start,
                        DStringTest const& test, bool want) {
  unsigned int const s = b.startBackwardsSearch(start, 1);
  if (s == 0)
    return 0;
  char const* const text = b.contents();
  CharStarts walk(text, b.length(), s);
  return scanStartsBack(walk, s, [&](unsigned int p) {
    return (test.test(byteArgument(text[p - 1])) != 0) == want;
  });
}

/// The wide strategy's first character: the one holding byte \p start,
/// lowered to the length.
unsigned int lastCharNum(DDBCSBuffer const& b, unsigned int start) {
  return findCharNum(b.contents(), b.length(), std::min(start, b.length()));
}

} // namespace

unsigned int DDBCSBuffer::lastIndexOfAnyOf(DStringTest const& test,
                                           unsigned int start) const {
  if (wideStrategy())
    return wideScan(*this, lastCharNum(*this, start), -1, test, true);
  return lastByTest(*this, start, test, true);
}

unsigned int DDBCSBuffer::lastIndexOfAnyBut(DStringTest const& test,
                                            unsigned int start) const {
  if (wideStrategy())
    return wideScan(*this, lastCharNum(*this, start), -1, test, false);
  return lastByTest(*this, start, test, false);
}

//===--- Extraction -------------------------------------------------------===//

DBuffer* DDBCSBuffer::subString(unsigned int start) const {
  if (start > length())
    return newBuffer(nullptr, 0, nullptr, 0, nullptr, 0, ' ');
  // getRemainString writes pad bytes for a character cut at start, and as
  // many bytes as the remainder holds; the scratch area leaves room.
  std::vector<char> scratch(2 * (std::size_t{length()} - start) + 2);
  unsigned int const n =
      getRemainString(contents(), length(), start, ' ', scratch.data());
  return newBuffer(scratch.data(), n, nullptr, 0, nullptr, 0, ' ');
}

DBuffer* DDBCSBuffer::subString(unsigned int start, unsigned int count,
                                char pad) const {
  if (wideStrategy()) {
    dinternal::checkAllocatable(count); // as allocate(): before the scratch

    std::unique_ptr<char[]> scratch(new char[std::max(count, 1u)]);
    getSubString(contents(), length(), start, pad, scratch.get(), count);
    return newBuffer(scratch.get(), count, nullptr, 0, nullptr, 0, pad);
  }
  // The single-byte field, then its edges repaired: bytes of a character
  // cut at the start and at the end become pad.
  DBuffer* const field = DBuffer::subString(start, count, pad);
  unsigned int const s = start ? start : 1;
  if (s > length() || count == 0)
    return field;
  char* const out = field->contents();
  CharStarts walk(contents(), length());
  unsigned int const head = std::min(walk.bytesFrom(s), count);
  std::memset(out, pad, head);
  unsigned int const available = length() - s + 1;
  if (count < available) { // the field ends before the text does
    unsigned int const tail = std::min(walk.bytesBefore(s + count), count);
    std::memset(out + count - tail, pad, tail);
  }
  return field;
}
