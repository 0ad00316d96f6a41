// DString: a handle of exactly one pointer to the text of a shared,
// reference-counted buffer (dbuffer.hpp). Copies share; edits copy on
// write. Positions are 1-based bytes (also in multibyte text), 0 = none;
// forward searches default to start 1, backward ones to the end.
#ifndef D_STRING_DSTRING_HPP
/// \file
#define D_STRING_DSTRING_HPP

#include "dbase.hpp"
#include "dbuffer.hpp"
#include "ddefs.hpp"

#include <cstddef>
#include <cstring>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

namespace dinternal {
struct StringAccess;
}

/// The library's string value: one pointer to the first text byte of a
/// DBuffer, usable directly as a NUL-terminated text.
class D_EXPORT DString : public DBase {
public:
  /// Operation of applyBitOp (a 32-bit enumeration).
  enum BitOperator : int { bitAnd = 0, bitOr = 1, bitXor = 2 };
  /// Answer kind of findPhrase: character position or word number.
  enum IndexType : int { charIndex = 0, wordIndex = 1 };

  /// @name Construction
  /// @{
  /// Shares the default empty buffer.
  DString();
  /// Shares \p other's buffer.
  DString(DString const& other);
  /// Adopts \p buffer and the one reference that comes with it.
  DString(DBuffer* buffer);
  /// Copies up to the first NUL; null gives the empty string.
  DString(char const* text);
  /// As the char const* form, for signed bytes.
  DString(signed char const* text);
  /// As the char const* form, for unsigned bytes.
  DString(unsigned char const* text);
  /// Exactly one byte (a NUL byte gives length 1).
  DString(char c);
  /// Exactly one byte, as the char form.
  DString(signed char c);
  /// Exactly one byte, as the char form.
  DString(unsigned char c);
  /// Decimal text of the value ("%ld").
  DString(short value);
  /// Decimal text of the value ("%ld").
  DString(int value);
  /// Decimal text of the value ("%ld").
  DString(long value);
  /// Decimal text of the value ("%lu").
  DString(unsigned short value);
  /// Decimal text of the value ("%lu").
  DString(unsigned int value);
  /// Decimal text of the value ("%lu").
  DString(unsigned long value);
  /// "%.*g" with precision 15.
  DString(double value);
  /// \p length bytes of \p data; null \p data gives \p length \p pad bytes.
  DString(void const* data, unsigned int length, char pad = ' ');
  /// Two pieces concatenated; a null piece is filled with \p pad.
  DString(void const* data1, unsigned int length1, void const* data2,
          unsigned int length2, char pad = ' ');
  /// Three pieces concatenated; a null piece is filled with \p pad.
  DString(void const* data1, unsigned int length1, void const* data2,
          unsigned int length2, void const* data3, unsigned int length3,
          char pad = ' ');
  /// All bytes of \p text (NULs included); over 32 bits raises 1010.
  DString(std::string_view text);
  /// Releases the reference and clears the pointer.
  ~DString();
  /// Shares \p other's buffer; self-assignment is safe.
  DString& operator=(DString const& other);
  /// @}

  /// @name Access
  /// @{
  /// Length in bytes.
  unsigned int length() const { return buffer()->length(); }
  /// Length in bytes.
  unsigned int size() const { return buffer()->length(); }
  /// The NUL-terminated text (the text may hold further NUL bytes).
  operator char const*() const { return pBuffer; }
  /// All length() bytes as a view.
  explicit operator std::string_view() const {
    return std::string_view(pBuffer, length());
  }
  /// All length() bytes as a std::string.
  explicit operator std::string() const {
    return std::string(pBuffer, length());
  }
  /// The buffer behind this handle.
  DBuffer* buffer() const { return DBuffer::fromContents(pBuffer); }
  /// "DString(@<address>,pBuffer-><buffer's asDebugInfo>)".
  DString asDebugInfo() const;
  /// @}

