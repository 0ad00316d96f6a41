// Byte-wise scanners used by the radix conversions with DString::fgI18NState
// on: the first byte that differs from a given one, and whole-text digit
// tests in the current locale. Lengths are bytes; positions are 1-based.
#include "dnlsutil.hpp"

#include <cctype>
#include <cstdint>
#include <cstring>

unsigned int indexThatIsNot(char const* s, unsigned int len, char c) {
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
// tables accept (-128 .. 255); no digit lies above 0x7F in any locale.
bool isAllDigits(char const* s, unsigned int len) {
  for (unsigned int i = 0; i < len; ++i)
    if (!std::isdigit(static_cast<signed char>(s[i])))
      return false;
  return true;
}

bool isAllHexDigits(char const* s, unsigned int len) {
  for (unsigned int i = 0; i < len; ++i)
    if (!std::isxdigit(static_cast<signed char>(s[i])))
      return false;
  return true;
}
