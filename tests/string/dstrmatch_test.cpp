// Wildcard matching, abbreviations, binary digits, and reading lines and
// words from streams into DString.
#include "dstring.hpp"
#include "dtest_support.hpp"

#include <climits>
#include <cstring>
#include <cwchar>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <sstream>
#include <string>

using dtest::len;
using dtest::make;

namespace {

using dtest::bytes;

bool like(std::string const& text, std::string const& pattern,
          char anyString = '*', char anyChar = '?') {
  return make(text).isLike(pattern.data(),
                           static_cast<unsigned int>(pattern.size()), anyString,
                           anyChar);
}

//===--- isLike -----------------------------------------------------------===//

struct LikeCase {
  char const* text;
  char const* pattern;
  bool want;
};
LikeCase const likeCases[] = {
    {"abc", "a*c", true},
    {"ac", "a*c", true},
    {"abd", "a*c", false},
    {"ab", "a?", true},
    {"a", "a?", false},
    {"a", "a*", true},
    {"", "*", true},
    {"", "", true},
    {"a", "", false},
    {"", "?", false},
    {"", "a", false},
    {"ABC", "abc", false}, // case counts
    // Backtracking: the anyString has to absorb more than its first try.
    {"aab", "*ab", true},
    {"ababc", "*abc", true},
    {"abxbxc", "a*b*c", true},
    {"abcbc", "a*c", true},
    {"abcbd", "a*c", false},
    {"xaxbyc", "*a*b?c", true},
    {"ab", "*?*?*", true},
    {"a", "*?*?*", false},
    {"mississippi", "*sip*", true},
    {"mississippi", "m*iss*ppi", true},
    {"mississippi", "m*issx*ppi", false},
    {"abcd", "*d*", true},
    {"abcd", "**", true},
    {"abc", "abc*", true},
    {"abc", "abcd*", false},
    {"abcab", "*ab", true},
    {"abcabd", "*ab", false},
    // A pattern equal to the text matches, wildcards and all.
    {"a*?c", "a*?c", true},
    {"\xE9t\xE9", "\xE9*", true},
    {"\xE9t\xE9", "?t\xE8", false},
};

TEST(DStringMatch, Table) {
  for (auto const& c : likeCases) {
    SCOPED_TRACE(std::string(c.text) + " ~ " + c.pattern);
    EXPECT_EQ(c.want, like(c.text, c.pattern));
  }
}

TEST(DStringMatch, DStringOverloadUsesStarAndQuestionMark) {
  EXPECT_TRUE(DString("abc").isLike(DString("a?*")));
  EXPECT_TRUE(DString("abc").isLike(DString("a%"), '%', '_'));
  EXPECT_TRUE(DString("abc").isLike(DString("_b_"), '%', '_'));
  EXPECT_FALSE(DString("abc").isLike(DString("a*"), '%', '_'));
}

TEST(DStringMatch, SameWildcardActsAsAnyString) {
  // With '*' as both wildcards, "a*" must match a run, not one byte.
  EXPECT_TRUE(like("abc", "a*", '*', '*'));
  EXPECT_TRUE(like("abc", "*c", '*', '*'));
}

TEST(DStringMatch, ExplicitLengthsAndNulBytes) {
  std::string const text("a\0c", 3);
  EXPECT_TRUE(like(text, std::string("a\0c", 3)));
  EXPECT_TRUE(like(text, std::string("a?c", 3)));
  EXPECT_TRUE(like(text, std::string("*\0*", 3)));
  EXPECT_FALSE(like(text, std::string("a\0d", 3)));
  // Only patternLength bytes count: "ab" of "abc".
  EXPECT_TRUE(DString("ab").isLike("abc", 2, '*', '?'));
  EXPECT_FALSE(DString("ab").isLike(nullptr, 0, '*', '?'));
  EXPECT_TRUE(DString().isLike(nullptr, 0, '*', '?'));
}

TEST(DStringMatch, ManyWildcardsOnLongTextStayCheap) {
  // Would take exponential time with naive backtracking.
  std::string const text(3000, 'a');
  EXPECT_FALSE(like(text, "*a*a*a*a*a*a*a*a*a*a*b"));
  EXPECT_TRUE(like(text + "b", "*a*a*a*a*a*a*a*a*a*a*b"));
  EXPECT_FALSE(like(text, "*aaaaaaaaaaaaaaaaaaab"));
}

//===--- isAbbrevFor ------------------------------------------------------===//

TEST(DStringAbbrev, Table) {
  struct Case {
    char const* receiver;
    char const* text;
    unsigned int minLength;
    bool want;
  };
  Case const cases[] = {
      {"del", "delete", 3, true},
      {"del", "delete", 4, false},
      {"del", "de", 0, false},
      {"del", "delete", 0, true},
      {"del", "delete", 1, true},
      {"dex", "delete", 0, false},
      {"delete", "delete", 0, true},
      {"", "abc", 0, true},
      {"", "", 0, true},
      {"", "abc", 1, false},
      {"DEL", "delete", 0, false},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(std::string(c.receiver) + " / " + c.text);
    DString const r(c.receiver);
    EXPECT_EQ(c.want,
              r.isAbbrevFor(c.text,
                            static_cast<unsigned int>(std::strlen(c.text)),
                            c.minLength));
    EXPECT_EQ(c.want, r.isAbbrevFor(DString(c.text), c.minLength));
  }
}

TEST(DStringAbbrev, ComparesAllBytesWithinTextLength) {
  DString const r(std::string_view("a\0b", 3));
  EXPECT_TRUE(r.isAbbrevFor("a\0bc", 4, 0));
  EXPECT_FALSE(r.isAbbrevFor("a\0xc", 4, 0));
  EXPECT_FALSE(r.isAbbrevFor("a\0bc", 2, 0)); // shorter than the receiver
  // A null text does not compare equal, even to the empty receiver.
  EXPECT_FALSE(DString().isAbbrevFor(nullptr, 0, 0));
}

//===--- isBinaryDigits ---------------------------------------------------===//

TEST(DStringBinaryDigits, Table) {
  struct Case {
    std::string text;
    bool want;
  };
  Case const cases[] = {
      {"", false},
      {"0101", true},
      {"012", false},
      {"\xA0", true},
      {"0\x80\x31\xFF", true},
      {"2", false},
      {"/", false},
      {" 1", false},
      {"\x7F", false},
      {std::string("0\0", 2), false},
      {"1", true},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(c.want, make(c.text).isBinaryDigits());
  }
}

//===--- lineFrom ---------------------------------------------------------===//

std::string rest(std::istream& in) {
  in.clear();
  return std::string(std::istreambuf_iterator<char>(in), {});
}

TEST(DStringLineFrom, LinesOfEveryLength) {
  // Lengths around the 128-blank start and its doublings.
  for (std::size_t n :
       {0u, 1u, 127u, 128u, 129u, 255u, 256u, 257u, 300u, 1000u}) {
    SCOPED_TRACE(n);
    std::string line;
    for (std::size_t i = 0; i < n; ++i)
      line += static_cast<char>('a' + i % 26);
    std::istringstream in(line + "\ndef");
    DString const got = DString::lineFrom(in);
    EXPECT_EQ(line, bytes(got));
    EXPECT_EQ('\0', static_cast<char const*>(got)[got.length()]);
    if (n != 0) {
      EXPECT_EQ(1u, got.buffer()->useCount());
    }
    EXPECT_EQ("def", rest(in));
  }
}

TEST(DStringLineFrom, KeepsWhiteSpaceAndOddBytes) {
  std::istringstream in(std::string("  a\tb \0\xE9\n", 9));
  EXPECT_EQ(std::string("  a\tb \0\xE9", 8), bytes(DString::lineFrom(in)));
}

TEST(DStringLineFrom, OwnDelimiterIsConsumed) {
  std::istringstream in("ab;cd\n;ef");
  EXPECT_EQ("ab", bytes(DString::lineFrom(in, ';')));
  EXPECT_EQ("cd\n", bytes(DString::lineFrom(in, ';')));
  EXPECT_EQ("ef", bytes(DString::lineFrom(in, ';')));
  EXPECT_TRUE(in.eof());
}

TEST(DStringLineFrom, EndOfStreamAndFailedStream) {
  std::istringstream unterminated("abc");
  EXPECT_EQ("abc", bytes(DString::lineFrom(unterminated)));
  EXPECT_TRUE(unterminated.eof());

  std::istringstream empty("");
  EXPECT_EQ(0u, DString::lineFrom(empty).length());
  EXPECT_TRUE(empty.fail());

  std::istringstream failed("abc\n");
  failed.setstate(std::ios_base::failbit);
  EXPECT_EQ(0u, DString::lineFrom(failed).length());
  EXPECT_EQ("abc\n", rest(failed)); // nothing was consumed
}

//===--- operator>> -------------------------------------------------------===//

TEST(DStringExtract, WordLeavesWhiteSpaceBehind) {
  std::istringstream in("  hello world");
  DString word;
  in >> word;
  EXPECT_EQ("hello", bytes(word));
  EXPECT_EQ('\0', static_cast<char const*>(word)[word.length()]);
  EXPECT_EQ(" world", rest(in));
}

TEST(DStringExtract, WidthLeavesRoomForATerminator) {
  struct Case {
    std::streamsize width;
    char const* want;
    char const* left;
  };
  Case const cases[] = {
      {3, "he", "llo world"}, {1, "", "hello world"}, {0, "hello", " world"},
      {6, "hello", " world"}, {7, "hello", " world"}, {-5, "hello", " world"},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.width);
    std::istringstream in("  hello world");
    DString word("previous");
    in.width(c.width);
    in >> word;
    EXPECT_EQ(c.want, bytes(word));
    EXPECT_EQ(0, in.width());
    EXPECT_FALSE(in.fail());
    EXPECT_EQ(c.left, rest(in));
  }
}

