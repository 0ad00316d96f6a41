// Byte-wise scanners used by the radix conversions with DString::fgI18NState
// on: the first byte that differs from a given one, and whole-text digit
// tests in the current locale. Lengths are bytes; positions are 1-based.
#include "base/dcompiler_p.hpp"
#include "string/dbytescan_p.hpp"

#include <cstdint>
#include <cstring>
#include <ctype.h>

unsigned int dinternal::firstByteNot(char const* s, unsigned int len, char c) {
  // Eight bytes at a time while they all equal c: long runs of zero bytes
  // or "0" digits are what the conversions skip.
  std::uint64_t const pattern =
      0x0101010101010101ull * static_cast<unsigned char>(c);
  unsigned int i = 0;
  for (; len - i >= 8; i += 8) {
    std::uint64_t word;
    std::memcpy(&word, s + i, sizeof word);
    if (word != pattern)
      break;
  }
  for (; i < len; ++i)
    if (s[i] != c)
      return i + 1;
  return 0;
}

// The tests take each byte as a signed char, as the C library's ctype
// tables accept (-128 .. 255); no digit lies above 0x7F in any locale. The
// table of the current locale is read directly (what the C macros isdigit
// and isxdigit expand to) rather than through one call per byte.
// Blocks of 64 bytes are tested without a branch per byte: the class bits
// of the whole block are ANDed together and checked once.
template <unsigned short Class>
static bool everyByteIs(char const* s, unsigned int len) {
  unsigned short const* const table = dinternal::ctypeTable();
  unsigned int i = 0;
  for (; len - i >= 64; i += 64) {
    unsigned int all = Class;
    for (unsigned int k = 0; k < 64; ++k)
      all &= table[static_cast<signed char>(s[i + k])];
    if (all == 0)
      return false;
  }
  for (; i < len; ++i)
    if (!(table[static_cast<signed char>(s[i])] & Class))
      return false;
  return true;
}

bool dinternal::allDigitBytes(char const* s, unsigned int len) {
  return everyByteIs<_ISdigit>(s, len);
}

bool dinternal::allHexDigitBytes(char const* s, unsigned int len) {
  return everyByteIs<_ISxdigit>(s, len);
}
