// The multibyte buffer: same storage and 1-based byte positions as DBuffer,
// but every operation steps over whole characters of the current locale, so
// no result ever holds part of a character. Invalid or truncated sequences
// count as one-byte characters. Also the eleven zyn_isw* wrappers.
#ifndef D_NLS_DDBCSB_HPP
/// \file
#define D_NLS_DDBCSB_HPP

#include "dbuffer.hpp"
#include "ddefs.hpp"

#include <cwchar>

/// Multibyte buffer; adds no data. Overrides every DBuffer slot except
/// asString, asDebugInfo and copy.
class D_EXPORT DDBCSBuffer : public DBuffer {
public:
  /// Constructs the DBuffer part; nothing else.
  explicit DDBCSBuffer(unsigned int length);
  ~DDBCSBuffer() override;

  /// @name Character model
  /// @{
  /// Multibyte: walks from the first byte; 0 single-byte character, k the
  /// k-th byte of a multibyte one. \p position must lie in 1..length.
  int charType(unsigned int position) const override;
  /// Multibyte: pointer past the character at \p p (mblen, at least 1).
  char* next(char const* p) override;
  char const* next(char const* p) const override;
  /// @}

  /// @name Comparison
  /// @{
  /// Multibyte: with fgI18NState 1 compares by wide collation (wcscoll).
  unsigned int compare(void const* other,
                       unsigned int otherLength) const override;
  /// @}

  /// @name Extraction
  /// @{
  /// Multibyte: cut characters become \p pad bytes.
  DBuffer* subString(unsigned int start, unsigned int count,
                     char pad) const override;
  /// Multibyte: bytes of a character cut at \p start become blanks.
  DBuffer* subString(unsigned int start) const override;
  /// @}

  /// @name Character classes (wide classification of every character)
  /// @{
  bool isAlphanumeric() const override;
  bool isAlphabetic() const override;
  bool isASCII() const override;
  bool isControl() const override;
  bool isDigits() const override;
  bool isGraphics() const override;
  bool isHexDigits() const override;
  bool isLowerCase() const override;
  bool isPrintable() const override;
  bool isPunctuation() const override;
  bool isUpperCase() const override;
  bool isWhiteSpace() const override;
  /// @}

  /// @name Multibyte tests (answered from the text)
  /// @{
  bool isMBCS() const override;
  bool isDBCS() const override;
  bool isSBCS() const override;
  bool isValidMBCS() const override;
  bool isValidDBCS() const override;
  bool includesMBCS() const override;
  bool includesDBCS() const override;
  bool includesSBCS() const override;
  /// @}

  /// @name Search (matches only at character starts)
  /// With fgI18NState 1 the DStringTest forms test wide character values
  /// (WEOF never occurs: bad bytes raise 1012); with 0, signed bytes.
  /// @{
  unsigned int indexOf(char const* pattern, unsigned int length,
                       unsigned int start) const override;
  unsigned int indexOf(DStringTest const& test,
                       unsigned int start) const override;
  unsigned int indexOfAnyBut(char const* set, unsigned int length,
                             unsigned int start) const override;
  unsigned int indexOfAnyBut(DStringTest const& test,
                             unsigned int start) const override;
  unsigned int indexOfAnyOf(char const* set, unsigned int length,
                            unsigned int start) const override;
  unsigned int indexOfAnyOf(DStringTest const& test,
                            unsigned int start) const override;
  unsigned int lastIndexOf(char const* pattern, unsigned int length,
                           unsigned int start) const override;
  unsigned int lastIndexOf(DStringTest const& test,
                           unsigned int start) const override;
  unsigned int lastIndexOfAnyBut(char const* set, unsigned int length,
                                 unsigned int start) const override;
  unsigned int lastIndexOfAnyBut(DStringTest const& test,
                                 unsigned int start) const override;
  unsigned int lastIndexOfAnyOf(char const* set, unsigned int length,
                                unsigned int start) const override;
  unsigned int lastIndexOfAnyOf(DStringTest const& test,
                                unsigned int start) const override;
  /// @}

