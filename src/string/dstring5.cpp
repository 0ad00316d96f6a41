// DString concatenation, byte-wise bit operators and 1-based indexing.
#include "dstring.hpp"

#include "base/dthrow_p.hpp"
#include "string/dstring_p.hpp"

#include "dexcept.hpp"

#include <cstring>
#include <functional>

// Everything here works on bytes, whatever the buffer class or fgI18NState.

static char const thisFile[] = "dstring5";
// The index range error and the lines that report it.
static constexpr unsigned long indexRangeMessage = 1011;
static constexpr unsigned long lineConstUnsignedPastEnd = 130;
static constexpr unsigned long lineConstIntNegative = 174;
static constexpr unsigned long lineConstIntPastEnd = 184;
static constexpr unsigned long lineIntNegative = 197;

[[noreturn]] static void indexOutOfRange(unsigned long line) {
  dinternal::throwMessage<DInvalidRequest>(
      indexRangeMessage, DException::recoverable, thisFile, line);
}

// Zero-based offset of a 1-based index; index 0 names the first byte too.
static unsigned int offsetOf(unsigned int index) {
  return index == 0 ? 0u : index - 1;
}

//===--- Concatenation ----------------------------------------------------===//
// Shared by both assigning forms: the receiver gets one new buffer holding
// its old text followed by the \p length bytes at \p text. A second handle
// keeps the old buffer alive while it is copied, so \p text may be the
// receiver itself or point into its text. An overflow leaves the receiver
// as it was.
static DString& append(DString& s, char const* text, unsigned int length) {
  if (length == 0)
    return s;
  DBuffer* old = s.buffer();
  dinternal::BufferReference const kept(old);
  s.initBuffer(old->contents(), old->length(), text, length, nullptr, 0, ' ');
  old->removeRef(); // the reference the receiver held; kept drops its own
  return s;
}

DString& DString::operator+=(char const* text) {
  return append(*this, text, textLength(text));
}

DString& DString::operator+=(DString const& other) {
  return append(*this, other.pBuffer, other.length());
}

DString DString::operator+(char const* text) const {
  return DString(pBuffer, length(), text, textLength(text));
}

DString DString::operator+(DString const& other) const {
  return DString(pBuffer, length(), other.pBuffer, other.length());
}

DString operator+(char const* text, DString const& string) {
  unsigned int const length =
      text ? dinternal::checkedLength(std::strlen(text)) : 0u;
  return DString(text, length, static_cast<char const*>(string),
                 string.length());
}

//===--- Bit operators ----------------------------------------------------===//
// Combines the \p length bytes at \p p with \p mask, walked in chunks of
// min(maskLength, remaining): the mask repeats from the receiver's first
// byte, and a longer mask is used only up to the receiver's length.
template <class Combine>
static void combineCyclic(unsigned char* p, unsigned int length,
                          unsigned char const* mask, unsigned int maskLength,
                          Combine combine) {
  for (unsigned int done = 0; done < length;) {
    unsigned int const chunk =
        maskLength < length - done ? maskLength : length - done;
    for (unsigned int j = 0; j < chunk; ++j)
      p[done + j] = static_cast<unsigned char>(combine(p[done + j], mask[j]));
    done += chunk;
  }
}

DString& DString::applyBitOp(char const* mask, unsigned int maskLength,
                             BitOperator op) {
  if (maskLength == 0)
    return *this;
  // A mask inside our own unshared text would see bytes it has already
  // changed; a second handle makes prepareToChange() copy and keeps the
  // mask's bytes as they were.
  std::less_equal<char const*> const atOrBefore;
  DString kept;
  if (atOrBefore(pBuffer, mask) && atOrBefore(mask, pBuffer + length()))
    kept = *this;
  prepareToChange();
  auto* p = reinterpret_cast<unsigned char*>(pBuffer);
  auto const* m = reinterpret_cast<unsigned char const*>(mask);
  switch (op) {
  case bitAnd:
    combineCyclic(p, length(), m, maskLength, std::bit_and<unsigned int>());
    break;
  case bitOr:
    combineCyclic(p, length(), m, maskLength, std::bit_or<unsigned int>());
    break;
  case bitXor:
    combineCyclic(p, length(), m, maskLength, std::bit_xor<unsigned int>());
    break;
  }
  return *this;
}

