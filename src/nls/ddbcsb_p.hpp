// Internal: the character walk of the multibyte buffer. Every walk starts at
// byte 1 with the all-zero conversion state and keeps that one state; bad or
// truncated sequences measure one byte. Loops that would ask charType() or
// prevCharLength() at many positions use a CharWalk (or characterStarts())
// instead, so that they stay linear in the text length.
#ifndef D_NLS_DDBCSB_P_HPP
#define D_NLS_DDBCSB_P_HPP

#include <cwchar>
#include <vector>

namespace dinternal {

/// The all-zero conversion state every walk starts from.
extern std::mbstate_t const zeroState;

/// Byte length (at least 1) of the character at \p p, reading at most
/// \p available bytes (and never more than 16): NUL, invalid and incomplete
/// sequences measure 1. After an incomplete sequence \p state is put back as
/// it was, so the walk resumes at the next byte with the same state.
unsigned int measureChar(char const* p, unsigned int available,
                         std::mbstate_t* state);

/// Byte length (at least 1) of the character at \p p measured with a fresh
/// zero state (the stateless measure of next() and isCharValid()).
unsigned int statelessLength(char const* p, unsigned int available);

/// A forward walk over the characters of \p length bytes of text, one
/// conversion state for the whole walk. Positions are 1-based bytes.
class CharWalk {
public:
  CharWalk(char const* text, unsigned int length);

  /// First byte of the current character; length + 1 once at the end.
  unsigned int position() const { return start; }
  /// Byte length of the current character; 0 once at the end.
  unsigned int size() const { return charBytes; }
  /// Last byte of the current character (position() - 1 at the end).
  unsigned int last() const { return start + charBytes - 1; }
  bool atEnd() const { return charBytes == 0; }
  /// Steps to the next character.
  void advance();
  /// Steps forward until the current character holds byte \p pos (or the
  /// end); restarts from byte 1 when \p pos lies before the current one.
  void seek(unsigned int pos);
  /// DDBCSBuffer::charType(pos): 0 for a one-byte character (and for 0 or a
  /// position past the text), else the 1-based index of \p pos inside its
  /// character. Cheap for non-decreasing positions.
  int typeAt(unsigned int pos);
  /// First byte of the character that holds byte \p pos (1..length).
  unsigned int startOf(unsigned int pos) {
    seek(pos);
    return start;
  }

private:
  void restart();
  void measure();

  char const* text;
  unsigned int textLength;
  unsigned int start;
  unsigned int charBytes;
  std::mbstate_t state;
};

/// The first byte of every character of the text, in order (one walk); for
/// loops that step backwards from character to character.
std::vector<unsigned int> characterStarts(char const* text,
                                          unsigned int length);

/// Where the wide characters of \p length bytes of text lie in them: entry i
/// is the 0-based offset of character i of the DWBuffer made from the same
/// bytes, and one last entry holds \p length. The walk is cvtMBS2WCS's, so
/// bad text raises message 1012 just as that conversion does. The wide
/// strategies copy whole characters from the source through these offsets
/// instead of converting them back: a character whose conversion does not
/// round-trip (six four-byte GB18030 codes come back as two bytes) keeps
/// its own bytes.
/// With \p wide, the wide characters themselves are stored there too, from
/// the same walk.
std::vector<unsigned int> wideCharOffsets(char const* text, unsigned int length,
                                          std::vector<wchar_t>* wide = nullptr);

} // namespace dinternal

#endif // D_NLS_DDBCSB_P_HPP