  /// @name Buffer management
  /// @{
  /// Points the handle at a new buffer of the three pieces; does not
  /// release the previous buffer.
  DString& initBuffer(void const* data1, unsigned int length1,
                      void const* data2, unsigned int length2,
                      void const* data3, unsigned int length3, char pad);
  /// initBuffer() of the decimal text of \p value ("%ld").
  DString& initBuffer(long value);
  /// initBuffer() of the decimal text of \p value ("%lu").
  DString& initBuffer(unsigned long value);
  /// initBuffer() of "%.*g" of \p value at precision 15.
  DString& initBuffer(double value);
  /// Copy on write: a shared buffer is replaced by a private copy.
  DString& prepareToChange();
  /// The cached text pointer of the default empty buffer (null before the
  /// first constructor ran).
  static char* nullBuf();
  /// @}

  /// @name Extraction
  /// @{
  /// Exactly \p count bytes from \p start (0 reads as 1), \p pad-filled.
  DString subString(unsigned int start, unsigned int count,
                    char pad = ' ') const;
  /// The rest from \p start; with fgI18NState 0 a start of 0 gives the
  /// whole text plus one blank, deliberately.
  DString subString(unsigned int start) const;
  /// @}

  /// @name Search (0 = not found)
  /// Forward searches start at \p start (default 1; 0 reads as 1) and find
  /// nothing from past the end. Backward searches look at matches that
  /// begin at or before \p start (default 0xFFFFFFFF: from the end); a
  /// \p start of 0 finds nothing. Empty patterns are never found; an empty
  /// set makes the AnyBut forms return the (normalised) start.
  /// @{
  /// First position of byte \p c at or after \p start (0 reads as 1).
  unsigned int indexOf(char c, unsigned int start = 1) const;
  /// First occurrence of the \p length bytes of \p pattern at or after
  /// \p start (0 reads as 1).
  unsigned int indexOf(char const* pattern, unsigned int length,
                       unsigned int start) const {
    return buffer()->indexOf(pattern, length, start);
  }
  /// As above, \p pattern measured to its NUL (a null one is empty).
  unsigned int indexOf(char const* pattern, unsigned int start = 1) const {
    return indexOf(pattern, textLength(pattern), start);
  }
  /// First occurrence of all bytes of \p pattern at or after \p start.
  unsigned int indexOf(DString const& pattern, unsigned int start = 1) const {
    return indexOf(pattern.pBuffer, pattern.length(), start);
  }
  /// First position at or after \p start whose byte passes \p test. The
  /// predicate searches hand \p test wide characters instead of bytes when
  /// the buffer is multibyte and fgI18NState is 1 (see DStringTest).
  unsigned int indexOf(DStringTest const& test, unsigned int start = 1) const {
    return buffer()->indexOf(test, start);
  }

  /// First position at or after \p start whose byte is not \p c.
  unsigned int indexOfAnyBut(char c, unsigned int start = 1) const {
    return indexOfAnyBut(&c, 1, start);
  }
  /// First position at or after \p start whose byte is none of the
  /// \p length bytes of \p set.
  unsigned int indexOfAnyBut(char const* set, unsigned int length,
                             unsigned int start) const {
    return buffer()->indexOfAnyBut(set, length, start);
  }
  /// As above, \p set measured to its NUL (a null one is empty).
  unsigned int indexOfAnyBut(char const* set, unsigned int start = 1) const {
    return indexOfAnyBut(set, textLength(set), start);
  }
  /// First position at or after \p start whose byte is not in \p set.
  unsigned int indexOfAnyBut(DString const& set, unsigned int start = 1) const {
    return indexOfAnyBut(set.pBuffer, set.length(), start);
  }
  /// First position at or after \p start whose byte fails \p test.
  unsigned int indexOfAnyBut(DStringTest const& test,
                             unsigned int start = 1) const {
    return buffer()->indexOfAnyBut(test, start);
  }

