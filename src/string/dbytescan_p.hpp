// Internal: byte-wise scans of the radix conversions (dbytescan.cpp).
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

} // namespace dinternal

#endif // D_STRING_DBYTESCAN_P_HPP
