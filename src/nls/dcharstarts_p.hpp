// Internal helpers of the multibyte buffer's searches and edits: measuring
// one character, and CharStarts, which finds character starts (1-based byte
// positions) without walking from the first byte for every question.
#ifndef D_NLS_DCHARSTARTS_P_HPP
#define D_NLS_DCHARSTARTS_P_HPP

#include "nls/ddbcsb_p.hpp"

#include "dbuffer.hpp"

#include <cstddef>
#include <cwchar>
#include <vector>

namespace dinternal {

/// Byte length (at least 1) of the character at \p p, reading at most
/// \p available bytes: statelessLength() (NUL, invalid and incomplete
/// sequences are one byte), except that an ASCII byte where a character
/// starts is one byte in every codeset a locale may use, so it skips the C
/// library.
inline unsigned int mbStep(char const* p, unsigned int available) {
  if (static_cast<unsigned char>(*p) < 0x80)
    return 1;
  return statelessLength(p, available);
}

/// The character starts of one text, as the walk from its first byte with
/// mbStep() finds them. Answers come from the nearest start already known:
/// the end of the previous walk, a checkpoint left by a long walk, or a
/// "sync" byte that no character of the current codeset carries after its
/// first byte (ASCII in UTF-8 and EUC-JP, and more), which the walk from
/// the start always lands on. So a sequence of nearby questions costs the
/// distance walked, not the distance from the first byte.
class CharStarts {
public:
  CharStarts(char const* text, unsigned int length);
  /// Same, with \p knownStart (1..length) known to start a character.
  CharStarts(char const* text, unsigned int length, unsigned int knownStart);
  CharStarts(CharStarts const&) = delete;
  CharStarts& operator=(CharStarts const&) = delete;

  /// Smallest character start at or after \p p (p >= 1); length + 1 when
  /// none is left.
  unsigned int startAtOrAfter(unsigned int p);
  /// Largest character start at or before \p p (1 <= p <= length).
  unsigned int startAtOrBefore(unsigned int p);
  /// The start behind the character that starts at \p b.
  unsigned int next(unsigned int b) const {
    return b + mbStep(text + b - 1, textLength - b + 1);
  }
  /// The start of the character before the one starting at \p b; 0 for 1.
  unsigned int previous(unsigned int b) {
    return b <= 1 ? 0 : startAtOrBefore(b - 1);
  }
  /// charType() - 1 for a byte inside a multibyte character: how many
  /// bytes of its character lie before \p p (1..length); 0 at a start.
  unsigned int bytesBefore(unsigned int p) { return p - startAtOrBefore(p); }
  /// How many bytes from \p p (1..length) on still belong to a character
  /// that started before \p p; 0 at a start.
  unsigned int bytesFrom(unsigned int p) {
    return bytesBefore(p) == 0 ? 0 : startAtOrAfter(p) - p;
  }

private:
  enum Sync { noSync, utf8Sync, eucSync, gbSync };
  static Sync currentSync();
  bool isSync(unsigned char c) const;
  unsigned int anchorFor(unsigned int p);
  /// Walks from the start \p from; stops at the first start beyond \p p
  /// and returns the last start at or before it.
  unsigned int walk(unsigned int from, unsigned int p);
  void remember(unsigned int start);

  static constexpr unsigned int ringSize = 256;
  char const* text;
  unsigned int textLength;
  Sync sync;
  /// Consecutive starts of the last walk, ascending; walkEnd is the start
  /// behind the last of them (0 while nothing is known).
  unsigned int ring[ringSize];
  unsigned int ringCount = 0;
  unsigned int walkEnd = 0;
  /// Every ringSize-th start of long walks, ascending.
  std::vector<unsigned int> checkpoints;
};

/// The predicate's answer for a byte: signed char widened to int.
inline int byteArgument(char c) {
  return static_cast<signed char>(c);
}

} // namespace dinternal

#endif // D_NLS_DCHARSTARTS_P_HPP
