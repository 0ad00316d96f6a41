// Internal: the word model of DString. White space is exactly the six bytes
// "\t\n\v\f\r " and nothing else; a word is a maximal run of other
// characters (NUL included). Words are numbered from 1, positions are
// 1-based and every scan goes through the buffer's virtual search slots.
#ifndef D_STRING_DWORDS_P_HPP
#define D_STRING_DWORDS_P_HPP

#include "base/dcompiler_p.hpp"
#include "string/dbufkind_p.hpp"

#include "dbuffer.hpp"
#include "dstring.hpp"

#include <cstdint>
#include <cstring>
#include <vector>

namespace dinternal {

/// The white-space set of the word operations, always passed with its
/// count (the terminating NUL is not a member).
inline constexpr char wordSeparators[] = "\t\n\v\f\r ";
inline constexpr unsigned int wordSeparatorCount = 6;

/// One word: 1-based start and length in bytes; {0, 0} names no word.
struct WordOccurrence {
  unsigned int position;
  unsigned int length;
};

/// Eight text bytes read as one word, the first in the lowest byte, for
/// the word-at-a-time scans of a plain DBuffer's words. \p count (0-7)
/// bytes are read; the rest of the word reads as separators.
inline std::uint64_t separatorPaddedBlock(char const* text,
                                          unsigned int count) {
  char bytes[8] = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '};
  std::memcpy(bytes, text, count);
  std::uint64_t block;
  std::memcpy(&block, bytes, sizeof block);
  return block;
}

/// The high bit of every byte of \p block that is one of the six
/// separators (9-13 and 32), each byte on its own: no sum carries into the
/// next byte, so the answer is exact, bytes 0x80-0xFF and NUL included.
inline std::uint64_t separatorBits(std::uint64_t block) {
  constexpr std::uint64_t ones = 0x0101010101010101u;
  constexpr std::uint64_t highBits = 0x8080808080808080u;
  constexpr std::uint64_t lowBits = 0x7F7F7F7F7F7F7F7Fu;
  std::uint64_t const low = block & lowBits;
  std::uint64_t const atLeast9 = low + ones * (0x80 - 9);
  std::uint64_t const atLeast14 = low + ones * (0x80 - 14);
  std::uint64_t const not32 = ((block ^ ones * 0x20) & lowBits) + lowBits;
  return ((atLeast9 & ~atLeast14) | ~not32) & ~block & highBits;
}

/// Calls \p onBlock(offset, starts, ends) for every eight of the \p n
/// bytes at \p text, the last block padded with separators, until it
/// returns false. Bit 8k + 7 of starts is set where byte offset + k begins
/// a word, and of ends where a word ended just before it. Single-byte text.
template <class OnBlock>
void scanWordBlocks(char const* text, unsigned int n, OnBlock onBlock) {
  constexpr std::uint64_t highBits = 0x8080808080808080u;
  std::uint64_t before = 0x80; // the start of the text counts as a separator
  unsigned int offset = 0;
  auto step = [&](std::uint64_t block) {
    std::uint64_t const separators = separatorBits(block);
    std::uint64_t const previous = separators << 8 | before;
    before = separators >> 56;
    return onBlock(offset, ~separators & previous & highBits,
                   separators & ~previous & highBits);
  };
  for (; n - offset >= 8; offset += 8) {
    std::uint64_t block;
    std::memcpy(&block, text + offset, sizeof block);
    if (!step(block))
      return;
  }
  step(separatorPaddedBlock(text + offset, n - offset));
}

/// True when the words of \p b are the runs of its bytes that are not
/// separators, so that scanWordBlocks() finds them: a plain DBuffer, or a
/// DDBCSBuffer in a codeset whose characters carry no separator byte after
/// their first (UTF-8, EUC-JP, GB18030: their later bytes are 0x30 and
/// up), where every separator byte is a character of its own and the byte
/// behind it starts one. The searches of either class are the library's own.
inline bool byteWords(DBuffer const& b) {
  if (plainBuffer(b))
    return true;
  return multibyteBuffer(b) && currentCodeset() != Codeset::other;
}

/// Calls \p visit(position, length) for every word of \p text in order and
/// stops early when it returns false. Two virtual searches per word, or,
/// where the words are those of the bytes (byteWords()), a scan of eight
/// bytes a step.
template <class Visit>
void forEachWord(DString const& text, Visit visit) {
  DBuffer const* const buffer = text.buffer();
  if (littleEndian && byteWords(*buffer)) {
    unsigned int wordStart = 0;
    scanWordBlocks(
        buffer->contents(), buffer->length(),
        [&](unsigned int offset, std::uint64_t starts, std::uint64_t ends) {
          // Starts and ends alternate, a start first.
          for (std::uint64_t changes = starts | ends; changes != 0;
               changes &= changes - 1) {
            unsigned int const at = offset + lowestBit(changes) / 8;
            if ((starts >> lowestBit(changes) & 1) != 0)
              wordStart = at;
            else if (!visit(wordStart + 1, at - wordStart))
              return false;
          }
          return true;
        });
    return;
  }
  unsigned int start = 1;
  while (start != 0) {
    unsigned int const position =
        buffer->indexOfAnyBut(wordSeparators, wordSeparatorCount, start);
    if (position == 0)
      return;
    unsigned int const end =
        buffer->indexOfAnyOf(wordSeparators, wordSeparatorCount, position);
    unsigned int length;
    if (end != 0) {
      length = end - position;
      start = end;
    } else {
      length = buffer->length() - position + 1;
      start = 0;
    }
    if (!visit(position, length))
      return;
  }
}

/// A string taken apart into its words once. Held as an array, so that
/// word i is found in constant time; entry 0 is the sentinel {0, 0}, which
/// also answers for every number past the last word.
class Words {
public:
  explicit Words(DString const& text);

  /// Number of words.
  unsigned int count() const {
    return static_cast<unsigned int>(occurrences.size() - 1);
  }
  /// Word \p wordNumber; the sentinel {0, 0} for 0 or past the last word.
  WordOccurrence const& operator[](unsigned int wordNumber) const {
    return wordNumber < occurrences.size() ? occurrences[wordNumber]
                                           : occurrences[0];
  }

private:
  std::vector<WordOccurrence> occurrences;
};

} // namespace dinternal

#endif // D_STRING_DWORDS_P_HPP