  /// First position of byte \p c at or after \p start.
  unsigned int indexOfAnyOf(char c, unsigned int start = 1) const {
    return indexOfAnyOf(&c, 1, start);
  }
  /// First position at or after \p start whose byte is one of the
  /// \p length bytes of \p set.
  unsigned int indexOfAnyOf(char const* set, unsigned int length,
                            unsigned int start) const {
    return buffer()->indexOfAnyOf(set, length, start);
  }
  /// As above, \p set measured to its NUL (a null one is empty).
  unsigned int indexOfAnyOf(char const* set, unsigned int start = 1) const {
    return indexOfAnyOf(set, textLength(set), start);
  }
  /// First position at or after \p start whose byte is in \p set.
  unsigned int indexOfAnyOf(DString const& set, unsigned int start = 1) const {
    return indexOfAnyOf(set.pBuffer, set.length(), start);
  }
  /// First position at or after \p start whose byte passes \p test.
  unsigned int indexOfAnyOf(DStringTest const& test,
                            unsigned int start = 1) const {
    return buffer()->indexOfAnyOf(test, start);
  }

  /// Last position of byte \p c at or before \p start (default: the end).
  unsigned int lastIndexOf(char c, unsigned int start = 0xFFFFFFFFu) const;
  /// Last occurrence of the \p length bytes of \p pattern that begins at
  /// or before \p start.
  unsigned int lastIndexOf(char const* pattern, unsigned int length,
                           unsigned int start) const {
    return buffer()->lastIndexOf(pattern, length, start);
  }
  /// As above, \p pattern measured to its NUL (a null one is empty).
  unsigned int lastIndexOf(char const* pattern,
                           unsigned int start = 0xFFFFFFFFu) const {
    return lastIndexOf(pattern, textLength(pattern), start);
  }
  /// Last occurrence of all bytes of \p pattern beginning at or before
  /// \p start.
  unsigned int lastIndexOf(DString const& pattern,
                           unsigned int start = 0xFFFFFFFFu) const {
    return lastIndexOf(pattern.pBuffer, pattern.length(), start);
  }
  /// Last position at or before \p start whose byte passes \p test.
  unsigned int lastIndexOf(DStringTest const& test,
                           unsigned int start = 0xFFFFFFFFu) const {
    return buffer()->lastIndexOf(test, start);
  }

  /// Last position at or before \p start whose byte is not \p c.
  unsigned int lastIndexOfAnyBut(char c,
                                 unsigned int start = 0xFFFFFFFFu) const {
    return lastIndexOfAnyBut(&c, 1, start);
  }
  /// Last position at or before \p start whose byte is none of the
  /// \p length bytes of \p set.
  unsigned int lastIndexOfAnyBut(char const* set, unsigned int length,
                                 unsigned int start) const {
    return buffer()->lastIndexOfAnyBut(set, length, start);
  }
  /// As above, \p set measured to its NUL (a null one is empty).
  unsigned int lastIndexOfAnyBut(char const* set,
                                 unsigned int start = 0xFFFFFFFFu) const {
    return lastIndexOfAnyBut(set, textLength(set), start);
  }
  /// Last position at or before \p start whose byte is not in \p set.
  unsigned int lastIndexOfAnyBut(DString const& set,
                                 unsigned int start = 0xFFFFFFFFu) const {
    return lastIndexOfAnyBut(set.pBuffer, set.length(), start);
  }
  /// Last position at or before \p start whose byte fails \p test.
  unsigned int lastIndexOfAnyBut(DStringTest const& test,
                                 unsigned int start = 0xFFFFFFFFu) const {
    return buffer()->lastIndexOfAnyBut(test, start);
  }

