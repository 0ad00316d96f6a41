// Single-byte searches and extraction of DBuffer, and the character
// predicate DStringTest. Positions are 1-based bytes, 0 means not found;
// every search takes its starting point from the virtual startSearch() or
// startBackwardsSearch(), which the multibyte buffer moves onto boundaries.
#include "dbuffer.hpp"

#include "dstring.hpp"

#include <cstring>
#include <string.h> // memmem, memrchr

//===--- Predicate --------------------------------------------------------===//

DStringTest::DStringTest(int (*fn)(int)) : kind(1), function(fn) {}

DStringTest::~DStringTest() = default;

int DStringTest::test(int c) const {
  return kind == 1 && function != nullptr ? function(c) : 0;
}

//===--- Helpers ----------------------------------------------------------===//

namespace {

/// Membership table of a byte set: one flag per byte value, so a test costs
/// one load however large the set is. Lives on the stack; nothing allocates.
class ByteSet {
public:
  ByteSet(char const* set, unsigned int length) {
    std::memset(member, 0, sizeof member);
    auto const* p = reinterpret_cast<unsigned char const*>(set);
    for (unsigned int i = 0; i < length; ++i)
      member[p[i]] = 1;
  }
  bool has(unsigned char c) const { return member[c] != 0; }

private:
  unsigned char member[256];
};

/// The byte as the predicates see it: a signed char widened to int, so
/// 0xE9 arrives as -23 whatever the platform's char signedness.
inline int predicateArgument(unsigned char c) {
  return static_cast<signed char>(c);
}

/// First index in [from, end) whose byte satisfies \p accept, else end.
template <class Accept>
unsigned int scanForward(unsigned char const* text, unsigned int from,
                         unsigned int end, Accept accept) {
  for (unsigned int i = from; i < end; ++i)
    if (accept(text[i]))
      return i;
  return end;
}

/// 1-based position of the last byte at 1-based positions 1..\p last that
/// satisfies \p accept, else 0.
template <class Accept>
unsigned int scanBackward(unsigned char const* text, unsigned int last,
                          Accept accept) {
  for (unsigned int p = last; p != 0; --p)
    if (accept(text[p - 1]))
      return p;
  return 0;
}

/// Candidates lastIndexOf() checks inline after each memrchr hit.
constexpr unsigned int inlineRun = 32;

/// Converts scanForward's index into a 1-based position or 0.
inline unsigned int positionOf(unsigned int index, unsigned int end) {
  return index == end ? 0 : index + 1;
}

inline unsigned char const* bytesOf(DBuffer const& b) {
  return reinterpret_cast<unsigned char const*>(b.contents());
}

} // namespace

//===--- Search starts ----------------------------------------------------===//

unsigned int DBuffer::startSearch(unsigned int start,
                                  unsigned int patternLength) const {
  unsigned int const s = start == 0 ? 1 : start;
  if (length() < s || patternLength > length() - s + 1)
    return 0;
  return s;
}

unsigned int DBuffer::startBackwardsSearch(unsigned int start,
                                           unsigned int patternLength) const {
  if (patternLength > length())
    return 0;
  unsigned int s = start < length() ? start : length();
  unsigned int const lastFit = length() - patternLength + 1;
  if (s > lastFit)
    s = lastFit;
  return s;
}

//===--- Forward search ---------------------------------------------------===//

unsigned int DBuffer::indexOf(char const* pattern, unsigned int length,
                              unsigned int start) const {
  if (length == 1)
    return indexOfAnyOf(pattern, 1, start);
  unsigned int const s = startSearch(start, length);
  if (s == 0 || length == 0)
    return 0;
  // memmem finds the first occurrence, exactly what a memcmp at every
  // position from s on would find, in linear time.
  char const* from = contents() + (s - 1);
  void const* hit = memmem(from, this->length() - (s - 1), pattern, length);
  if (hit == nullptr)
    return 0;
  return static_cast<unsigned int>(static_cast<char const*>(hit) -
                                   contents()) +
         1;
}

unsigned int DBuffer::indexOf(DStringTest const& test,
                              unsigned int start) const {
  return indexOfAnyOf(test, start);
}

unsigned int DBuffer::indexOfAnyOf(char const* set, unsigned int length,
                                   unsigned int start) const {
  unsigned int const s = startSearch(start, 1);
  if (s == 0 || length == 0)
    return 0;
  unsigned int const end = this->length();
  if (length == 1) {
    void const* hit = std::memchr(contents() + (s - 1), set[0], end - (s - 1));
    return hit == nullptr ? 0
                          : static_cast<unsigned int>(
                                static_cast<char const*>(hit) - contents()) +
                                1;
  }
  ByteSet const members(set, length);
  return positionOf(scanForward(bytesOf(*this), s - 1, end,
                                [&](unsigned char c) { return members.has(c); }),
                    end);
}

unsigned int DBuffer::indexOfAnyOf(DStringTest const& test,
                                   unsigned int start) const {
  unsigned int const s = startSearch(start, 1);
  if (s == 0)
    return 0;
  unsigned int const end = length();
  return positionOf(scanForward(bytesOf(*this), s - 1, end,
                                [&](unsigned char c) {
                                  return test.test(predicateArgument(c)) != 0;
                                }),
                    end);
}

