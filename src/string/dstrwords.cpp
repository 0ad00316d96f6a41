// DString word operations: counting, finding, cutting out, removing and
// re-spacing blank-delimited words, and finding phrases. Every scan uses the
// buffer's virtual searches with the white-space set, so multibyte buffers
// keep characters whole without any code here knowing about them.
#include "string/dstring_p.hpp"
#include "string/dwords_p.hpp"

#include "dstring.hpp"

#include <cstdint>
#include <cstring>
#include <vector>

using dinternal::WordOccurrence;
using dinternal::Words;
using dinternal::wordSeparatorCount;
using dinternal::wordSeparators;

dinternal::Words::Words(DString const& text) : occurrences(1, {0, 0}) {
  forEachWord(text, [this](unsigned int position, unsigned int length) {
    occurrences.push_back({position, length});
    return true;
  });
}

//===--- Scanning helpers -------------------------------------------------===//

// First separator at or after \p start; length + 1 when the text ends first.
// Used to find the end of the word that starts before \p start.
static unsigned int wordEnd(DBuffer const* buffer, unsigned int start) {
  unsigned int const end =
      buffer->indexOfAnyOf(wordSeparators, wordSeparatorCount, start);
  return end != 0 ? end : buffer->length() + 1;
}

// The empty string of the receiver's buffer class (through newBuffer, so a
// single-byte buffer in a multibyte process stays single-byte).
static DString emptyLike(DString const& text) {
  return DString(
      text.buffer()->newBuffer(nullptr, 0, nullptr, 0, nullptr, 0, ' '));
}

// Word \p a of \p textA has the same length and bytes as word \p b of
// \p textB; white space around them plays no part.
static bool sameWord(char const* textA, WordOccurrence const& a,
                     char const* textB, WordOccurrence const& b) {
  return a.length == b.length &&
         std::memcmp(textA + a.position - 1, textB + b.position - 1,
                     a.length) == 0;
}

//===--- Queries ----------------------------------------------------------===//

unsigned int DString::numWords() const {
  unsigned int count = 0;
  DBuffer const* const b = buffer();
  if (dinternal::littleEndian && dinternal::byteWords(*b)) {
    dinternal::scanWordBlocks(
        b->contents(), b->length(),
        [&count](unsigned int, std::uint64_t starts, std::uint64_t) {
          count += dinternal::bitCount(starts);
          return true;
        });
    return count;
  }
  dinternal::forEachWord(*this, [&count](unsigned int, unsigned int) {
    ++count;
    return true;
  });
  return count;
}

unsigned int DString::indexOfWord(unsigned int wordNumber,
                                  unsigned int startPos,
                                  unsigned int wordsSoFar) const {
  if (startPos == 0)
    return 0;
  DBuffer const* const b = buffer();
  unsigned int start = startPos;
  unsigned int seen = wordsSoFar;
  // A number not above wordsSoFar is never met: the scan runs out and
  // answers 0, which is how word 0 reads as absent.
  if (dinternal::littleEndian && dinternal::byteWords(*b)) {
    // The searches below start where a character starts; from there the
    // words are runs of bytes, and the text before counts as a separator.
    unsigned int const s = b->startSearch(startPos, 1);
    unsigned int found = 0;
    if (s != 0)
      dinternal::scanWordBlocks(
          b->contents() + s - 1, b->length() - s + 1,
          [&](unsigned int offset, std::uint64_t starts, std::uint64_t) {
            for (; starts != 0; starts &= starts - 1)
              if (++seen == wordNumber) {
                found = s + offset + dinternal::lowestBit(starts) / 8;
                return false;
              }
            return true;
          });
    return found;
  }
  for (;;) {
    unsigned int const position =
        b->indexOfAnyBut(wordSeparators, wordSeparatorCount, start);
    if (position == 0)
      return 0;
    if (++seen == wordNumber)
      return position;
    start = b->indexOfAnyOf(wordSeparators, wordSeparatorCount, position);
    if (start == 0)
      return 0;
  }
}

unsigned int DString::lengthOfWord(unsigned int wordNumber) const {
  unsigned int const position = indexOfWord(wordNumber, 1, 0);
  if (position == 0)
    return 0;
  return wordEnd(buffer(), position + 1) - position;
}

//===--- Extraction -------------------------------------------------------===//

DString DString::word(unsigned int wordNumber) const {
  unsigned int const position = indexOfWord(wordNumber ? wordNumber : 1, 1, 0);
  if (position == 0)
    return emptyLike(*this);
  return subString(position, wordEnd(buffer(), position + 1) - position, ' ');
}

