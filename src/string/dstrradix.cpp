// The radix conversions of DString (x2c, c2x, b2c, c2b, d2c, c2d) and the
// one-step members binaryMath and decimalMath. Every result is fixed byte
// for byte by digit-by-digit rules; the decimal conversions reach the same
// bytes with 64-bit limbs, 19 decimal digits per limb operation.
#include "base/dcompiler_p.hpp"
#include "string/dbufkind_p.hpp"
#include "string/dbytescan_p.hpp"
#include "string/dstring_p.hpp"
#include "string/dstrradix_p.hpp"

#include "dstring.hpp"

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

using dinternal::StringAccess;

namespace {

typedef std::uint64_t Limb;
typedef dinternal::UInt128 Wide;

//===--- Tables -----------------------------------------------------------===//

// Digit values of x2c: k - 48 for "0"-"9", k - 87 for "a"-"f", k - 55 for
// "A"-"F" (other bytes never reach the table: they fail the validity test).
struct HexValues {
  unsigned char value[256];
  constexpr HexValues() : value() {
    for (int k = 0; k < 256; ++k)
      value[k] = static_cast<unsigned char>(k >= 'a'   ? k - 87
                                            : k >= 'A' ? k - 55
                                                       : k - 48);
  }
};
constexpr HexValues hexValues;

// The one-pass decoder's table: the value of each of the 22 hexadecimal
// digits, 0xF0 for every other byte, so that OR-ing the looked-up values
// shows in its high nibble whether any byte was not a digit.
struct HexChecked {
  unsigned char value[256];
  constexpr HexChecked() : value() {
    for (int k = 0; k < 256; ++k)
      value[k] = static_cast<unsigned char>((k >= '0' && k <= '9') ||
                                                    (k >= 'a' && k <= 'f') ||
                                                    (k >= 'A' && k <= 'F')
                                                ? hexValues.value[k]
                                                : 0xF0);
  }
};
constexpr HexChecked hexChecked;

// The two upper-case hexadecimal digits of every byte, as the 16-bit word
// whose little-endian bytes they are (first digit in the low byte).
struct HexPairs {
  std::uint16_t pair[256];
  constexpr HexPairs() : pair() {
    constexpr char digits[] = "0123456789ABCDEF";
    for (int b = 0; b < 256; ++b)
      pair[b] = static_cast<std::uint16_t>(
          static_cast<unsigned char>(digits[b / 16]) |
          static_cast<unsigned char>(digits[b % 16]) << 8);
  }
};
constexpr HexPairs hexPairs;

// The eight binary digits of every byte, most significant bit first.
struct BitTexts {
  char bits[256][8];
  constexpr BitTexts() : bits() {
    for (int b = 0; b < 256; ++b)
      for (int i = 0; i < 8; ++i)
        bits[b][i] = (b >> (7 - i)) & 1 ? '1' : '0';
  }
};
constexpr BitTexts bitTexts;

// "00" .. "99", for writing decimal digits two at a time.
struct DecimalPairs {
  char pair[100][2];
  constexpr DecimalPairs() : pair() {
    for (int i = 0; i < 100; ++i) {
      pair[i][0] = static_cast<char>('0' + i / 10);
      pair[i][1] = static_cast<char>('0' + i % 10);
    }
  }
};
constexpr DecimalPairs decimalPairs;

constexpr Limb powersOfTen[20] = {1ull,
                                  10ull,
                                  100ull,
                                  1000ull,
                                  10000ull,
                                  100000ull,
                                  1000000ull,
                                  10000000ull,
                                  100000000ull,
                                  1000000000ull,
                                  10000000000ull,
                                  100000000000ull,
                                  1000000000000ull,
                                  10000000000000ull,
                                  100000000000000ull,
                                  1000000000000000ull,
                                  10000000000000000ull,
                                  100000000000000000ull,
                                  1000000000000000000ull,
                                  10000000000000000000ull};

//===--- Buffers ----------------------------------------------------------===//

// A new buffer of the receiver's class for length (> 0) bytes whose text the
// caller fills completely before installing it with StringAccess::adopt.
DBuffer* freshBuffer(DString const& s, unsigned int length) {
  return s.buffer()->allocate(length);
}

// Invalid digits leave the receiver as the text DString::null.
DString& becomeEmpty(DString& s) {
  s = DString(DString::null);
  return s;
}

//===--- Limb arithmetic --------------------------------------------------===//

// Little-endian limbs on the stack for small numbers, else one heap block:
// a conversion allocates at most this and its result buffer.
class Limbs {
public:
  explicit Limbs(std::size_t capacity)
      : heap(capacity > inlineCount ? new Limb[capacity] : nullptr),
        data(heap ? heap.get() : local) {}
  Limbs(Limbs const&) = delete;
  Limbs& operator=(Limbs const&) = delete;

private:
  static constexpr std::size_t inlineCount = 24;
  std::unique_ptr<Limb[]> heap;
  Limb local[inlineCount];

public:
  Limb* const data;
};

// number = number * factor + addend; size grows by the carry limb.
inline void multiplyAdd(Limb* number, std::size_t& size, Limb factor,
                        Limb addend) {
  Limb carry = addend;
  for (std::size_t i = 0; i < size; ++i) {
    Wide const t = static_cast<Wide>(number[i]) * factor + carry;
    number[i] = static_cast<Limb>(t);
    carry = static_cast<Limb>(t >> 64);
  }
  if (carry != 0)
    number[size++] = carry;
}

// 10^19 has its top bit set, so it is already normalised for division by an
// invariant divisor (Moeller and Granlund): the reciprocal below replaces
// the hardware division by two multiplications.
constexpr Limb chunkBase = 10000000000000000000ull;
constexpr Limb chunkInverse = static_cast<Limb>(~Wide(0) / chunkBase);

// (high * 2^64 + low) / 10^19 with high < 10^19; the remainder into rest.
inline Limb divideChunk(Limb high, Limb low, Limb& rest) {
  Wide const q = static_cast<Wide>(high) * chunkInverse +
                 ((static_cast<Wide>(high + 1) << 64) | low);
  Limb quotient = static_cast<Limb>(q >> 64);
  Limb remainder = low - quotient * chunkBase;
  // The first correction is taken about half the time: without a branch,
  // as a mask, so that it never costs a misprediction.
  Limb const mask = 0 - static_cast<Limb>(remainder > static_cast<Limb>(q));
  quotient += mask;
  remainder += mask & chunkBase;
  if (D_UNLIKELY(remainder >= chunkBase)) {
    ++quotient;
    remainder -= chunkBase;
  }
  rest = remainder;
  return quotient;
}

inline void trim(Limb const* number, std::size_t& size) {
  while (size > 0 && number[size - 1] == 0)
    --size;
}

// Two divisions by 10^19 in one sweep from the top limb: the second consumes
// the first's quotient limbs as they appear, so the two dependency chains
// overlap. low gets number mod 10^19, next the following 19-digit chunk.
void divideTwice(Limb* number, std::size_t& size, Limb& low, Limb& next) {
  Limb first = 0, second = 0;
  for (std::size_t i = size; i-- > 0;) {
    Limb const q = divideChunk(first, number[i], first);
    number[i] = divideChunk(second, q, second);
  }
  trim(number, size);
  low = first;
  next = second;
}

// Four chained divisions by 10^19 in one sweep, as divideTwice; out gets
// the four 19-digit chunks, least significant first.
void divideFourTimes(Limb* number, std::size_t& size, Limb* out) {
  Limb r0 = 0, r1 = 0, r2 = 0, r3 = 0;
  for (std::size_t i = size; i-- > 0;) {
    Limb const q0 = divideChunk(r0, number[i], r0);
    Limb const q1 = divideChunk(r1, q0, r1);
    Limb const q2 = divideChunk(r2, q1, r2);
    number[i] = divideChunk(r3, q2, r3);
  }
  trim(number, size);
  out[0] = r0;
  out[1] = r1;
  out[2] = r2;
  out[3] = r3;
}

Limb divideOnce(Limb* number, std::size_t& size) {
  Limb rest = 0;
  for (std::size_t i = size; i-- > 0;)
    number[i] = divideChunk(rest, number[i], rest);
  trim(number, size);
  return rest;
}

// Value of eight ASCII digits (first most significant); false when a byte
// is not "0"-"9". Digit pairs, then quadruples, combine inside one word.
inline bool parseEight(char const* p, Limb& value) {
  std::uint64_t word;
  std::memcpy(&word, p, 8);
  if (((word & 0xF0F0F0F0F0F0F0F0ull) |
       ((word + 0x0606060606060606ull) & 0xF0F0F0F0F0F0F0F0ull) >> 4) !=
      0x3333333333333333ull)
    return false;
  word -= 0x3030303030303030ull;
  word = word * 10 + (word >> 8);
  word = ((word & 0x000000FF000000FFull) * (100 + (1000000ull << 32)) +
          ((word >> 16) & 0x000000FF000000FFull) * (1 + (10000ull << 32))) >>
         32;
  value = word;
  return true;
}

// Value of count (<= 19) ASCII digits; false when a byte is not "0"-"9".
inline bool parseDigits(char const* p, unsigned int count, Limb& value) {
  Limb v = 0;
  for (; count >= 8; count -= 8, p += 8) {
    Limb eight;
    if (!parseEight(p, eight))
      return false;
    v = v * 100000000 + eight;
  }
  for (unsigned int i = 0; i < count; ++i) {
    unsigned int const d = static_cast<unsigned char>(p[i]) - '0';
    if (d > 9)
      return false;
    v = v * 10 + d;
  }
  value = v;
  return true;
}

unsigned int decimalDigits(Limb value) {
  unsigned int n = 1;
  while (n < 20 && value >= powersOfTen[n])
    ++n;
  return n;
}

// Writes the 8 digits of value (< 10^8) at out.
inline void writeEight(char* out, std::uint32_t value) {
  std::uint32_t const high = value / 10000, low = value % 10000;
  std::memcpy(out, decimalPairs.pair[high / 100], 2);
  std::memcpy(out + 2, decimalPairs.pair[high % 100], 2);
  std::memcpy(out + 4, decimalPairs.pair[low / 100], 2);
  std::memcpy(out + 6, decimalPairs.pair[low % 100], 2);
}

// Writes all 19 digits of chunk (< 10^19), leading zeros included.
inline void writeChunk(char* out, Limb chunk) {
  std::uint32_t const top =
      static_cast<std::uint32_t>(chunk / 10000000000000000ull);
  Limb const rest = chunk % 10000000000000000ull;
  out[0] = static_cast<char>('0' + top / 100);
  std::memcpy(out + 1, decimalPairs.pair[top % 100], 2);
  writeEight(out + 3, static_cast<std::uint32_t>(rest / 100000000));
  writeEight(out + 11, static_cast<std::uint32_t>(rest % 100000000));
}

} // namespace

