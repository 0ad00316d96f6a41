// Single-byte searches of DBuffer, the predicate DStringTest and buffer
// subString, checked by tables and against a plain reference scan.
#include "dbuffer.hpp"
#include "dstring.hpp"
#include "dtest_support.hpp"

#include <cctype>
#include <cstring>
#include <new>
#include <random>
#include <string>
#include <vector>

using dtest::bytes;

using dtest::len;
using dtest::make;

namespace {

// Records what the predicate was given.
std::vector<int> seen;
int recordAndAccept(int c) {
  seen.push_back(c);
  return c == 'x' || c < 0;
}

// A derived predicate, kind 0: test() is its own.
class IsVowel : public DStringTest {
public:
  int test(int c) const override {
    return c == 'a' || c == 'e' || c == 'i' || c == 'o' || c == 'u';
  }
};

} // namespace

TEST(DBufferSearch, SearchStarts) {
  DString const five("abcde");
  DBuffer const* b = five.buffer();
  struct Case {
    unsigned int start, patternLength, forward, backward;
  };
  Case const cases[] = {
      {0, 1, 1, 0}, {6, 0, 0, 5},           {5, 2, 0, 4}, {4, 2, 4, 4},
      {1, 5, 1, 1}, {1, 6, 0, 0},           {5, 1, 5, 5}, {100, 2, 0, 4},
      {3, 6, 0, 0}, {0xFFFFFFFFu, 1, 0, 5}, {2, 0, 2, 2}, {0, 0, 1, 0},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::Message() << c.start << "," << c.patternLength);
    EXPECT_EQ(c.forward, b->startSearch(c.start, c.patternLength));
    EXPECT_EQ(c.backward, b->startBackwardsSearch(c.start, c.patternLength));
  }
  DString const empty;
  EXPECT_EQ(0u, empty.buffer()->startSearch(1, 0));
  EXPECT_EQ(0u, empty.buffer()->startBackwardsSearch(1, 0));
}

TEST(DBufferSearch, PatternsForwardAndBackward) {
  struct Case {
    std::string text, pattern;
    unsigned int start, first, last;
  };
  std::string const nul("a\0b\0b", 5);
  Case const cases[] = {
      {"abcabc", "bc", 0, 2, 0},
      {"abcabc", "bc", 3, 5, 2},
      {"abcabc", "bc", 100, 0, 5},
      {"abcabc", "bc", 4, 5, 2},
      {"abcabc", "bc", 5, 5, 5},
      {"abcabc", "bc", 6, 0, 5},
      {"abcabc", "abcabc", 1, 1, 1},
      {"abcabc", "abcabcd", 1, 0, 0},
      {"aaaa", "aa", 2, 2, 2},
      {"aaaa", "aa", 4, 0, 3},
      {"aaaa", "aa", 0xFFFFFFFFu, 0, 3},
      {"abcabc", "", 1, 0, 0},
      {"", "a", 1, 0, 0},
      {"", "", 0, 0, 0},
      {"xyz", "z", 3, 3, 3},
      {"xyz", "z", 4, 0, 3},
      {"xyz", "x", 0, 1, 0},
      {"xyz", "yz", 2, 2, 2},
      {"xyz", "yz", 1, 2, 0},
      {nul, std::string("\0b", 2), 1, 2, 0},
      {nul, std::string("\0b", 2), 3, 4, 2},
      {nul, std::string("\0b", 2), 9, 0, 4},
      {"\xE9\xE9\x80", "\xE9\x80", 1, 2, 0},
      {"\xE9\xE9\x80", "\xE9\x80", 9, 0, 2},
      {"ab\xFF", "\xFF", 1, 3, 0},
      {"ab\xFF", "\xFF", 3, 3, 3},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::Message() << '"' << c.text << "\" / \"" << c.pattern
                                    << "\" from " << c.start);
    DString const s = make(c.text);
    EXPECT_EQ(c.first, s.indexOf(c.pattern.data(), len(c.pattern), c.start));
    EXPECT_EQ(c.last, s.lastIndexOf(c.pattern.data(), len(c.pattern), c.start));
  }
}