DString DString::words(unsigned int firstWord, unsigned int numWords) const {
  unsigned int const first = firstWord ? firstWord : 1;
  unsigned int const position = indexOfWord(first, 1, 0);
  if (position == 0 || numWords == 0)
    return emptyLike(*this);
  unsigned int const last = first > 0xFFFFFFFFu - (numWords - 1)
                                ? 0xFFFFFFFFu
                                : first + (numWords - 1);
  // The scan for the last word goes on from the first one instead of
  // starting over; the word numbers it meets are the same.
  unsigned int const lastPosition = indexOfWord(last, position, first - 1);
  unsigned int end;
  if (lastPosition != 0) {
    end = wordEnd(buffer(), lastPosition + 1);
  } else {
    // Fewer words than asked for: run to the end of the last non-blank
    // character. The next separator behind its first byte is that end, so
    // a multibyte last character stays whole (single-byte: one past it).
    end =
        wordEnd(buffer(), buffer()->lastIndexOfAnyBut(
                              wordSeparators, wordSeparatorCount, 0xFFFFFFFFu) +
                              1);
  }
  return subString(position, end - position, ' ');
}

unsigned int DString::findPhrase(DString const& phrase, unsigned int startWord,
                                 IndexType indexType) const {
  Words const text(*this);
  Words const wanted(phrase);
  std::uint64_t const textCount = text.count();
  std::uint64_t const phraseCount = wanted.count();
  // Exact arithmetic: the phrase cannot fit from startWord on when
  // textCount < phraseCount + startWord - 1.
  if (textCount + 1 < phraseCount + startWord)
    return 0;
  if (phraseCount == 0)
    return indexType != charIndex ? startWord : text[startWord].position;

  // Word 0 is the sentinel, which never equals a real word.
  unsigned int const from = startWord ? startWord : 1;
  if (textCount + 1 < phraseCount + from)
    return 0;

  // Knuth-Morris-Pratt over words: border[j] is the length of the longest
  // proper border of the phrase's first j words. It finds the same, first,
  // match as trying every start word in turn, in linear time.
  char const* const textBytes = pBuffer;
  char const* const phraseBytes = phrase.pBuffer;
  unsigned int const p = static_cast<unsigned int>(phraseCount);
  std::vector<unsigned int> border(p + 1, 0);
  for (unsigned int j = 2, b = 0; j <= p; ++j) {
    while (b > 0 &&
           !sameWord(phraseBytes, wanted[b + 1], phraseBytes, wanted[j]))
      b = border[b];
    if (sameWord(phraseBytes, wanted[b + 1], phraseBytes, wanted[j]))
      ++b;
    border[j] = b;
  }
  unsigned int const t = static_cast<unsigned int>(textCount);
  for (unsigned int i = from, matched = 0; i <= t; ++i) {
    while (matched > 0 &&
           !sameWord(textBytes, text[i], phraseBytes, wanted[matched + 1]))
      matched = border[matched];
    if (sameWord(textBytes, text[i], phraseBytes, wanted[matched + 1]))
      ++matched;
    if (matched == p) {
      unsigned int const found = i - p + 1;
      return indexType != charIndex ? found : text[found].position;
    }
  }
  return 0;
}

//===--- Editing ----------------------------------------------------------===//

DString& DString::removeWords(unsigned int firstWord, unsigned int numWords) {
  if (numWords == 0)
    return *this;
  unsigned int const position = indexOfWord(firstWord, 1, 0);
  if (position == 0)
    return *this;
  // firstWord + numWords may wrap past 32 bits; the wrapped number is then
  // at most firstWord - 1, is never met, and everything to the end goes.
  unsigned int const next =
      indexOfWord(firstWord + numWords, position, firstWord - 1);
  if (next != 0)
    return remove(position, next - position);
  return remove(position, length() + 1 - position);
}

DString& DString::space(unsigned int numSpaces, char spaceChar) {
  DBuffer* const old = buffer();
  if (old->length() == 0)
    return *this;
  Words const list(*this);
  DBuffer* fresh;
  if (list.count() == 0) {
    fresh = old->newBuffer(nullptr, 0, nullptr, 0, nullptr, 0, spaceChar);
  } else {
    // Measure first: an overflow must leave the receiver as it was.
    unsigned int total = list[1].length;
    for (unsigned int i = 2; i <= list.count(); ++i)
      total = dinternal::checkedAdd(dinternal::checkedAdd(total, numSpaces),
                                    list[i].length);
    char const* const text = pBuffer;
    fresh = old->newBuffer(text + list[1].position - 1, list[1].length, nullptr,
                           total - list[1].length, nullptr, 0, spaceChar);
    // The gaps already hold spaceChar (the factory's pad); copy the words.
    char* const out = fresh->contents();
    unsigned int offset = list[1].length;
    for (unsigned int i = 2; i <= list.count(); ++i) {
      offset += numSpaces;
      std::memcpy(out + offset, text + list[i].position - 1, list[i].length);
      offset += list[i].length;
    }
  }
  dinternal::StringAccess::adopt(*this, fresh);
  return *this;
}