  /// Last position of byte \p c at or before \p start.
  unsigned int lastIndexOfAnyOf(char c,
                                unsigned int start = 0xFFFFFFFFu) const {
    return lastIndexOfAnyOf(&c, 1, start);
  }
  /// Last position at or before \p start whose byte is one of the
  /// \p length bytes of \p set.
  unsigned int lastIndexOfAnyOf(char const* set, unsigned int length,
                                unsigned int start) const {
    return buffer()->lastIndexOfAnyOf(set, length, start);
  }
  /// As above, \p set measured to its NUL (a null one is empty).
  unsigned int lastIndexOfAnyOf(char const* set,
                                unsigned int start = 0xFFFFFFFFu) const {
    return lastIndexOfAnyOf(set, textLength(set), start);
  }
  /// Last position at or before \p start whose byte is in \p set.
  unsigned int lastIndexOfAnyOf(DString const& set,
                                unsigned int start = 0xFFFFFFFFu) const {
    return lastIndexOfAnyOf(set.pBuffer, set.length(), start);
  }
  /// Last position at or before \p start whose byte passes \p test.
  unsigned int lastIndexOfAnyOf(DStringTest const& test,
                                unsigned int start = 0xFFFFFFFFu) const {
    return buffer()->lastIndexOfAnyOf(test, start);
  }

  /// Non-overlapping occurrences of the pattern at or after \p start.
  unsigned int occurrencesOf(char const* pattern, unsigned int length,
                             unsigned int start) const;
  /// Bytes equal to \p c at or after \p start.
  unsigned int occurrencesOf(char c, unsigned int start = 1) const;
  /// Bytes at or after \p start that pass \p test.
  unsigned int occurrencesOf(DStringTest const& test,
                             unsigned int start = 1) const;
  /// Non-overlapping occurrences of \p pattern (measured to its NUL) at or
  /// after \p start.
  unsigned int occurrencesOf(char const* pattern,
                             unsigned int start = 1) const {
    return occurrencesOf(pattern, textLength(pattern), start);
  }
  /// Non-overlapping occurrences of all bytes of \p pattern at or after
  /// \p start.
  unsigned int occurrencesOf(DString const& pattern,
                             unsigned int start = 1) const {
    return occurrencesOf(pattern.pBuffer, pattern.length(), start);
  }
  /// @}