//===--- Hexadecimal ------------------------------------------------------===//

namespace {

// True when the validity test of x2c is the locale's isxdigit on every byte
// (fgI18NState 1, or DBuffer's own isHexDigits) and that class holds each
// of the 22 digits the decoder's table knows, as in every glibc locale.
bool plainHexTest(DString const& s) {
  if (DString::fgI18NState == 0 && !dinternal::plainBuffer(*s.buffer()))
    return false;
  static char const digits[] = "0123456789abcdefABCDEF";
  for (char const* d = digits; *d != '\0'; ++d)
    if (!std::isxdigit(static_cast<unsigned char>(*d)))
      return false;
  return true;
}

// Decodes \p n digits into \p out while checking them; false when a byte
// is not one of the 22 digits (the output is then garbage).
bool decodeHex(unsigned char const* in, unsigned int n, char* out) {
  unsigned char seen = 0;
  // An odd count reads as if a "0" digit stood in front.
  if (n % 2 != 0) {
    seen = hexChecked.value[*in++];
    *out++ = static_cast<char>(seen);
  }
  for (unsigned int i = 0, pairs = n / 2; i < pairs; ++i, in += 2) {
    unsigned char const high = hexChecked.value[in[0]];
    unsigned char const low = hexChecked.value[in[1]];
    seen |= high | low;
    out[i] = static_cast<char>(high << 4 | low);
  }
  return (seen & 0xF0) == 0;
}

} // namespace

