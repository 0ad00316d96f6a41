// The multibyte buffer's character model (measured by nls/dmbchar_p.hpp),
// class tests and comparison.
#include "ddbcsb.hpp"

#include "base/dnewhandler_p.hpp"
#include "base/dthrow_p.hpp"
#include "nls/dmbchar_p.hpp"
#include "string/dstring_p.hpp"

#include "dstring.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <memory>
#include <new>

static char const thisFile[] = "ddbcsb1";
static unsigned long const collationErrorLine = 812;

using dinternal::CharWalk;
using dinternal::measureLimit;

//===--- Construction and factory -----------------------------------------===//

DDBCSBuffer::DDBCSBuffer(unsigned int length) : DBuffer(length) {}

DDBCSBuffer::~DDBCSBuffer() = default;

DBuffer* DDBCSBuffer::allocate(unsigned int length) const {
  dinternal::checkAllocatable(length); // the limit DBuffer::allocate keeps
  return dinternal::constructBuffer<DDBCSBuffer>(length);
}

char const* DDBCSBuffer::className() const {
  static char const name[] = "DDBCSBuffer";
  return name;
}

//===--- Character model --------------------------------------------------===//

unsigned int DDBCSBuffer::charLength(char const* p, std::mbstate_t* state) {
  return dinternal::measureChar(p, measureLimit, state);
}

unsigned int DDBCSBuffer::charLength(unsigned int position,
                                     std::mbstate_t* state) const {
  // The terminator and anything outside the text measure one byte.
  if (position == 0 || position > length())
    return 1;
  return dinternal::measureChar(contents() + position - 1,
                                length() - position + 1, state);
}

bool DDBCSBuffer::isSBC(char const* p, std::mbstate_t* state) {
  return charLength(p, state) == 1;
}

char* DDBCSBuffer::next(char const* p) {
  return const_cast<char*>(p) + dinternal::statelessLength(p, measureLimit);
}

char const* DDBCSBuffer::next(char const* p) const {
  return p + dinternal::statelessLength(p, measureLimit);
}

int DDBCSBuffer::charType(unsigned int position) const {
  return CharWalk(contents(), length()).typeAt(position);
}

unsigned int DDBCSBuffer::prevCharLength(unsigned int position) const {
  if (position == 1)
    return 1;
  int const type = charType(position - 1);
  return type == 0 ? 1 : static_cast<unsigned int>(type);
}

unsigned int DDBCSBuffer::prevCharLength(unsigned int position,
                                         std::mbstate_t*) const {
  return prevCharLength(position);
}

bool DDBCSBuffer::isCharValid(unsigned int position, char const* set,
                              unsigned int setLength) const {
  if (position == 0 || position > length())
    return false;
  char const* const here = contents() + position - 1;
  return dinternal::CharSet::walkFor(
      set, setLength, here,
      dinternal::statelessLength(here, length() - position + 1));
}

unsigned int DDBCSBuffer::windexOfAnyBut(DStringTest const& test,
                                         unsigned int start) const {
  unsigned int pos = startSearch(start, 1);
  if (pos == 0 || pos > length())
    return 0;
  char const* const text = contents();
  std::mbstate_t state = dinternal::zeroState;
  while (pos <= length()) {
    // A sequence that starts no character has no wide value: the test sees
    // WEOF, which no wide class accepts.
    dinternal::DecodedChar const c =
        dinternal::decodeChar(text + pos - 1, length() - pos + 1, &state);
    if (!test.test(c.value))
      return pos;
    pos += c.bytes;
  }
  return 0;
}

//===--- Character classes ------------------------------------------------===//
// True when every character's wide value passes the wide classifier; the
// empty text is false.

static bool allCharacters(DDBCSBuffer const& buffer, int (*classifier)(int)) {
  if (buffer.length() == 0)
    return false;
  return buffer.windexOfAnyBut(DStringTest(classifier), 1) == 0;
}