  /// @name Editing (each edits this handle and returns it)
  /// Pads default to a blank. upperCase, translate and strip edit an
  /// unshared buffer in place; the others make a new buffer whenever the
  /// text changes. When the buffer operation raises (1010 overflow), the
  /// handle keeps its old value.
  /// @{
  /// a-z raised; edits an unshared buffer in place.
  DString& upperCase();
  /// A-Z lowered; always a new buffer when anything changes.
  DString& lowerCase();
  /// Bytes of \p from replaced by the byte at the same index of \p to, or
  /// \p pad past its end.
  DString& translate(char const* from, unsigned int fromLength, char const* to,
                     unsigned int toLength, char pad = ' ');
  /// As above with all bytes of \p from and \p to.
  DString& translate(DString const& from, DString const& to, char pad = ' ') {
    return translate(from.pBuffer, from.length(), to.pBuffer, to.length(), pad);
  }
  /// Bytes of \p set removed at the ends \p mode names.
  DString& strip(char const* set, unsigned int length,
                 DStringEnum::StripMode mode = DStringEnum::both);
  /// Bytes of \p set (all of its bytes) removed at the ends \p mode names.
  DString& strip(DString const& set,
                 DStringEnum::StripMode mode = DStringEnum::both) {
    return strip(set.pBuffer, set.length(), mode);
  }
  /// Bytes passing \p test removed at the ends \p mode names. With a
  /// multibyte buffer and fgI18NState 1, \p test sees wide characters (see
  /// DStringTest) and whole characters are removed.
  DString& strip(DStringTest const& test,
                 DStringEnum::StripMode mode = DStringEnum::both);
  /// White space removed at both ends: isspace on bytes, iswspace on the
  /// wide characters of a multibyte buffer with fgI18NState 1.
  DString& strip();
  /// The bytes (characters, in multibyte text) in reverse order.
  DString& reverse();
  /// \p data written over the text from \p position (0 reads as 1).
  DString& overlayWith(char const* data, unsigned int length,
                       unsigned int position, char pad = ' ');
  /// All bytes of \p data written over the text from \p position (0 reads
  /// as 1); a gap past the end is filled with \p pad.
  DString& overlayWith(DString const& data, unsigned int position = 1,
                       char pad = ' ') {
    return overlayWith(data.pBuffer, data.length(), position, pad);
  }
  /// \p data inserted behind byte \p position (0: at the front).
  DString& insert(char const* data, unsigned int length, unsigned int position,
                  char pad = ' ');
  /// All bytes of \p data inserted behind byte \p position (0: at the
  /// front); a position past the end pads with \p pad first.
  DString& insert(DString const& data, unsigned int position = 0,
                  char pad = ' ') {
    return insert(data.pBuffer, data.length(), position, pad);
  }
  /// \p count bytes removed from \p start (0 reads as 1).
  DString& remove(unsigned int start, unsigned int count);
  /// Everything from \p start removed.
  DString& remove(unsigned int start);
  /// Cut or padded on the right to \p width bytes.
  DString& leftJustify(unsigned int width, char pad = ' ');
  /// Cut or padded on the left to \p width bytes.
  DString& rightJustify(unsigned int width, char pad = ' ');
  /// Cut or padded on both sides to \p width bytes.
  DString& center(unsigned int width, char pad = ' ');
  /// The text repeated \p times times.
  DString& copy(unsigned int times);
  /// Up to \p count (default all) non-overlapping occurrences of the
  /// pattern from \p start (default 1) replaced; an empty pattern changes
  /// nothing.
  DString& change(char const* pattern, unsigned int patternLength,
                  char const* replacement, unsigned int replacementLength,
                  unsigned int start = 1, unsigned int count = 0xFFFFFFFFu);
  /// Up to \p count non-overlapping occurrences of \p pattern from \p start
  /// replaced by \p replacement.
  DString& change(DString const& pattern, DString const& replacement,
                  unsigned int start = 1, unsigned int count = 0xFFFFFFFFu) {
    return change(pattern.pBuffer, pattern.length(), replacement.pBuffer,
                  replacement.length(), start, count);
  }

  /// A copy of \p source with upperCase() applied.
  static DString upperCase(DString const& source);
  /// A copy of \p source with remove(start, count) applied.
  static DString remove(DString const& source, unsigned int start,
                        unsigned int count);
  /// A copy of \p source with center(width, pad) applied.
  static DString center(DString const& source, unsigned int width,
                        char pad = ' ');
  /// A copy of \p source with change() applied; texts measured to the NUL.
  static DString change(DString const& source, char const* pattern,
                        char const* replacement, unsigned int start = 1,
                        unsigned int count = 0xFFFFFFFFu);
  /// A copy of \p source with change() applied.
  static DString change(DString const& source, DString const& pattern,
                        DString const& replacement, unsigned int start = 1,
                        unsigned int count = 0xFFFFFFFFu);
  /// @}