TEST(DStringExtract, LongWordsAndSmallWorkAreas) {
  for (std::size_t n : {1u, 128u, 129u, 257u, 600u}) {
    SCOPED_TRACE(n);
    std::string const text(n, 'w');
    for (char const* start : {"", "x", "0123456789"}) {
      std::istringstream in("\t" + text + "\n");
      DString word(start);
      in >> word;
      EXPECT_EQ(text, bytes(word));
      EXPECT_EQ("\n", rest(in));
    }
  }
}

TEST(DStringExtract, SharedTargetIsCopiedNotOverwritten) {
  DString target("0123456789");
  DString const other(target);
  std::istringstream in("ab cd");
  in >> target;
  EXPECT_EQ("ab", bytes(target));
  EXPECT_EQ("0123456789", bytes(other));
}

TEST(DStringExtract, ConsecutiveWordsAndEndOfStream) {
  std::istringstream in(" one\ttwo\nthree");
  DString a, b, c, d("stale");
  in >> a >> b >> c;
  EXPECT_EQ("one", bytes(a));
  EXPECT_EQ("two", bytes(b));
  EXPECT_EQ("three", bytes(c));
  EXPECT_TRUE(in.eof());
  EXPECT_FALSE(in.fail());
  in >> d;
  EXPECT_TRUE(in.fail());
  EXPECT_EQ(0u, d.length());
}