DString& DString::x2c() {
  unsigned int const n = length();
  if (n == 0)
    return *this;
  unsigned int const outLength = n / 2 + n % 2;
  // One pass where the test is the plain byte class: decode and check
  // together, and only on a byte outside the 22 digits ask the full test,
  // which decides between the empty result and a locale's odd digits.
  if (plainHexTest(*this)) {
    DBuffer* const decoded = freshBuffer(*this, outLength);
    if (decodeHex(reinterpret_cast<unsigned char const*>(pBuffer), n,
                  decoded->contents())) {
      StringAccess::adopt(*this, decoded);
      return *this;
    }
    decoded->removeRef();
  }
  if (!(fgI18NState ? dinternal::allHexDigitBytes(pBuffer, n) : isHexDigits()))
    return becomeEmpty(*this);
  // An odd count reads as if a "0" digit stood in front.
  DBuffer* const result = freshBuffer(*this, outLength);
  unsigned char const* in = reinterpret_cast<unsigned char const*>(pBuffer);
  char* out = result->contents();
  char* const end = out + outLength;
  if (n % 2 != 0)
    *out++ = static_cast<char>(hexValues.value[*in++]);
  for (; out != end; ++out, in += 2)
    *out =
        static_cast<char>(hexValues.value[in[0]] * 16 + hexValues.value[in[1]]);
  StringAccess::adopt(*this, result);
  return *this;
}

