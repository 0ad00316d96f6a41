// Wide-character conversion utilities used by the multibyte buffer: the
// wide work buffer DWBuffer, multibyte <-> wide conversions, mappings
// between 1-based byte positions and 1-based character numbers, padded
// extractions, and three byte scanners. 0 answers "none" or "invalid".
#ifndef D_NLS_DNLSUTIL_HPP
/// \file
#define D_NLS_DNLSUTIL_HPP

#include "ddefs.hpp"

#include <cwchar>

/// An owned array of wide characters and its count; never shared.
class D_EXPORT DWBuffer {
public:
  /// Converts \p n bytes of \p s (n 0: one wide NUL, count 0). Raises the
  /// 1012 DInvalidRequest on an invalid or incomplete sequence.
  DWBuffer(char const* s, unsigned int n);
  /// Converts the NUL-terminated \p s; the array ends in an uncounted NUL.
  explicit DWBuffer(char const* s);
  DWBuffer(DWBuffer const&) = delete;
  DWBuffer& operator=(DWBuffer const&) = delete;
  ~DWBuffer();

  /// Reverses the characters in place (the data change despite const).
  void reverse() const;
  /// True when one of the characters equals \p c.
  bool hasWChar(wchar_t c) const;
  /// @name Character-position searches (1-based; 0 = none)
  /// @{
  /// First character position at or after \p start where \p pattern
  /// occurs; 0 for start 0 or an empty pattern.
  unsigned int positionOf(DWBuffer& pattern, unsigned int start) const;
  /// First character position at or after \p start holding a character
  /// of \p set; 0 for start 0 or an empty set.
  unsigned int positionOfAnyOf(DWBuffer& set, unsigned int start) const;
  /// First character position at or after \p start holding a character
  /// not in \p set (an empty set gives \p start); 0 for start 0.
  unsigned int positionOfAnyBut(DWBuffer& set, unsigned int start) const;
  /// Last character position at or before \p start (lowered to fit) where
  /// \p pattern begins; 0 for start 0 or an empty pattern.
  unsigned int lastPositionOf(DWBuffer& pattern, unsigned int start) const;
  /// Last character position at or before \p start (lowered to the count)
  /// holding a character of \p set; 0 for start 0 or an empty set.
  unsigned int lastPositionOfAnyOf(DWBuffer& set, unsigned int start) const;
  /// Last character position at or before \p start (lowered to the count)
  /// holding a character not in \p set; 0 for start 0.
  unsigned int lastPositionOfAnyBut(DWBuffer& set, unsigned int start) const;
  /// @}

  /// The wide characters.
  wchar_t* data() const { return wide; }
  /// Number of wide characters (without a terminating NUL).
  unsigned long count() const { return wideCount; }

private:
  wchar_t* wide;
  unsigned long wideCount;
};

/// Converts one character of at most \p n bytes; returns the bytes used (a
/// NUL uses 1). Raises 1012 (line 725 invalid, 760 incomplete).
D_EXPORT unsigned int cvtMB2WC(char const* s, unsigned int n, wchar_t* out,
                               std::mbstate_t* state);
/// Converts \p n bytes (NULs included); returns the wide characters written.
D_EXPORT unsigned int cvtMBS2WCS(char const* s, unsigned int n, wchar_t* out);
/// Writes \p count wide characters as multibyte text into at most
/// \p outSize bytes, never splitting one; with \p pad set fills to exactly
/// \p outSize with \p padChar. Returns the bytes written.
D_EXPORT unsigned int cvtWCS2MBS(wchar_t const* w, unsigned int count,
                                 char* out, unsigned int outSize, int pad,
                                 char padChar);
/// cvtWCS2MBS() of the buffer's data and count.
D_EXPORT unsigned int cvtWCS2MBS(DWBuffer const& w, char* out,
                                 unsigned int outSize, int pad, char padChar);
/// Byte position where character \p charNum starts, else 0.
D_EXPORT unsigned int findBytePos(char const* s, unsigned int len,
                                  unsigned int charNum);
/// Number of the character containing byte \p pos, else 0.
D_EXPORT unsigned int findCharNum(char const* s, unsigned int len,
                                  unsigned int pos);
/// Number of the first character starting at or after byte \p pos, else 0.
D_EXPORT unsigned int findNextCharNum(char const* s, unsigned int len,
                                      unsigned int pos);
/// Start of the character containing byte \p pos, else 0.
D_EXPORT unsigned int findCurPos(char const* s, unsigned int len,
                                 unsigned int pos);
/// Start of the character after the one containing \p pos, else 0.
D_EXPORT unsigned int findNextPos(char const* s, unsigned int len,
                                  unsigned int pos);
/// Fills exactly \p outLen bytes of \p out with the text from byte \p pos,
/// whole characters only (their own bytes), padded with \p pad; returns
/// \p out. Bad bytes in \p s raise 1012 once a start is found at \p pos.
D_EXPORT char* getSubString(char const* s, unsigned int len, unsigned int pos,
                            char pad, char* out, unsigned int outLen);
/// Copies the text from byte \p pos to the end, a character cut at \p pos
/// becoming pad bytes; returns the bytes written (0 past the end), always
/// len - pos + 1: the characters keep their own bytes.
D_EXPORT unsigned int getRemainString(char const* s, unsigned int len,
                                      unsigned int pos, char pad, char* out);
/// First \p at characters of \p src, then \p ins, then the rest of \p src;
/// returns the characters written.
D_EXPORT int insWCS2WCS(wchar_t* src, int srcLen, wchar_t* ins, int insLen,
                        int at, wchar_t* out);
/// 1-based index of the first of \p len bytes that is not \p c, else 0.
D_EXPORT unsigned int indexThatIsNot(char const* s, unsigned int len, char c);
/// True when every byte passes isdigit (true for \p len 0).
D_EXPORT bool isAllDigits(char const* s, unsigned int len);
/// True when every byte passes isxdigit (true for \p len 0).
D_EXPORT bool isAllHexDigits(char const* s, unsigned int len);

#endif // D_NLS_DNLSUTIL_HPP
