// DString's own searches: subString with a count, the one-byte forms and
// the occurrence counts (fuzz_sbcs checks subString's start-0 asymmetry
// between the two fgI18NState values against its model).
#include "dstring.hpp"
#include "dtest_support.hpp"

#include <cctype>
#include <string>

using dtest::bytes;

TEST(DStringSearch, SubStringWithCount) {
  DString const abc("abc");
  EXPECT_EQ("bc****", bytes(abc.subString(2, 6, '*')));
  EXPECT_EQ("**", bytes(abc.subString(9, 2, '*')));
  EXPECT_EQ("ab", bytes(abc.subString(0, 2)));
  EXPECT_EQ("c  ", bytes(abc.subString(3, 3)));
  DString const none = abc.subString(2, 0);
  EXPECT_EQ(DBuffer::defaultBuffer(), none.buffer());
  // A text with NULs is cut by length, not by terminator.
  DString const nul("a\0b\0", 4);
  EXPECT_EQ(std::string("\0b", 2), bytes(nul.subString(2, 2)));
}

TEST(DStringSearch, OneByteForms) {
  DString const s("a\0b\xE9"
                  "b",
                  5);
  struct Case {
    char c;
    unsigned int start, first, last;
  };
  Case const cases[] = {
      {'b', 1, 3, 0},  {'b', 0, 3, 0},           {'b', 4, 5, 3},
      {'b', 6, 0, 5},  {'b', 0xFFFFFFFFu, 0, 5}, {'\0', 1, 2, 0},
      {'\0', 9, 0, 2}, {'\xE9', 1, 4, 0},        {'\xE9', 4, 4, 4},
      {'z', 1, 0, 0},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::Message() << int(c.c) << " from " << c.start);
    EXPECT_EQ(c.first, s.indexOf(c.c, c.start));
    EXPECT_EQ(c.last, s.lastIndexOf(c.c, c.start));
  }
  EXPECT_EQ(3u, s.indexOf('b'));
  EXPECT_EQ(5u, s.lastIndexOf('b'));
}

TEST(DStringSearch, OccurrencesDoNotOverlap) {
  struct Case {
    std::string text, pattern;
    unsigned int start, want;
  };
  Case const cases[] = {
      {"abcabc", "bc", 1, 2},
      {"abcabc", "bc", 3, 1},
      {"abcabc", "bc", 0, 2},
      {"aaaa", "aa", 1, 2},
      {"aaaaa", "aa", 2, 2},
      {"aaaa", "", 1, 0},
      {"aaaa", "a", 1, 4},
      {"aaaa", "a", 5, 0},
      {"", "a", 1, 0},
      {std::string("\0\0\0", 3), std::string(1, '\0'), 1, 3},
      {"\xE9x\xE9", "\xE9", 2, 1},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.text + " / " + c.pattern);
    DString const s(c.text.data(), static_cast<unsigned int>(c.text.size()));
    EXPECT_EQ(c.want,
              s.occurrencesOf(c.pattern.data(),
                              static_cast<unsigned int>(c.pattern.size()),
                              c.start));
    if (c.pattern.size() == 1) {
      EXPECT_EQ(c.want, s.occurrencesOf(c.pattern[0], c.start));
    }
  }
  DString const abc("abcabc");
  EXPECT_EQ(2u, abc.occurrencesOf("bc"));
  EXPECT_EQ(2u, abc.occurrencesOf(DString("bc")));
}

TEST(DStringSearch, OccurrencesOfAPredicateCountBytes) {
  DStringTest const digit(::isdigit);
  DString const s("a1b22c333");
  EXPECT_EQ(6u, s.occurrencesOf(digit));
  EXPECT_EQ(5u, s.occurrencesOf(digit, 4));
  EXPECT_EQ(1u, s.occurrencesOf(digit, 9));
  EXPECT_EQ(0u, s.occurrencesOf(digit, 10));
  EXPECT_EQ(0u, DString().occurrencesOf(digit));
}