TEST(DBufferSearch, ByteSets) {
  struct Case {
    std::string text, set;
    unsigned int start, anyOf, anyBut, lastAnyOf, lastAnyBut;
  };
  std::string const nul("a\0b", 3);
  Case const cases[] = {
      {"aab", "a", 0, 1, 3, 0, 0},
      {"aab", "a", 1, 1, 3, 1, 0},
      {"aab", "a", 9, 0, 0, 2, 3},
      {"aab", "ab", 1, 1, 0, 1, 0},
      {"aab", "ba", 0xFFFFFFFFu, 0, 0, 3, 0},
      {"aab", "", 2, 0, 2, 0, 2},
      {"aab", "", 0, 0, 1, 0, 0},
      {"aab", "", 3, 0, 3, 0, 3},
      {"aab", "", 4, 0, 0, 0, 3},
      {"", "a", 1, 0, 0, 0, 0},
      {"", "", 1, 0, 0, 0, 0},
      {"xyzzy", "zq", 1, 3, 1, 0, 1},
      {"xyzzy", "zq", 4, 4, 5, 4, 2},
      {"xyzzy", "xyzq", 5, 5, 0, 5, 0},
      {nul, std::string(1, '\0'), 1, 2, 1, 0, 1},
      {nul, std::string(1, '\0'), 3, 0, 3, 2, 3},
      {nul, std::string("b\0", 2), 1, 2, 1, 0, 1},
      {nul, std::string("b\0", 2), 9, 0, 0, 3, 1},
      {"\x80\xE9q", "\xE9\x80", 1, 1, 3, 1, 0},
      {"\x80\xE9q", "\xE9\x80", 9, 0, 0, 2, 3},
      {"\x80\xE9q", "\xE9", 9, 0, 0, 2, 3},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::Message() << '"' << c.text << "\" / \"" << c.set
                                    << "\" from " << c.start);
    DString const s = make(c.text);
    char const* set = c.set.data();
    unsigned int const n = len(c.set);
    EXPECT_EQ(c.anyOf, s.indexOfAnyOf(set, n, c.start));
    EXPECT_EQ(c.anyBut, s.indexOfAnyBut(set, n, c.start));
    EXPECT_EQ(c.lastAnyOf, s.lastIndexOfAnyOf(set, n, c.start));
    EXPECT_EQ(c.lastAnyBut, s.lastIndexOfAnyBut(set, n, c.start));
  }
}

TEST(DBufferSearch, DefaultStartsCoverTheWholeText) {
  DString const s("abcabc");
  EXPECT_EQ(2u, s.indexOf("bc"));
  EXPECT_EQ(5u, s.lastIndexOf("bc"));
  EXPECT_EQ(3u, s.indexOf('c'));
  EXPECT_EQ(6u, s.lastIndexOf('c'));
  EXPECT_EQ(0u, s.lastIndexOf('c', 0));
  EXPECT_EQ(3u, s.lastIndexOf('c', 5));
  EXPECT_EQ(6u, s.lastIndexOf('c', 7));
  EXPECT_EQ(4u, s.lastIndexOfAnyOf("ab", 4));
  EXPECT_EQ(6u, s.lastIndexOfAnyBut(DString("ab")));
  EXPECT_EQ(3u, s.indexOfAnyBut(DString("ab")));
  EXPECT_EQ(0u, s.indexOf('c', 7));
}

TEST(DBufferSearch, PredicatesGetSignedBytes) {
  seen.clear();
  DStringTest const pred(recordAndAccept);
  DString const s("ab\xE9x");
  EXPECT_EQ(3u, s.indexOfAnyOf(pred));
  EXPECT_EQ((std::vector<int>{'a', 'b', -23}), seen);
  EXPECT_EQ(1, pred.test(-128));
  EXPECT_EQ(0, pred.test('a'));

  struct Case {
    unsigned int start, anyOf, anyBut, lastAnyOf, lastAnyBut;
  };
  Case const cases[] = {
      {0, 3, 1, 0, 0},           {1, 3, 1, 0, 1}, {3, 3, 5, 3, 2},
      {4, 4, 5, 4, 2},           {5, 0, 5, 4, 5}, {6, 0, 0, 4, 5},
      {0xFFFFFFFFu, 0, 0, 4, 5},
  };
  DString const t("ab\xE9xc");
  for (auto const& c : cases) {
    SCOPED_TRACE(c.start);
    EXPECT_EQ(c.anyOf, t.indexOfAnyOf(pred, c.start));
    EXPECT_EQ(c.anyOf, t.indexOf(pred, c.start));
    EXPECT_EQ(c.anyBut, t.indexOfAnyBut(pred, c.start));
    EXPECT_EQ(c.lastAnyOf, t.lastIndexOfAnyOf(pred, c.start));
    EXPECT_EQ(c.lastAnyOf, t.lastIndexOf(pred, c.start));
    EXPECT_EQ(c.lastAnyBut, t.lastIndexOfAnyBut(pred, c.start));
  }
  DString const empty;
  EXPECT_EQ(0u, empty.indexOfAnyBut(pred));
  EXPECT_EQ(0u, empty.lastIndexOfAnyBut(pred));
}