  /// @name Character classes (false for the empty text)
  /// @{
  /// Every character alphanumeric (isalnum).
  bool isAlphanumeric() const { return buffer()->isAlphanumeric(); }
  /// Every character alphabetic (isalpha).
  bool isAlphabetic() const { return buffer()->isAlphabetic(); }
  /// Every byte below 0x80.
  bool isASCII() const { return buffer()->isASCII(); }
  /// Every character a control character (iscntrl).
  bool isControl() const { return buffer()->isControl(); }
  /// Every character a decimal digit (isdigit).
  bool isDigits() const { return buffer()->isDigits(); }
  /// Every character visible (isgraph).
  bool isGraphics() const { return buffer()->isGraphics(); }
  /// Every character a hexadecimal digit (isxdigit).
  bool isHexDigits() const { return buffer()->isHexDigits(); }
  /// Every character lower case (islower).
  bool isLowerCase() const { return buffer()->isLowerCase(); }
  /// Every character printable (isprint).
  bool isPrintable() const { return buffer()->isPrintable(); }
  /// Every character punctuation (ispunct).
  bool isPunctuation() const { return buffer()->isPunctuation(); }
  /// Every character upper case (isupper).
  bool isUpperCase() const { return buffer()->isUpperCase(); }
  /// Every character white space (isspace).
  bool isWhiteSpace() const { return buffer()->isWhiteSpace(); }
  /// Every character multibyte and wide; true for the empty text, false in
  /// a single-byte buffer.
  bool isMBCS() const { return buffer()->isMBCS(); }
  /// Same as isMBCS().
  bool isDBCS() const { return buffer()->isDBCS(); }
  /// No character both multibyte and wide; true for the empty text.
  bool isSBCS() const { return buffer()->isSBCS(); }
  /// Every character at least 2 bytes and none cut short; true when empty
  /// and in a single-byte buffer.
  bool isValidMBCS() const { return buffer()->isValidMBCS(); }
  /// Same as isValidMBCS().
  bool isValidDBCS() const { return buffer()->isValidDBCS(); }
  /// Some character multibyte and wide (not isSBCS()).
  bool includesMBCS() const { return buffer()->includesMBCS(); }
  /// Same as includesMBCS().
  bool includesDBCS() const { return buffer()->includesDBCS(); }
  /// Some character single-byte (not isDBCS()); true in a single-byte
  /// buffer, even when empty.
  bool includesSBCS() const { return buffer()->includesSBCS(); }
  /// @}

  /// @name Concatenation, bit operators, indexing
  /// @{
  /// Appends \p text (null or empty: no change); safe on its own text.
  DString& operator+=(char const* text);
  /// Appends all bytes of \p other; safe when \p other is this string.
  DString& operator+=(DString const& other);
  /// A new string: this text, then \p text up to its NUL.
  DString operator+(char const* text) const;
  /// A new string: this text, then all bytes of \p other.
  DString operator+(DString const& other) const;
  /// Combines every byte with \p mask, repeated cyclically from the first
  /// byte; an empty mask changes nothing.
  DString& applyBitOp(char const* mask, unsigned int maskLength,
                      BitOperator op);
  /// applyBitOp(mask, its length to the NUL, bitAnd).
  DString& operator&=(char const* mask);
  /// applyBitOp() with all bytes of \p mask and bitAnd.
  DString& operator&=(DString const& mask);
  /// applyBitOp(mask, its length to the NUL, bitOr).
  DString& operator|=(char const* mask);
  /// applyBitOp() with all bytes of \p mask and bitOr.
  DString& operator|=(DString const& mask);
  /// applyBitOp(mask, its length to the NUL, bitXor).
  DString& operator^=(char const* mask);
  /// applyBitOp() with all bytes of \p mask and bitXor.
  DString& operator^=(DString const& mask);
  /// A copy combined as by operator&=; this string is unchanged.
  DString operator&(char const* mask) const;
  /// A copy combined as by operator&=; this string is unchanged.
  DString operator&(DString const& mask) const;
  /// A copy combined as by operator|=; this string is unchanged.
  DString operator|(char const* mask) const;
  /// A copy combined as by operator|=; this string is unchanged.
  DString operator|(DString const& mask) const;
  /// A copy combined as by operator^=; this string is unchanged.
  DString operator^(char const* mask) const;
  /// A copy combined as by operator^=; this string is unchanged.
  DString operator^(DString const& mask) const;
  /// Every byte complemented.
  DString operator~() const;
  /// Byte \p index (1-based; 0 names byte 1); past the end the string grows
  /// with blanks. The byte is private to this handle.
  char& operator[](unsigned int index);
  /// As above; a negative index raises DInvalidRequest 1011.
  char& operator[](int index);
  /// Byte \p index; past the end raises DInvalidRequest 1011.
  char const& operator[](unsigned int index) const;
  /// Byte \p index; negative or past the end raises DInvalidRequest 1011.
  char const& operator[](int index) const;
  /// @}

