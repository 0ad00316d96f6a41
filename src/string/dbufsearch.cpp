// Single-byte searches and extraction of DBuffer, and the character
// predicate DStringTest. Positions are 1-based bytes, 0 means not found;
// every search takes its starting point from the virtual startSearch() or
// startBackwardsSearch(), which the multibyte buffer moves onto boundaries.
#include "base/dcompiler_p.hpp"
#include "string/dbytescan_p.hpp"

#include "dbuffer.hpp"
#include "dstring.hpp"

#include <cstdint>
#include <cstring>
#include <string.h> // memmem, memrchr

using dinternal::positionOf;

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

/// 1-based position of the first byte at 1-based positions \p first ..
/// \p end that satisfies \p accept, else 0.
template <class Accept>
unsigned int scanForward(unsigned char const* text, unsigned int first,
                         unsigned int end, Accept accept) {
  for (unsigned int p = first; p <= end; ++p)
    if (accept(text[p - 1]))
      return p;
  return 0;
}

/// The predicate forms' acceptance: bytes whose test() answer is non-zero
/// exactly when \p wanted.
inline auto testedBy(DStringTest const& test, bool wanted) {
  return [&test, wanted](unsigned char c) {
    return (test.test(predicateArgument(c)) != 0) == wanted;
  };
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

/// From this many candidate positions on, lastIndexOf tests eight
/// candidates at a time (below) instead of stopping at every byte that
/// matches one byte of the pattern.
constexpr unsigned int backwardWordsFrom = 16;

/// Backward search, eight candidates per step: a candidate at index i can
/// match only when t[i] is the pattern's first byte and t[i + length - 1]
/// its last, so both are compared for eight neighbouring candidates in one
/// 64-bit word each, and only the candidates where both agree are checked
/// with memcmp, the highest first. Candidates are the 0-based indexes
/// 0..last - 1 (each window lies inside the text); returns the 1-based
/// position of the last match or 0.
unsigned int lastIndexOfByWords(char const* text, unsigned int last,
                                char const* pattern, unsigned int length) {
  constexpr std::uint64_t ones = 0x0101010101010101u;
  constexpr std::uint64_t low7 = 0x7F7F7F7F7F7F7F7Fu;
  auto const* t = reinterpret_cast<unsigned char const*>(text);
  auto const* p = reinterpret_cast<unsigned char const*>(pattern);
  std::uint64_t const first = ones * p[0];
  std::uint64_t const lastByte = ones * p[length - 1];
  unsigned int end = last;
  for (; end >= 8; end -= 8) {
    unsigned int const base = end - 8;
    std::uint64_t a, b;
    std::memcpy(&a, t + base, 8);
    std::memcpy(&b, t + base + length - 1, 8);
    std::uint64_t const x = (a ^ first) | (b ^ lastByte);
    // 0x80 in exactly the bytes where x is zero.
    std::uint64_t both = ~(((x & low7) + low7) | x | low7);
    while (both != 0) {
      unsigned int const bit = dinternal::highestBit(both);
      unsigned int const k = dinternal::littleEndian ? bit / 8 : 7 - bit / 8;
      if (std::memcmp(t + base + k, p, length) == 0)
        return base + k + 1;
      both &= ~(std::uint64_t(1) << bit);
    }
  }
  while (end != 0) {
    --end;
    if (t[end] == p[0] && std::memcmp(t + end, p, length) == 0)
      return end + 1;
  }
  return 0;
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
  return positionOf(memmem(from, this->length() - (s - 1), pattern, length),
                    contents());
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
    return positionOf(std::memchr(contents() + (s - 1), set[0], end - (s - 1)),
                      contents());
  }
  ByteSet const members(set, length);
  return scanForward(bytesOf(*this), s, end,
                     [&](unsigned char c) { return members.has(c); });
}

unsigned int DBuffer::indexOfAnyOf(DStringTest const& test,
                                   unsigned int start) const {
  unsigned int const s = startSearch(start, 1);
  if (s == 0)
    return 0;
  return scanForward(bytesOf(*this), s, length(), testedBy(test, true));
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
    return scanForward(bytesOf(*this), s, end,
                       [=](unsigned char c) { return c != only; });
  }
  ByteSet const members(set, length);
  return scanForward(bytesOf(*this), s, end,
                     [&](unsigned char c) { return !members.has(c); });
}

unsigned int DBuffer::indexOfAnyBut(DStringTest const& test,
                                    unsigned int start) const {
  unsigned int const s = startSearch(start, 1);
  if (s == 0)
    return 0;
  return scanForward(bytesOf(*this), s, length(), testedBy(test, false));
}

//===--- Backward search --------------------------------------------------===//

// Aligned to a 64-byte block: the eight-candidate loop inlined here ran up
// to a quarter slower when a change elsewhere in the library moved it by 16
// bytes within the processor's fetch blocks.
[[gnu::aligned(64)]] unsigned int
DBuffer::lastIndexOf(char const* pattern, unsigned int length,
                     unsigned int start) const {
  unsigned int const s = startBackwardsSearch(start, length);
  if (s == 0 || length == 0)
    return 0;
  char const* text = contents();
  if (length == 1) {
    return positionOf(memrchr(text, pattern[0], s), text);
  }
  if (s >= backwardWordsFrom)
    return lastIndexOfByWords(text, s, pattern, length);
  // Candidates begin at 1-based positions 1..s. memrchr finds the last one
  // whose final byte matches; from there a short inline run checks further
  // candidates before memrchr is asked again, so that a frequent final byte
  // does not cost one call per position.
  char const lastByte = pattern[length - 1];
  char const* const lastBytes = text + (length - 1); // of candidate 1
  unsigned int p = s;
  while (p != 0) {
    p = positionOf(memrchr(lastBytes, lastByte, p), lastBytes);
    if (p == 0)
      return 0;
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
    return positionOf(memrchr(contents(), set[0], s), contents());
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
  return scanBackward(bytesOf(*this), s, testedBy(test, true));
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
  return scanBackward(bytesOf(*this), s, testedBy(test, false));
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