bool DDBCSBuffer::isAlphanumeric() const {
  return allCharacters(*this, zyn_iswalnum);
}
bool DDBCSBuffer::isAlphabetic() const {
  return allCharacters(*this, zyn_iswalpha);
}
bool DDBCSBuffer::isASCII() const {
  return DBuffer::isASCII();
}
bool DDBCSBuffer::isControl() const {
  return allCharacters(*this, zyn_iswcntrl);
}
bool DDBCSBuffer::isDigits() const {
  return allCharacters(*this, zyn_iswdigit);
}
bool DDBCSBuffer::isGraphics() const {
  return allCharacters(*this, zyn_iswgraph);
}
bool DDBCSBuffer::isHexDigits() const {
  return allCharacters(*this, zyn_iswxdigit);
}
bool DDBCSBuffer::isLowerCase() const {
  return allCharacters(*this, zyn_iswlower);
}
bool DDBCSBuffer::isPrintable() const {
  return allCharacters(*this, zyn_iswprint);
}
bool DDBCSBuffer::isPunctuation() const {
  return allCharacters(*this, zyn_iswpunct);
}
bool DDBCSBuffer::isUpperCase() const {
  return allCharacters(*this, zyn_iswupper);
}
bool DDBCSBuffer::isWhiteSpace() const {
  return allCharacters(*this, zyn_iswspace);
}

//===--- Multibyte tests --------------------------------------------------===//

// A character of \p size bytes at \p p is wide when it takes two or more
// display columns.
static bool isWide(char const* p, unsigned int size) {
  std::mbstate_t state = dinternal::zeroState;
  wchar_t wc;
  return dinternal::forwardStep<dinternal::BadByte::oneByte>(p, size, &state,
                                                             &wc)
                 .kind == dinternal::SequenceKind::character &&
         wcwidth(wc) >= 2;
}

bool DDBCSBuffer::isMBCS() const {
  for (CharWalk walk(contents(), length()); !walk.atEnd(); walk.advance()) {
    char const* const p = contents() + walk.position() - 1;
    if (walk.size() < 2 || !isWide(p, walk.size()))
      return false;
  }
  return true;
}

bool DDBCSBuffer::isSBCS() const {
  for (CharWalk walk(contents(), length()); !walk.atEnd(); walk.advance()) {
    char const* const p = contents() + walk.position() - 1;
    if (walk.size() > 1 && isWide(p, walk.size()))
      return false;
  }
  return true;
}

bool DDBCSBuffer::isValidMBCS() const {
  for (CharWalk walk(contents(), length()); !walk.atEnd(); walk.advance()) {
    char const* const p = contents() + walk.position() - 1;
    if (walk.size() < 2 || std::memchr(p + 1, '\0', walk.size() - 1) != nullptr)
      return false;
  }
  return true;
}

bool DDBCSBuffer::isDBCS() const {
  return isMBCS();
}
bool DDBCSBuffer::isValidDBCS() const {
  return isValidMBCS();
}
bool DDBCSBuffer::includesMBCS() const {
  return !isSBCS();
}
bool DDBCSBuffer::includesDBCS() const {
  return includesMBCS();
}
bool DDBCSBuffer::includesSBCS() const {
  return !isDBCS();
}

//===--- Comparison -------------------------------------------------------===//

namespace {

// One side of the wide collation: NUL-terminated bytes, a wide array for
// one segment at a time and the side's conversion state.
struct WideCollationSide {
  char const* bytes;
  unsigned int size;
  unsigned int offset;
  std::unique_ptr<wchar_t[]> wide;
  std::mbstate_t state;

  unsigned int skipNuls() {
    unsigned int skipped = 0;
    while (offset < size && bytes[offset] == '\0') {
      ++offset;
      ++skipped;
    }
    return skipped;
  }
  /// Converts the segment at offset, its NUL included; false when it holds
  /// a sequence that is no character. Success is a conversion that reached
  /// the NUL (the source pointer cleared): at a sequence cut off by the NUL
  /// the C library may stop without an error (GB18030's four-byte form),
  /// leaving the wide array unterminated.
  bool convert() {
    char const* source = bytes + offset;
    std::mbsrtowcs(wide.get(), &source, size - offset + 1, &state);
    return source == nullptr;
  }
  /// Steps past the segment and its NUL.
  void advance() { offset += std::strlen(bytes + offset) + 1; }
  bool consumed() const { return offset >= size; }
};

} // namespace

