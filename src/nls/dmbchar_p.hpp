// Internal: the multibyte character model. This header decides what a
// character of the current locale's multibyte text is; every multibyte
// search, edit, position mapping and conversion walk of the library reads
// characters through it. Positions are 1-based bytes unless said otherwise.
//
// forwardStep() is the one call into the C library's character reading
// (mbrtowc; only the collation converts whole segments with mbsrtowcs, in
// ddbcsb1.cpp); the walkers below differ only in where they start, which state
// they keep, how much they let it read and which BadByte rule turns an invalid
// or cut-off sequence into a step:
//
//  - CharWalk: forward from byte 1 with one conversion state for the whole
//    walk; reads at most measureLimit bytes; BadByte::oneByte. It answers
//    DDBCSBuffer::charType() and the multibyte class tests.
//  - CharStarts (with mbStep()): stateless and resynchronising; every step
//    is measured from the zero state, ASCII bytes at a character start skip
//    the C library, and a question starts from the nearest known start or
//    from a byte no character of the codeset carries after its first byte.
//    BadByte::oneByte. It also steps backwards (previous(),
//    startAtOrBefore()). All byte-strategy (DString::fgI18NState 0)
//    searches and edits use it.
//  - decodeChar(): the forward step with the wide value, for the wide
//    predicate scans; reads at most MB_CUR_MAX bytes; BadByte::oneByte,
//    and a bad sequence has the value WEOF.
//  - PositionWalk: forward from byte 1 with one state, reading at most
//    MB_CUR_MAX bytes; BadByte::mbCurMax. The byte-position/character-number
//    mappings of dnlsutil.hpp (findBytePos() and friends) use it.
//  - cvtMB2WC() (dnlsutil.cpp) / wideCharOffsets(): the conversion to wide
//    characters, reading all that is left; BadByte::raise. DWBuffer and every
//    wide-strategy edit count characters this way.
#ifndef D_NLS_DMBCHAR_P_HPP
#define D_NLS_DMBCHAR_P_HPP

#include "string/dbufkind_p.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <vector>

namespace dinternal {

/// The all-zero conversion state every walk starts from.
extern std::mbstate_t const zeroState;

/// Longest sequence the one-byte rule hands to the C library: longer than
/// any character of a supported locale.
constexpr unsigned int measureLimit = 16;

/// What the C library makes of the bytes at a position.
enum class SequenceKind { character, invalid, incomplete };

/// How a walk counts a sequence that starts no character (invalid) or is
/// cut off by the end of what it may read (incomplete).
enum class BadByte {
  /// Invalid and incomplete sequences are one-byte characters, as is NUL;
  /// the state is put back, so the walk resumes at the next byte with the
  /// state it had.
  oneByte,
  /// An invalid sequence ends the walk (no answer). An incomplete one
  /// consumes MB_CUR_MAX bytes, keeps its partial bytes in the state and
  /// belongs to the character that completes next.
  mbCurMax,
  /// Both raise DInvalidRequest with message 1012 (raiseBadSequence()).
  raise
};

/// Raises message 1012 for an invalid or incomplete sequence, as the
/// conversions of dnlsutil.hpp report it.
[[noreturn]] void raiseBadSequence(SequenceKind kind);

/// One step of a forward walk.
struct Step {
  /// Bytes the walk moves on (a NUL character counts 1); 0 when an invalid
  /// sequence ends a BadByte::mbCurMax walk.
  unsigned int bytes;
  /// What the C library read there.
  SequenceKind kind;
};

/// The step over the sequence at \p p under \p Rule, reading at most \p n
/// bytes with \p state; the wide value goes to \p wc unless that is null
/// (and is meaningful only for a character).
template <BadByte Rule>
inline Step forwardStep(char const* p, std::size_t n, std::mbstate_t* state,
                        wchar_t* wc = nullptr) {
  std::mbstate_t const before = *state;
  std::size_t const r = std::mbrtowc(wc, p, n, state);
  if (r != static_cast<std::size_t>(-1) && r != static_cast<std::size_t>(-2))
    return {r == 0 ? 1u : static_cast<unsigned int>(r),
            SequenceKind::character};
  SequenceKind const kind = r == static_cast<std::size_t>(-1)
                                ? SequenceKind::invalid
                                : SequenceKind::incomplete;
  switch (Rule) {
  case BadByte::oneByte:
    *state = before;
    return {1, kind};
  case BadByte::mbCurMax:
    if (kind == SequenceKind::invalid)
      return {0, kind};
    return {static_cast<unsigned int>(MB_CUR_MAX), kind};
  case BadByte::raise:
    break;
  }
  raiseBadSequence(kind);
}

/// BadByte::oneByte: byte length (at least 1) of the character at \p p,
/// reading at most \p available bytes (and never more than measureLimit).
/// A NUL byte is measured without the C library. Out of line, as the
/// buffer's charLength() always was.
unsigned int measureChar(char const* p, unsigned int available,
                         std::mbstate_t* state);

/// measureChar() with a fresh zero state.
inline unsigned int statelessLength(char const* p, unsigned int available) {
  std::mbstate_t state = zeroState;
  return measureChar(p, available, &state);
}

/// statelessLength(), except that an ASCII byte where a character starts
/// is one byte in every codeset a locale may use, so it skips the C
/// library.
inline unsigned int mbStep(char const* p, unsigned int available) {
  if (static_cast<unsigned char>(*p) < 0x80)
    return 1;
  return statelessLength(p, available);
}

/// One character of decodeChar(): its byte length and its wide value (WEOF
/// for a sequence that starts no character).
struct DecodedChar {
  unsigned int bytes;
  int value;
};

/// BadByte::oneByte with the wide value, reading at most MB_CUR_MAX of the
/// \p available bytes at \p p.
inline DecodedChar decodeChar(char const* p, unsigned int available,
                              std::mbstate_t* state) {
  std::size_t const maxBytes = MB_CUR_MAX;
  wchar_t wc = L'\0';
  Step const step = forwardStep<BadByte::oneByte>(
      p, available < maxBytes ? available : maxBytes, state, &wc);
  if (step.kind != SequenceKind::character)
    return {1, static_cast<int>(WEOF)};
  return {step.bytes, static_cast<int>(wc)};
}

/// A forward walk over the characters of \p length bytes of text, one
/// conversion state for the whole walk (BadByte::oneByte).
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

private:
  void restart();
  void measure();