TEST(DStringExtract, FailedSentryEmptiesTarget) {
  std::istringstream blanks("   ");
  DString word("stale");
  blanks >> word;
  EXPECT_TRUE(blanks.fail());
  EXPECT_EQ(0u, word.length());

  std::istringstream failed("abc");
  failed.setstate(std::ios_base::failbit);
  DString other("stale");
  failed >> other;
  EXPECT_EQ(0u, other.length());
  EXPECT_EQ("abc", rest(failed));
}

TEST(DStringExtract, NoSkipWsStopsAtLeadingBlank) {
  std::istringstream in("  word");
  in >> std::noskipws;
  DString word("stale");
  in >> word;
  EXPECT_EQ(0u, word.length());
  EXPECT_FALSE(in.fail());
  EXPECT_EQ("  word", rest(in));
}

// The bytes read are stored exactly, also when they end in the lead byte
// of a character that a reused target's old text completes (the cut at the
// end of the word must not treat them as a cut character).
TEST(MbStreamInput, WordsAndLinesKeepTheirBytes) {
  char ch[MB_LEN_MAX];
  std::mbstate_t state{};
  std::size_t const l = std::wcrtomb(ch, L'\u3042', &state); // HIRAGANA A
  if (MB_CUR_MAX < 2 || l == static_cast<std::size_t>(-1) || l < 2)
    GTEST_SKIP() << "no multibyte HIRAGANA A here";
  std::string const a(ch, l);
  std::string const lead = a.substr(0, 1);
  struct Case {
    std::string target, input, word;
  };
  Case const cases[] = {
      {a, lead + " rest", lead},
      {"x" + a, "x" + lead + "\n", "x" + lead},
      {a + a, a + lead + "\t", a + lead},
      {a, a.substr(0, l - 1) + " ", a.substr(0, l - 1)},
      {"", lead + " ", lead},
      {std::string(200, 'z') + a, std::string(130, 'y') + lead + " ",
       std::string(130, 'y') + lead},
  };
  for (int flag : {0, 1}) {
    dtest::I18NState const strategy(flag);
    for (auto const& c : cases) {
      SCOPED_TRACE("flag " + std::to_string(flag) + " input " + c.input);
      std::istringstream in(c.input);
      DString target = make(c.target);
      in >> target;
      EXPECT_EQ(c.word, bytes(target));
      std::istringstream line(c.word + "\n" + c.input);
      EXPECT_EQ(c.word, bytes(DString::lineFrom(line)));
      // Doubling the work area puts blanks behind the bytes read.
      std::string const longLine = std::string(127, 'q') + c.word;
      std::istringstream longIn(longLine + "\n");
      EXPECT_EQ(longLine, bytes(DString::lineFrom(longIn)));
    }
  }
}

TEST(DStringExtract, HighBytesAreWordBytes) {
  std::istringstream in("\xE9t\xE9\xA0x y");
  DString word;
  in >> word;
  EXPECT_EQ("\xE9t\xE9\xA0x", bytes(word));
}

} // namespace