  /// @name Words (white space is exactly "\t\n\v\f\r ")
  /// @{
  /// Number of words.
  unsigned int numWords() const;
  /// Position of word \p wordNumber, counting from \p startPos as if
  /// \p wordsSoFar words stood before it; 0 if none.
  unsigned int indexOfWord(unsigned int wordNumber, unsigned int startPos = 1,
                           unsigned int wordsSoFar = 0) const;
  /// Word \p wordNumber (0 reads as 1); empty if none.
  DString word(unsigned int wordNumber) const;
  /// Words \p firstWord .. firstWord + numWords - 1 with the white space
  /// between them kept.
  DString words(unsigned int firstWord, unsigned int numWords) const;
  /// Length of word \p wordNumber; 0 if none.
  unsigned int lengthOfWord(unsigned int wordNumber) const;
  /// Removes a run of words and the white space after them.
  DString& removeWords(unsigned int firstWord, unsigned int numWords);
  /// Rebuilds the text with exactly \p numSpaces \p spaceChar between words.
  DString& space(unsigned int numSpaces = 1, char spaceChar = ' ');
  /// Where the words of \p phrase first occur in order from word
  /// \p startWord on; 0 if nowhere.
  unsigned int findPhrase(DString const& phrase, unsigned int startWord = 1,
                          IndexType indexType = charIndex) const;
  /// @}

  /// @name Radix conversions (in place; invalid digits empty the string)
  /// @{
  /// Hexadecimal digits to bytes.
  DString& x2c();
  /// Bytes to upper-case hexadecimal digits.
  DString& c2x();
  /// Binary digits to bytes.
  DString& b2c();
  /// Bytes to binary digits.
  DString& c2b();
  /// Decimal digits to the shortest big-endian byte string.
  DString& d2c();
  /// Big-endian bytes to decimal digits.
  DString& c2d();
  /// One step of d2c: receiver (big-endian bytes) * 10 + \p digit.
  void binaryMath(unsigned char digit);
  /// One step of c2d: receiver (decimal digits) * 256 + \p byte.
  void decimalMath(unsigned char byte);
  /// @}

  /// @name Matching and input
  /// @{
  /// Whole text matches the whole pattern; \p anyString matches any run,
  /// \p anyChar one byte.
  bool isLike(char const* pattern, unsigned int patternLength, char anyString,
              char anyChar) const;
  /// As above with all bytes of \p pattern; by default "*" matches any
  /// run and "?" one byte.
  bool isLike(DString const& pattern, char anyString = '*',
              char anyChar = '?') const {
    return isLike(pattern.pBuffer, pattern.length(), anyString, anyChar);
  }
  /// The receiver abbreviates \p text and is at least \p minLength long
  /// (0: its own length).
  bool isAbbrevFor(char const* text, unsigned int textLength,
                   unsigned int minLength) const;
  /// As above with all bytes of \p text.
  bool isAbbrevFor(DString const& text, unsigned int minLength = 0) const {
    return isAbbrevFor(text.pBuffer, text.length(), minLength);
  }
  /// Non-empty and every byte is "0" or "1" (bytes 0x80-0xFF pass too).
  bool isBinaryDigits() const;
  /// The bytes read from \p in up to \p delimiter (consumed, not stored) or
  /// the end of the stream; NULs and bytes 0x80-0xFF are kept.
  static DString lineFrom(std::istream& in, char delimiter = '\n');
  /// @}

  /// The empty text "".
  static char const* null;
  /// The text "0".
  static char const* zero;
  /// The text "0x7fffffffffffffffL"; its length bounds decimal conversion.
  static char const* maxLong;
  /// 1 when "KOVRA_I18N" is "ON" in any case at load time, else 0.
  static int fgI18NState;
  /// Cache of the default empty buffer's text pointer.
  static char* nullBuffer;

private:
  friend struct dinternal::StringAccess;
  static unsigned int textLength(char const* text) {
    return text ? static_cast<unsigned int>(std::strlen(text)) : 0u;
  }