  char const* text;
  unsigned int textLength;
  unsigned int start;
  unsigned int charBytes;
  std::mbstate_t state;
};

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
  bool isSync(unsigned char c) const;
  unsigned int anchorFor(unsigned int p);
  /// Walks from the start \p from; stops at the first start beyond \p p
  /// and returns the last start at or before it.
  unsigned int walk(unsigned int from, unsigned int p);
  void remember(unsigned int start);

  static constexpr unsigned int ringSize = 256;
  char const* text;
  unsigned int textLength;
  Codeset codeset;
  /// Consecutive starts of the last walk, ascending; walkEnd is the start
  /// behind the last of them (0 while nothing is known).
  unsigned int ring[ringSize];
  unsigned int ringCount = 0;
  unsigned int walkEnd = 0;
  /// Every ringSize-th start of long walks, ascending.
  std::vector<unsigned int> checkpoints;
};

/// The walk of the position mappings (BadByte::mbCurMax): from byte 1 with
/// one state, reading at most MB_CUR_MAX bytes and never more than the
/// text has left.
class PositionWalk {
public:
  PositionWalk(char const* text, unsigned int length)
      : s(text), len(length), walked(0), charStart(1), chars(0),
        incomplete(false), state(zeroState) {}

  /// Measures the next stretch; false on an invalid sequence.
  bool step() {
    std::size_t const maxBytes = MB_CUR_MAX;
    std::size_t const left = walked < len ? len - walked : 0;
    Step const next = forwardStep<BadByte::mbCurMax>(
        s + walked, left < maxBytes ? left : maxBytes, &state);
    if (next.kind == SequenceKind::invalid)
      return false;
    walked += next.bytes;
    incomplete = next.kind == SequenceKind::incomplete;
    if (incomplete)
      return true;
    ++chars;
    charStart = walked + 1;
    return true;
  }

  char const* s;
  unsigned long len;
  unsigned long walked;    // bytes consumed so far
  unsigned long charStart; // first byte of the character being built
  unsigned int chars;      // characters completed so far
  bool incomplete;         // the last stretch ended inside a character
  std::mbstate_t state;
};

/// Where the wide characters of \p length bytes of text lie in them
/// (BadByte::raise): entry i is the 0-based offset of character i of the
/// DWBuffer made from the same bytes, and one last entry holds \p length.
/// The walk is cvtMBS2WCS's, so bad text raises message 1012 just as that
/// conversion does. The wide strategies copy whole characters from the
/// source through these offsets instead of converting them back: a
/// character whose conversion does not round-trip (six four-byte GB18030
/// codes come back as two bytes) keeps its own bytes.
/// With \p wide, the wide characters themselves are stored there too, from
/// the same walk.
std::vector<unsigned int> wideCharOffsets(char const* text, unsigned int length,
                                          std::vector<wchar_t>* wide = nullptr);

/// The characters of a set of characters, as DDBCSBuffer::isCharValid()
/// reads it: the set is walked from its first byte with one state, and a
/// character of the text belongs when one of the set's characters has the
/// same length and bytes. The walk is made once, so a search asks each
/// character of its text without measuring the set again: one-byte
/// characters answer from a table, and longer ones walk the set only when
/// it holds any longer characters.
class CharSet {
public:
  CharSet(char const* set, unsigned int length);
  /// True when the \p size bytes at \p here are one whole character of
  /// the set.
  bool contains(char const* here, unsigned int size) const {
    if (size == 1) {
      auto const c = static_cast<unsigned char>(*here);
      return (oneByte[c >> 6] >> (c & 63) & 1) != 0;
    }
    return longMembers && walkFor(set, length, here, size);
  }

  /// The walk itself, for a character \p size bytes long.
  static bool walkFor(char const* set, unsigned int length, char const* here,
                      unsigned int size);

private:
  char const* set;
  unsigned int length;
  bool longMembers = false;
  std::uint64_t oneByte[4] = {};
};

} // namespace dinternal

#endif // D_NLS_DMBCHAR_P_HPP