DString& DString::operator&=(char const* mask) {
  return applyBitOp(mask, textLength(mask), bitAnd);
}
DString& DString::operator&=(DString const& mask) {
  return applyBitOp(mask.pBuffer, mask.length(), bitAnd);
}
DString& DString::operator|=(char const* mask) {
  return applyBitOp(mask, textLength(mask), bitOr);
}
DString& DString::operator|=(DString const& mask) {
  return applyBitOp(mask.pBuffer, mask.length(), bitOr);
}
DString& DString::operator^=(char const* mask) {
  return applyBitOp(mask, textLength(mask), bitXor);
}
DString& DString::operator^=(DString const& mask) {
  return applyBitOp(mask.pBuffer, mask.length(), bitXor);
}

// The value-returning forms work on a copy that shares the source's buffer
// until applyBitOp() unshares it: one new buffer per result.
static DString withBitOp(DString const& source, char const* mask,
                         unsigned int maskLength, DString::BitOperator op) {
  DString result(source);
  result.applyBitOp(mask, maskLength, op);
  return result;
}

DString DString::operator&(char const* mask) const {
  return withBitOp(*this, mask, textLength(mask), bitAnd);
}
DString DString::operator&(DString const& mask) const {
  return withBitOp(*this, mask.pBuffer, mask.length(), bitAnd);
}
DString DString::operator|(char const* mask) const {
  return withBitOp(*this, mask, textLength(mask), bitOr);
}
DString DString::operator|(DString const& mask) const {
  return withBitOp(*this, mask.pBuffer, mask.length(), bitOr);
}
DString DString::operator^(char const* mask) const {
  return withBitOp(*this, mask, textLength(mask), bitXor);
}
DString DString::operator^(DString const& mask) const {
  return withBitOp(*this, mask.pBuffer, mask.length(), bitXor);
}

// The free forms take the left-hand text as the receiver, so the result has
// the text's length, not the string's. The text's copy is private, so the
// bit operation edits it in place.
static DString textWithBitOp(char const* text, DString const& mask,
                             DString::BitOperator op) {
  DString result(text);
  result.applyBitOp(mask, mask.length(), op);
  return result;
}

DString operator&(char const* text, DString const& mask) {
  return textWithBitOp(text, mask, DString::bitAnd);
}
DString operator|(char const* text, DString const& mask) {
  return textWithBitOp(text, mask, DString::bitOr);
}
DString operator^(char const* text, DString const& mask) {
  return textWithBitOp(text, mask, DString::bitXor);
}

DString DString::operator~() const {
  DString result(pBuffer, length());
  char* p = result.pBuffer;
  for (unsigned int i = 0, n = result.length(); i < n; ++i)
    p[i] = static_cast<char>(~p[i]);
  return result;
}

//===--- Indexing ---------------------------------------------------------===//
// Non-const access hands out a byte private to this handle: copy on write
// in range, and past the end one new buffer with blanks up to the index.
char& DString::operator[](unsigned int index) {
  unsigned int const i = offsetOf(index);
  unsigned int const n = length();
  if (i < n) {
    prepareToChange();
    return pBuffer[i];
  }
  // i - n + 1 cannot wrap; the factory rejects totals past 32 bits before
  // anything is allocated, so the receiver survives an overflow.
  DBuffer* old = buffer();
  dinternal::StringAccess::adopt(
      *this, old->newBuffer(pBuffer, n, nullptr, i - n + 1, nullptr, 0, ' '));
  return pBuffer[i];
}

char& DString::operator[](int index) {
  if (index < 0)
    indexOutOfRange(lineIntNegative);
  return (*this)[static_cast<unsigned int>(index)];
}

char const& DString::operator[](unsigned int index) const {
  unsigned int const i = offsetOf(index);
  if (i >= length())
    indexOutOfRange(lineConstUnsignedPastEnd);
  return pBuffer[i];
}

char const& DString::operator[](int index) const {
  if (index < 0)
    indexOutOfRange(lineConstIntNegative);
  unsigned int const i = offsetOf(static_cast<unsigned int>(index));
  if (i >= length())
    indexOutOfRange(lineConstIntPastEnd);
  return pBuffer[i];
}