// The upper-case digit of each half byte (0-15) in \p halves: '0' + h,
// and 7 more from 10 on, where 'A' follows '9' + 8.
static dinternal::Bytes16 hexDigitsOf(dinternal::Bytes16 halves) {
  dinternal::SignedBytes16 const tenOrMore =
      reinterpret_cast<dinternal::SignedBytes16>(halves) > 9;
  return halves + '0' + (dinternal::asBytes16(tenOrMore) & 7);
}

DString& DString::c2x() {
  unsigned int const n = length();
  if (n == 0)
    return *this;
  DBuffer* const result = freshBuffer(*this, dinternal::c2xLength(n));
  unsigned char const* in = reinterpret_cast<unsigned char const*>(pBuffer);
  char* out = result->contents();
  // Sixteen bytes make 32 digits: both halves of every byte turned into
  // digits side by side, then interleaved high half first. Computed rather
  // than looked up, so the loop's speed does not hang on how its few
  // instructions fall into the processor's fetch blocks.
  unsigned int i = 0;
  for (; n - i >= 16; i += 16, out += 32) {
    dinternal::Bytes16 const bytes = dinternal::loadBytes16(in + i);
    dinternal::Bytes16 const high = hexDigitsOf(bytes >> 4);
    dinternal::Bytes16 const low = hexDigitsOf(bytes & 15);
    dinternal::storeBytes16(out, dinternal::interleaveLow(high, low));
    dinternal::storeBytes16(out + 16, dinternal::interleaveHigh(high, low));
  }
  for (; i < n; ++i, out += 2)
    std::memcpy(out, &hexPairs.pair[in[i]], 2);
  StringAccess::adopt(*this, result);
  return *this;
}

//===--- Binary -----------------------------------------------------------===//

DString& DString::b2c() {
  unsigned int const n = length();
  if (n == 0 || !isBinaryDigits())
    return becomeEmpty(*this);
  // A digit is a 1 bit exactly when it is "1"; isBinaryDigits also passes
  // bytes 0x80-0xFF, which thus read as 0 bits.
  unsigned int const outLength = n / 8 + (n % 8 != 0);
  DBuffer* const result = freshBuffer(*this, outLength);
  char const* in = pBuffer;
  char* out = result->contents();
  unsigned int const leading = (n % 8 == 0) ? 8 : n % 8;
  unsigned int first = 0;
  for (unsigned int i = 0; i < leading; ++i)
    first = (first << 1) | (in[i] == '1');
  *out++ = static_cast<char>(first);
  in += leading;
  // Eight digits per word: a byte of (digit ^ "1") is zero exactly for a
  // "1"; the flags in each byte's bit 7 are then gathered into one byte,
  // first digit as the most significant bit (the multiplier places byte k's
  // flag at bit 63 - k with no overlapping partial products).
  for (char* const end = result->contents() + outLength; out != end;
       ++out, in += 8) {
    std::uint64_t word;
    std::memcpy(&word, in, sizeof word);
    std::uint64_t const x = word ^ 0x3131313131313131ull;
    std::uint64_t const nonZero =
        ((x & 0x7F7F7F7F7F7F7F7Full) + 0x7F7F7F7F7F7F7F7Full) | x;
    std::uint64_t const ones = (~nonZero & 0x8080808080808080ull) >> 7;
    *out = static_cast<char>((ones * 0x8040201008040201ull) >> 56);
  }
  StringAccess::adopt(*this, result);
  return *this;
}

DString& DString::c2b() {
  unsigned int const n = length();
  if (n == 0)
    return *this;
  DBuffer* const result = freshBuffer(*this, dinternal::c2bLength(n));
  unsigned char const* in = reinterpret_cast<unsigned char const*>(pBuffer);
  char* out = result->contents();
  for (unsigned int i = 0; i < n; ++i, out += 8)
    std::memcpy(out, bitTexts.bits[in[i]], 8);
  StringAccess::adopt(*this, result);
  return *this;
}

//===--- Decimal ----------------------------------------------------------===//