unsigned int DBuffer::indexOfAnyBut(char const* set, unsigned int length,
                                    unsigned int start) const {
  unsigned int const s = startSearch(start, 1);
  if (s == 0)
    return 0;
  if (length == 0)
    return s;
  unsigned int const end = this->length();
  if (length == 1) {
    unsigned char const only = static_cast<unsigned char>(set[0]);
    return positionOf(scanForward(bytesOf(*this), s - 1, end,
                                  [=](unsigned char c) { return c != only; }),
                      end);
  }
  ByteSet const members(set, length);
  return positionOf(
      scanForward(bytesOf(*this), s - 1, end,
                  [&](unsigned char c) { return !members.has(c); }),
      end);
}

unsigned int DBuffer::indexOfAnyBut(DStringTest const& test,
                                    unsigned int start) const {
  unsigned int const s = startSearch(start, 1);
  if (s == 0)
    return 0;
  unsigned int const end = length();
  return positionOf(scanForward(bytesOf(*this), s - 1, end,
                                [&](unsigned char c) {
                                  return test.test(predicateArgument(c)) == 0;
                                }),
                    end);
}

//===--- Backward search --------------------------------------------------===//

unsigned int DBuffer::lastIndexOf(char const* pattern, unsigned int length,
                                  unsigned int start) const {
  unsigned int const s = startBackwardsSearch(start, length);
  if (s == 0 || length == 0)
    return 0;
  char const* text = contents();
  if (length == 1) {
    void const* hit = memrchr(text, pattern[0], s);
    return hit == nullptr ? 0
                          : static_cast<unsigned int>(
                                static_cast<char const*>(hit) - text) +
                                1;
  }
  // Candidates begin at 1-based positions 1..s. memrchr finds the last one
  // whose final byte matches; from there a short inline run checks further
  // candidates before memrchr is asked again, so that a frequent final byte
  // does not cost one call per position.
  char const lastByte = pattern[length - 1];
  char const* const lastBytes = text + (length - 1); // of candidate 1
  unsigned int p = s;
  while (p != 0) {
    void const* hit = memrchr(lastBytes, lastByte, p);
    if (hit == nullptr)
      return 0;
    p = static_cast<unsigned int>(static_cast<char const*>(hit) - lastBytes) +
        1;
    unsigned int const stop = p > inlineRun ? p - inlineRun : 0;
    for (; p != stop; --p)
      if (lastBytes[p - 1] == lastByte &&
          std::memcmp(text + (p - 1), pattern, length - 1) == 0)
        return p;
  }
  return 0;
}

unsigned int DBuffer::lastIndexOf(DStringTest const& test,
                                  unsigned int start) const {
  return lastIndexOfAnyOf(test, start);
}

unsigned int DBuffer::lastIndexOfAnyOf(char const* set, unsigned int length,
                                       unsigned int start) const {
  unsigned int const s = startBackwardsSearch(start, 1);
  if (s == 0 || length == 0)
    return 0;
  if (length == 1) {
    void const* hit = memrchr(contents(), set[0], s);
    return hit == nullptr ? 0
                          : static_cast<unsigned int>(
                                static_cast<char const*>(hit) - contents()) +
                                1;
  }
  ByteSet const members(set, length);
  return scanBackward(bytesOf(*this), s,
                      [&](unsigned char c) { return members.has(c); });
}

unsigned int DBuffer::lastIndexOfAnyOf(DStringTest const& test,
                                       unsigned int start) const {
  unsigned int const s = startBackwardsSearch(start, 1);
  if (s == 0)
    return 0;
  return scanBackward(bytesOf(*this), s, [&](unsigned char c) {
    return test.test(predicateArgument(c)) != 0;
  });
}

unsigned int DBuffer::lastIndexOfAnyBut(char const* set, unsigned int length,
                                        unsigned int start) const {
  unsigned int const s = startBackwardsSearch(start, 1);
  if (s == 0)
    return 0;
  if (length == 0)
    return s;
  if (length == 1) {
    unsigned char const only = static_cast<unsigned char>(set[0]);
    return scanBackward(bytesOf(*this), s,
                        [=](unsigned char c) { return c != only; });
  }
  ByteSet const members(set, length);
  return scanBackward(bytesOf(*this), s,
                      [&](unsigned char c) { return !members.has(c); });
}

unsigned int DBuffer::lastIndexOfAnyBut(DStringTest const& test,
                                        unsigned int start) const {
  unsigned int const s = startBackwardsSearch(start, 1);
  if (s == 0)
    return 0;
  return scanBackward(bytesOf(*this), s, [&](unsigned char c) {
    return test.test(predicateArgument(c)) == 0;
  });
}

//===--- Extraction -------------------------------------------------------===//

DBuffer* DBuffer::subString(unsigned int start, unsigned int count,
                            char pad) const {
  unsigned int const s = start == 0 ? 1 : start;
  unsigned int const available = s > length() ? 0 : length() - s + 1;
  unsigned int const taken = count < available ? count : available;
  char const* from = taken == 0 ? contents() : contents() + (s - 1);
  return newBuffer(from, taken, nullptr, count - taken, nullptr, 0, pad);
}

DBuffer* DBuffer::subString(unsigned int start) const {
  unsigned int const s = start == 0 ? 1 : start;
  // Unguarded: callers pass at most length() + 1 (DString::subString does).
  return subString(s, length() - s + 1, ' ');
}