unsigned int DDBCSBuffer::compare(void const* other,
                                  unsigned int otherLength) const {
  if (other == nullptr)
    return 1;
  if (DString::fgI18NState != 1)
    return DBuffer::compare(other, otherLength);
  if (other == contents() && otherLength == length())
    return 0;
  if (length() == 0)
    return otherLength != 0 ? 2 : 0;
  if (otherLength == 0)
    return 1;

  // This buffer is NUL-terminated already; the other side is copied, so
  // that nothing behind its otherLength bytes is read. Arrays that cannot
  // be had only decide the answer (before): no out-of-memory report, so
  // the new-handler is kept out of these allocations.
  std::unique_ptr<char[]> const otherCopy(
      dinternal::tryCopyText(static_cast<char const*>(other), otherLength));
  WideCollationSide mine{contents(), length(), 0, nullptr,
                         dinternal::zeroState};
  WideCollationSide theirs{otherCopy.get(), otherLength, 0, nullptr,
                           dinternal::zeroState};
  mine.wide.reset(dinternal::tryNewArray<wchar_t>(length() + 1ul));
  theirs.wide.reset(dinternal::tryNewArray<wchar_t>(otherLength + 1ul));
  if (!otherCopy || !mine.wide || !theirs.wide)
    return 2;

  int order = -1; // before any segment compared: "less"
  int error = 0;
  while (true) {
    unsigned int const mySkip = mine.skipNuls();
    unsigned int const theirSkip = theirs.skipNuls();
    if (mySkip != theirSkip) {
      if (mySkip > theirSkip)
        order = 1;
      break;
    }
    if (mine.consumed()) {
      order = 0;
      break;
    }
    bool const converted = mine.convert() && theirs.convert();
    if (converted) {
      errno = 0;
      order = std::wcscoll(mine.wide.get(), theirs.wide.get());
      if (errno == EINVAL) {
        errno = 0;
        order = std::wcscmp(mine.wide.get(), theirs.wide.get());
      }
      error = errno;
      if (error != 0)
        break;
    } else {
      // A segment with bytes that are no character collates by its bytes;
      // the failed conversion left the states undefined.
      mine.state = theirs.state = dinternal::zeroState;
      order =
          std::strcmp(mine.bytes + mine.offset, theirs.bytes + theirs.offset);
    }
    if (order != 0)
      break;
    mine.advance();
    theirs.advance();
    if (mine.consumed() || theirs.consumed())
      break;
  }
  if (error != 0)
    dinternal::throwErrno("wcscoll", error, thisFile, collationErrorLine);
  if (order < 0)
    return 2;
  if (order > 0)
    return 1;
  if (mine.consumed() && theirs.consumed())
    return 0;
  return length() < otherLength ? 2 : length() > otherLength ? 1 : 0;
}

//===--- Wide classification wrappers -------------------------------------===//

int zyn_iswalnum(int wc) {
  return std::iswalnum(static_cast<wint_t>(wc));
}
int zyn_iswalpha(int wc) {
  return std::iswalpha(static_cast<wint_t>(wc));
}
int zyn_iswcntrl(int wc) {
  return std::iswcntrl(static_cast<wint_t>(wc));
}
int zyn_iswdigit(int wc) {
  return std::iswdigit(static_cast<wint_t>(wc));
}
int zyn_iswgraph(int wc) {
  return std::iswgraph(static_cast<wint_t>(wc));
}
int zyn_iswxdigit(int wc) {
  return std::iswxdigit(static_cast<wint_t>(wc));
}
int zyn_iswlower(int wc) {
  return std::iswlower(static_cast<wint_t>(wc));
}
int zyn_iswprint(int wc) {
  return std::iswprint(static_cast<wint_t>(wc));
}
int zyn_iswpunct(int wc) {
  return std::iswpunct(static_cast<wint_t>(wc));
}
int zyn_iswupper(int wc) {
  return std::iswupper(static_cast<wint_t>(wc));
}
int zyn_iswspace(int wc) {
  return std::iswspace(static_cast<wint_t>(wc));
}