// d2c's steps: strtol of the head (strlen(maxLong) - 1 digits), then for
// every further digit value * 10 + digit, then the leading zero bytes
// stripped down to at least one byte. The widenings of both flag values
// only add zero bytes that the strip removes again, so the result is the
// shortest big-endian form of the value, computed here 19 digits a step.
DString& DString::d2c() {
  unsigned int const n = length();
  if (!(fgI18NState ? dinternal::allDigitBytes(pBuffer, n) : isDigits()))
    return becomeEmpty(*this);
  if (n == 0)
    return *this;

  std::size_t const limitLength = std::strlen(maxLong);
  unsigned int headLength = n;
  if (limitLength > 0 && n >= limitLength)
    headLength = static_cast<unsigned int>(limitLength - 1);
  Limb head;
  if (headLength > 18 || !parseDigits(pBuffer, headLength, head)) {
    // What strtol makes of a head it might clamp or stop early in.
    std::string const text(pBuffer, headLength);
    head = static_cast<Limb>(std::strtol(text.c_str(), nullptr, 10));
  }

  // The value stays below 10^(tail + 19), so this many limbs suffice.
  unsigned int const tail = n - headLength;
  Limbs number(tail / 19 + 4);
  std::size_t size = 1;
  number.data[0] = head;
  char const* p = pBuffer + headLength;
  char const* const end = pBuffer + n;
  unsigned int step = tail % 19 == 0 ? 19 : tail % 19;
  for (; p != end; p += step, step = 19) {
    Limb chunk;
    if (parseDigits(p, step, chunk)) {
      multiplyAdd(number.data, size, powersOfTen[step], chunk);
    } else {
      // Bytes a multibyte buffer's isDigits may pass: one digit at a time,
      // each worth its code minus 48.
      for (unsigned int i = 0; i < step; ++i)
        multiplyAdd(number.data, size, 10,
                    static_cast<unsigned char>(p[i] - '0'));
    }
  }

  trim(number.data, size);
  unsigned int topBytes = 1;
  if (size > 0)
    while (topBytes < 8 && (number.data[size - 1] >> (8 * topBytes)) != 0)
      ++topBytes;
  unsigned int const outLength =
      size == 0 ? 1 : static_cast<unsigned int>(8 * (size - 1)) + topBytes;
  DBuffer* const result = freshBuffer(*this, outLength);
  char* out = result->contents();
  if (size == 0) {
    *out = '\0';
  } else {
    Limb const top = number.data[size - 1];
    for (unsigned int i = topBytes; i-- > 0;)
      *out++ = static_cast<char>(top >> (8 * i));
    for (std::size_t j = size - 1; j-- > 0; out += 8) {
      Limb const big = dinternal::byteSwap(number.data[j]);
      std::memcpy(out, &big, 8);
    }
  }
  StringAccess::adopt(*this, result);
  return *this;
}

// c2d's steps: the decimal text of the first min(n, 4) bytes; for five or
// more bytes that text widened by 3 * (n - 4) "0" digits, then
// value * 256 + byte for every further byte, then the leading "0" digits
// removed unless every digit is "0". Widening never loses digits, so the
// result is the decimal value without leading zeros, except that a value of
// zero keeps all 3n - 11 digits of the widened text.
DString& DString::c2d() {
  unsigned int const n = length();
  if (n == 0)
    return *this;
  unsigned char const* in = reinterpret_cast<unsigned char const*>(pBuffer);
  unsigned long head = 0;
  for (unsigned int i = 0; i < n && i < 4; ++i)
    head = head << 8 | in[i];
  if (n < 5) {
    DBuffer* const old = buffer();
    initBuffer(head);
    old->removeRef();
    return *this;
  }

  // Checked before anything changes: the widened text must be allocatable.
  unsigned int const width = dinternal::c2dWidth(n, decimalDigits(head));
  unsigned int const firstNonZero = dinternal::firstByteNot(pBuffer, n, '\0');
  if (firstNonZero == 0) {
    DBuffer* const result = freshBuffer(*this, width);
    std::memset(result->contents(), '0', width);
    StringAccess::adopt(*this, result);
    return *this;
  }

  // Big-endian bytes to little-endian limbs, the top limb partial.
  unsigned int const bytes = n - (firstNonZero - 1);
  std::size_t size = (bytes + 7) / 8;
  Limbs number(size);
  unsigned char const* p = in + n;
  for (std::size_t j = 0; j + 1 < size; ++j) {
    p -= 8;
    Limb big;
    std::memcpy(&big, p, 8);
    number.data[j] = dinternal::byteSwap(big);
  }
  Limb top = 0;
  for (unsigned char const* q = in + firstNonZero - 1; q != p; ++q)
    top = top << 8 | *q;
  number.data[size - 1] = top;

  // 19-digit chunks, least significant first; 8 bytes give at most 20
  // digits, and the last sweep may add up to three zero chunks.
  Limbs chunks(bytes / 7 + 5);
  std::size_t count = 0;
  for (; size > 3; count += 4)
    divideFourTimes(number.data, size, chunks.data + count);
  for (; size > 1; count += 2)
    divideTwice(number.data, size, chunks.data[count], chunks.data[count + 1]);
  while (size > 0)
    chunks.data[count++] = divideOnce(number.data, size);
  while (count > 1 && chunks.data[count - 1] == 0)
    --count;

  unsigned int const topDigits = decimalDigits(chunks.data[count - 1]);
  unsigned int const outLength =
      topDigits + 19 * static_cast<unsigned int>(count - 1);
  DBuffer* const result = freshBuffer(*this, outLength);
  char* out = result->contents();
  char scratch[19];
  writeChunk(scratch, chunks.data[count - 1]);
  std::memcpy(out, scratch + 19 - topDigits, topDigits);
  out += topDigits;
  for (std::size_t j = count - 1; j-- > 0; out += 19)
    writeChunk(out, chunks.data[j]);
  StringAccess::adopt(*this, result);
  return *this;
}

