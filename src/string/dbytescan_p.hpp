// Internal: byte-wise scans of the radix conversions (dbytescan.cpp), and
// the position a memchr-family answer stands for.
// Lengths are bytes; positions are 1-based. The exported indexThatIsNot,
// isAllDigits and isAllHexDigits of dnlsutil.hpp answer through these.
#ifndef D_STRING_DBYTESCAN_P_HPP
#define D_STRING_DBYTESCAN_P_HPP

namespace dinternal {

/// 1-based index of the first of \p len bytes that is not \p c, else 0.
unsigned int firstByteNot(char const* s, unsigned int len, char c);
/// True when every byte passes isdigit (true for \p len 0).
bool allDigitBytes(char const* s, unsigned int len);
/// True when every byte passes isxdigit (true for \p len 0).
bool allHexDigitBytes(char const* s, unsigned int len);

/// 1-based position of \p hit (a memchr-family answer) in the text at
/// \p text; 0 for no hit.
inline unsigned int positionOf(void const* hit, char const* text) {
  return hit == nullptr
             ? 0u
             : static_cast<unsigned int>(static_cast<char const*>(hit) - text) +
                   1;
}

} // namespace dinternal

#endif // D_STRING_DBYTESCAN_P_HPP
