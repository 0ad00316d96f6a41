// Internal: the word model of DString. White space is exactly the six bytes
// "\t\n\v\f\r " and nothing else; a word is a maximal run of other
// characters (NUL included). Words are numbered from 1, positions are
// 1-based and every scan goes through the buffer's virtual search slots.
#ifndef D_STRING_DWORDS_P_HPP
#define D_STRING_DWORDS_P_HPP

#include "dbuffer.hpp"
#include "dstring.hpp"

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

/// Calls \p visit(position, length) for every word of \p text in order and
/// stops early when it returns false. Two virtual searches per word.
template <class Visit>
void forEachWord(DString const& text, Visit visit) {
  DBuffer const* const buffer = text.buffer();
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