//===--- One-step members -------------------------------------------------===//

// The receiver (big-endian bytes) becomes receiver * 10 + digit. It grows by
// one byte when its first byte is non-zero; with fgI18NState 0 the test is
// indexOfAnyBut with an empty set, which answers 1 for any text, so every
// step grows. An empty receiver (never passed by d2c) reads as 0 and grows.
void DString::binaryMath(unsigned char digit) {
  unsigned int const n = length();
  unsigned int const first = fgI18NState
                                 ? dinternal::firstByteNot(pBuffer, n, '\0')
                                 : buffer()->indexOfAnyBut(null, 0, 1);
  unsigned int const newLength =
      (first == 1 || n == 0) ? dinternal::checkedAdd(n, 1) : n;
  DBuffer* const result =
      buffer()->newBuffer(nullptr, newLength, nullptr, 0, nullptr, 0, '\0');
  unsigned char const* in = reinterpret_cast<unsigned char const*>(pBuffer);
  unsigned char* out =
      reinterpret_cast<unsigned char*>(result->contents()) + (newLength - n);
  unsigned int carry = digit;
  for (unsigned int i = n; i-- > 0;) {
    unsigned int const t = carry + 10u * in[i];
    out[i] = static_cast<unsigned char>(t % 256);
    carry = t / 256;
  }
  if (carry != 0 && newLength > n)
    out[-1] = static_cast<unsigned char>(carry);
  StringAccess::adopt(*this, result);
}

// The receiver (decimal digits) becomes receiver * 256 + byte, keeping at
// least three leading "0" digits of room: it grows by 3 - min(z, 3) digits
// for z leading "0" digits. A digit is worth its code minus 48.
void DString::decimalMath(unsigned char byte) {
  unsigned int const n = length();
  unsigned int const first = fgI18NState
                                 ? dinternal::firstByteNot(pBuffer, n, '0')
                                 : buffer()->indexOfAnyBut(zero, 1, 1);
  unsigned int const zeros = first == 0 ? n : first - 1;
  unsigned int const newLength =
      dinternal::checkedAdd(n, 3 - (zeros < 3 ? zeros : 3));
  DBuffer* const result =
      buffer()->newBuffer(nullptr, newLength, nullptr, 0, nullptr, 0, '0');
  char* const text = result->contents();
  unsigned int const offset = newLength - n;
  unsigned int carry = byte;
  for (unsigned int i = n; i-- > 0;) {
    unsigned int const d = static_cast<unsigned char>(pBuffer[i] - '0');
    unsigned int const t = (d << 8) + carry;
    text[offset + i] = static_cast<char>('0' + t % 10);
    carry = t / 10;
  }
  // The carry's digits go further left, lowest first; three digits of room
  // always hold it for a text of digits.
  for (unsigned int k = offset; carry != 0 && k-- > 0; carry /= 10)
    text[k] = static_cast<char>('0' + carry % 10);
  StringAccess::adopt(*this, result);
}