  /// @name Editing (never splits a character)
  /// @{
  DBuffer* center(unsigned int width, char pad) override;
  DBuffer* change(char const* pattern, unsigned int patternLength,
                  char const* replacement, unsigned int replacementLength,
                  unsigned int start, unsigned int count) override;
  DBuffer* insert(char const* data, unsigned int length, unsigned int position,
                  char pad) override;
  DBuffer* leftJustify(unsigned int width, char pad) override;
  DBuffer* lowerCase() override;
  DBuffer* overlayWith(char const* data, unsigned int length,
                       unsigned int position, char pad) override;
  DBuffer* remove(unsigned int start, unsigned int count) override;
  DBuffer* reverse() override;
  DBuffer* rightJustify(unsigned int width, char pad) override;
  DBuffer* strip(char const* set, unsigned int length,
                 DStringEnum::StripMode mode) override;
  /// Multibyte: with fgI18NState 1, \p test sees wide characters.
  DBuffer* strip(DStringTest const& test, DStringEnum::StripMode mode) override;
  DBuffer* translate(char const* from, unsigned int fromLength, char const* to,
                     unsigned int toLength, char pad) override;
  DBuffer* upperCase() override;
  /// @}

  /// @name Search starts (moved onto character boundaries)
  /// @{
  unsigned int startSearch(unsigned int start,
                           unsigned int patternLength) const override;
  unsigned int startBackwardsSearch(unsigned int start,
                                    unsigned int patternLength) const override;
  /// @}

  /// @name Factory
  /// @{
  DBuffer* allocate(unsigned int length) const override;
  /// "DDBCSBuffer"; always the same pointer.
  char const* className() const override;
  /// @}

  /// Byte length (at least 1) of the character at \p p; NUL, invalid and
  /// incomplete sequences measure 1.
  static unsigned int charLength(char const* p, std::mbstate_t* state);
  /// charLength() of the character at 1-based byte \p position.
  unsigned int charLength(unsigned int position, std::mbstate_t* state) const;
  /// Length of the character ending just before 1-based byte \p position.
  unsigned int prevCharLength(unsigned int position) const;
  /// Same as prevCharLength(position); \p state is ignored.
  unsigned int prevCharLength(unsigned int position,
                              std::mbstate_t* state) const;
  /// True when the character at \p p is one byte long.
  static bool isSBC(char const* p, std::mbstate_t* state);
  /// True when the character at \p position is one whole character of the
  /// \p setLength-byte \p set.
  bool isCharValid(unsigned int position, char const* set,
                   unsigned int setLength) const;
  /// First character from \p start whose wide value fails \p test; 0 if none.
  unsigned int windexOfAnyBut(DStringTest const& test,
                              unsigned int start) const;
};

/// Wide classification wrappers usable as DStringTest functions: nonzero
/// when \p wc is alphanumeric (iswalnum, current locale).
D_EXPORT int zyn_iswalnum(int wc);
/// Nonzero when \p wc is alphabetic (iswalpha).
D_EXPORT int zyn_iswalpha(int wc);
/// Nonzero when \p wc is a control character (iswcntrl).
D_EXPORT int zyn_iswcntrl(int wc);
/// Nonzero when \p wc is a decimal digit (iswdigit).
D_EXPORT int zyn_iswdigit(int wc);
/// Nonzero when \p wc is visible (iswgraph).
D_EXPORT int zyn_iswgraph(int wc);
/// Nonzero when \p wc is a hexadecimal digit (iswxdigit).
D_EXPORT int zyn_iswxdigit(int wc);
/// Nonzero when \p wc is lower case (iswlower).
D_EXPORT int zyn_iswlower(int wc);
/// Nonzero when \p wc is printable (iswprint).
D_EXPORT int zyn_iswprint(int wc);
/// Nonzero when \p wc is punctuation (iswpunct).
D_EXPORT int zyn_iswpunct(int wc);
/// Nonzero when \p wc is upper case (iswupper).
D_EXPORT int zyn_iswupper(int wc);
/// Nonzero when \p wc is white space (iswspace).
D_EXPORT int zyn_iswspace(int wc);

#endif // D_NLS_DDBCSB_HPP