TEST(DBufferSearch, DerivedPredicateOverridesTest) {
  IsVowel const vowel;
  DString const s("xyzzyeq");
  EXPECT_EQ(6u, s.indexOf(vowel));
  EXPECT_EQ(6u, s.lastIndexOf(vowel));
  EXPECT_EQ(1u, s.indexOfAnyBut(vowel, 0));
  EXPECT_EQ(0, vowel.DStringTest::test('a')); // kind 0: the base says no
}

// The plain forms of the predicate searches go through the any-of slots.
class CountingBuffer : public DBuffer {
public:
  explicit CountingBuffer(unsigned int n) : DBuffer(n) {}
  unsigned int indexOfAnyOf(DStringTest const&, unsigned int) const override {
    return 42;
  }
  unsigned int lastIndexOfAnyOf(DStringTest const&,
                                unsigned int) const override {
    return 43;
  }
  unsigned int indexOfAnyOf(char const*, unsigned int,
                            unsigned int) const override {
    return 44;
  }
};

TEST(DBufferSearch, PlainFormsDispatchToTheAnyOfSlots) {
  alignas(DBuffer) unsigned char storage[sizeof(DBuffer) + 8];
  auto* b = new (storage) CountingBuffer(4);
  std::memcpy(b->contents(), "abcd", 4);
  DStringTest const pred(::isalpha);
  EXPECT_EQ(42u, b->indexOf(pred, 1));
  EXPECT_EQ(43u, b->lastIndexOf(pred, 9));
  EXPECT_EQ(44u, b->indexOf("c", 1, 1)); // one-byte patterns too
  EXPECT_EQ(3u, b->indexOf("cd", 2, 1));
  b->~CountingBuffer();
}

TEST(DBufferSearch, SubStringPadsToTheCount) {
  struct Case {
    std::string text;
    unsigned int start, count;
    std::string want;
  };
  Case const cases[] = {
      {"abc", 2, 6, "bc****"},
      {"abc", 9, 2, "**"},
      {"abc", 0, 2, "ab"},
      {"abc", 1, 3, "abc"},
      {"abc", 4, 1, "*"},
      {"abc", 3, 0, ""},
      {"", 1, 2, "**"},
      {std::string("a\0c", 3), 2, 2, std::string("\0c", 2)},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::Message()
                 << c.text << " " << c.start << " " << c.count);
    DString const s = make(c.text);
    DString const sub = s.subString(c.start, c.count, '*');
    EXPECT_EQ(c.want, bytes(sub));
    EXPECT_EQ('\0', static_cast<char const*>(sub)[sub.length()]);
    if (c.count != 0)
      EXPECT_EQ(1u, sub.buffer()->useCount());
    else
      EXPECT_EQ(DBuffer::defaultBuffer(), sub.buffer());
  }
  DString const abc("abc");
  DString rest(abc.buffer()->subString(0));
  EXPECT_EQ("abc", bytes(rest));
  DString tail(abc.buffer()->subString(3));
  EXPECT_EQ("c", bytes(tail));
  DString none(abc.buffer()->subString(4));
  EXPECT_EQ(0u, none.length());
  EXPECT_EQ(DBuffer::defaultBuffer(), none.buffer());
}

// Reference scans written straight from the search rules, one position at
// a time, compared with the library on random texts over a small alphabet
// that includes NUL and bytes above 0x7F.