  char* pBuffer;
};

/// Writes the text up to its first NUL byte.
D_EXPORT std::ostream& operator<<(std::ostream& os, DString const& text);
/// Reads one word: skips leading white space when skipws is set, then
/// stores bytes up to the next white space or the end; a width w stores at
/// most w - 1 bytes. A failed read leaves \p target empty.
D_EXPORT std::istream& operator>>(std::istream& in, DString& target);

/// \p text followed by \p string.
D_EXPORT DString operator+(char const* text, DString const& string);
/// \p text ANDed with \p mask repeated cyclically; the result has the
/// length of \p text.
D_EXPORT DString operator&(char const* text, DString const& mask);
/// \p text ORed with \p mask repeated cyclically (length of \p text).
D_EXPORT DString operator|(char const* text, DString const& mask);
/// \p text XORed with \p mask repeated cyclically (length of \p text).
D_EXPORT DString operator^(char const* text, DString const& mask);

/// @name Comparison through the buffer's compare (bytes, or collation with
/// DString::fgI18NState 1)
/// @{
/// Same length and bytes (with fgI18NState 1: same length, collating equal).
D_EXPORT bool operator==(DString const& a, DString const& b);
/// Not operator==.
D_EXPORT bool operator!=(DString const& a, DString const& b);
/// \p a sorts before \p b; a proper prefix sorts first.
D_EXPORT bool operator<(DString const& a, DString const& b);
/// \p a sorts before \p b or equal.
D_EXPORT bool operator<=(DString const& a, DString const& b);
/// \p a sorts after \p b.
D_EXPORT bool operator>(DString const& a, DString const& b);
/// \p a sorts after \p b or equal.
D_EXPORT bool operator>=(DString const& a, DString const& b);
/// As the DString forms, \p b read to its NUL; a null \p b compares as "".
D_EXPORT bool operator==(DString const& a, char const* b);
/// As the DString forms, \p b read to its NUL; a null \p b compares as "".
D_EXPORT bool operator!=(DString const& a, char const* b);
/// As the DString forms, \p b read to its NUL; a null \p b compares as "".
D_EXPORT bool operator<(DString const& a, char const* b);
/// As the DString forms, \p b read to its NUL; a null \p b compares as "".
D_EXPORT bool operator<=(DString const& a, char const* b);
/// As the DString forms, \p b read to its NUL; a null \p b compares as "".
D_EXPORT bool operator>(DString const& a, char const* b);
/// As the DString forms, \p b read to its NUL; a null \p b compares as "".
D_EXPORT bool operator>=(DString const& a, char const* b);
/// As the DString forms, \p a read to its NUL; a null \p a compares as "".
D_EXPORT bool operator==(char const* a, DString const& b);
/// As the DString forms, \p a read to its NUL; a null \p a compares as "".
D_EXPORT bool operator!=(char const* a, DString const& b);
/// As the DString forms, \p a read to its NUL; a null \p a compares as "".
D_EXPORT bool operator<(char const* a, DString const& b);
/// As the DString forms, \p a read to its NUL; a null \p a compares as "".
D_EXPORT bool operator<=(char const* a, DString const& b);
/// As the DString forms, \p a read to its NUL; a null \p a compares as "".
D_EXPORT bool operator>(char const* a, DString const& b);
/// As the DString forms, \p a read to its NUL; a null \p a compares as "".
D_EXPORT bool operator>=(char const* a, DString const& b);
/// @}

// The standard hash of a DString.
namespace std {
/// Hash of all length() bytes, equal to std::hash<std::string_view>.
template <>
struct hash<DString> {
  /// The hash of the text bytes (NULs included).
  size_t operator()(DString const& s) const noexcept {
    return hash<string_view>()(static_cast<string_view>(s));
  }
};
} // namespace std

#endif // D_STRING_DSTRING_HPP
