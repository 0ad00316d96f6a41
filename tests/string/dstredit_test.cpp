// The quirks and boundaries of the single-byte operations that generated
// inputs rarely reach, one row each (fuzz_sbcs and fuzz_radix check the
// operations against the models on generated inputs). Every row runs on a
// handle holding its buffer alone and on one sharing it, in both values of
// fgI18NState; the checker verifies the answer, the NUL behind the text,
// which buffer the handle ends up with, the counts, and that the sharing
// handle kept its text. Then the calling protocol of the editing members,
// seen through a buffer class of its own, and the index errors.
#include "dstring.hpp"
#include "dtest_support.hpp"

#include <cctype>
#include <cstring>
#include <functional>
#include <new>
#include <sstream>

using dtest::bytes;
using dtest::make;
using std::string;
using D = DString;

namespace {

using Op = std::function<string(D&)>;
/// The buffer the handle ends up with: its own in any case, its own only
/// when it held it alone (edited in place), a new one, or either.
enum Back { same, inPlace, fresh, any };
struct Row {
  string source;
  Op op;
  string want;
  Back back = same;
  int state = -1; // the one fgI18NState value the row holds for, or both
};

/// An edit of the handle; answers its text.
template <class F>
Op E(F f) {
  return [f](D& s) { return (f(s), bytes(s)); };
}
/// A number or truth answered; a DString answered.
template <class F>
Op Q(F f) {
  return [f](D& s) { return std::to_string(f(s)); };
}
template <class F>
Op T(F f) {
  return [f](D& s) { return bytes(f(s)); };
}
/// A buffer slot called straight: the result carries one reference for
/// the caller, the receiver's count is raised when it comes back.
template <class F>
Op B(F f) {
  return [f](D& s) {
    DBuffer* const b = s.buffer();
    unsigned int const count = b->useCount();
    DBuffer* const r = f(b);
    if (r == b) {
      EXPECT_EQ(count + 1, r->useCount());
    } else if (r->length() != 0) {
      EXPECT_EQ(1u, r->useCount());
    }
    s = D(r);
    return bytes(s);
  };
}

void check(std::vector<Row> const& rows) {
  for (std::size_t i = 0; i < rows.size(); ++i) {
    Row const& r = rows[i];
    for (int state : {0, 1}) {
      if (r.state >= 0 && r.state != state)
        continue;
      dtest::I18NState const flag(state);
      for (bool shared : {false, true}) {
        SCOPED_TRACE(testing::Message()
                     << "row " << i << " on "
                     << testing::PrintToString(r.source.substr(0, 12))
                     << " i18n " << state << " shared " << shared);
        D s = make(r.source), other;
        if (shared)
          other = s;
        DBuffer* const before = s.buffer();
        EXPECT_EQ(r.want, r.op(s));
        EXPECT_EQ('\0', static_cast<char const*>(s)[s.length()]);
        bool const kept =
            r.back == any ? s.buffer() == before
                          : r.back == same || (r.back == inPlace && !shared);
        EXPECT_EQ(kept, s.buffer() == before);
        if (s.length() != 0) {
          EXPECT_EQ(kept && shared ? 2u : 1u, s.buffer()->useCount());
        }
        if (shared) {
          EXPECT_EQ(r.source, bytes(other));
        }
        if (shared && !r.source.empty()) {
          EXPECT_EQ(kept ? 2u : 1u, before->useCount());
        }
      }
    }
  }
}

string const nul3("a\0B", 3), all8(8, '\xFF');
unsigned int const all = 0xFFFFFFFFu;

int isVowel(int c) {
  return std::strchr("aeiou", c) != nullptr && c != 0;
}
// A derived predicate: its own test() replaces the function.
class Vowel : public DStringTest {
public:
  int test(int c) const override { return isVowel(c); }
};

} // namespace

TEST(DBufferEdit, SlotsInPlaceOrNew) {
  DStringTest const space(::isspace);
  auto const L = DStringEnum::leading, T = DStringEnum::trailing,
             Both = DStringEnum::both;
  check({
      {"aZ09\xE0\xE9z", B([](DBuffer* b) { return b->upperCase(); }),
       "AZ09\xE0\xE9Z", inPlace},
      {"ABC 12", B([](DBuffer* b) { return b->upperCase(); }), "ABC 12"},
      {"Az\xC0Z", B([](DBuffer* b) { return b->lowerCase(); }), "az\xC0z",
       inPlace},
      {"@[`{", B([](DBuffer* b) { return b->lowerCase(); }), "@[`{"},
      {"abab",
       B([](DBuffer* b) { return b->translate("aa", 2, "12", 2, '*'); }),
       "1b1b", inPlace}, // the first one wins
      {"abcd", B([](DBuffer* b) { return b->translate("ab", 2, "X", 1, '*'); }),
       "X*cd", inPlace},
      {"abcd", B([](DBuffer* b) { return b->translate("xy", 2, "X", 1, '*'); }),
       "abcd"},
      {"abcd", B([](DBuffer* b) { return b->translate("", 0, "X", 1, '*'); }),
       "abcd"},
      // The tables may point into the very text edited.
      {"abcba", B([](DBuffer* b) {
         return b->translate(b->contents(), 2, b->contents() + 1, 2, '*');
       }),
       "bcccb", inPlace},
      {"xxabxx", B([L](DBuffer* b) { return b->strip("x", 1, L); }), "abxx",
       fresh},
      {"xxabxx", B([T](DBuffer* b) { return b->strip("x", 1, T); }), "xxab",
       fresh},
      {"xxabxx", B([](DBuffer* b) {
         return b->strip("x", 1, static_cast<DStringEnum::StripMode>(7));
       }),
       "ab", fresh},
      {"ab", B([Both](DBuffer* b) { return b->strip("x", 1, Both); }), "ab"},
      {"xyx", B([L](DBuffer* b) { return b->strip("yx", 2, L); }), "", fresh},
      {"  x\t", B([&](DBuffer* b) { return b->strip(space, L); }), "x\t",
       fresh},
      {"  x\t", B([&](DBuffer* b) { return b->strip(space, T); }), "  x",
       fresh},
      {" \t ", B([&](DBuffer* b) { return b->strip(space, T); }), "", fresh},
      {"x", B([&](DBuffer* b) { return b->strip(space, Both); }), "x"},
      {"aa", B([](DBuffer* b) { return b->reverse(); }), "aa", inPlace},
      {"a", B([](DBuffer* b) { return b->reverse(); }), "a"},
      {"abcd", B([](DBuffer* b) { return b->overlayWith("XY", 2, 0, '.'); }),
       "XYcd", fresh},
      {"abcd", B([](DBuffer* b) { return b->overlayWith("XY", 2, 6, '.'); }),
       "abcd.XY", fresh},
      {"abcd", B([](DBuffer* b) { return b->overlayWith("", 0, 2, '.'); }),
       "abcd"},
      {"abcd", B([](DBuffer* b) { return b->overlayWith("", 0, 5, '.'); }),
       "abcd", fresh},
      {"abcd", B([](DBuffer* b) { return b->overlayWith("", 0, 7, '.'); }),
       "abcd..", fresh},
      {"abc", B([](DBuffer* b) { return b->insert("XY", 2, 5, '.'); }),
       "abc..XY", fresh},
      {"abc", B([](DBuffer* b) { return b->insert("", 0, 2, '.'); }), "abc"},
      {"abc", B([](DBuffer* b) { return b->insert("", 0, 5, '.'); }), "abc..",
       fresh},
      {"abcdef", B([](DBuffer* b) { return b->remove(3, all); }), "ab", fresh},
      {"abcdef", B([](DBuffer* b) { return b->remove(7, 1); }), "abcdef"},
      {"abcdef", B([](DBuffer* b) { return b->remove(2, 0); }), "abcdef",
       fresh},
      {"abc", B([](DBuffer* b) { return b->leftJustify(3, '.'); }), "abc"},
      {"abc", B([](DBuffer* b) { return b->leftJustify(0, '.'); }), "", fresh},
      {"abc", B([](DBuffer* b) { return b->rightJustify(3, '.'); }), "abc"},
      {"abc", B([](DBuffer* b) { return b->rightJustify(2, '.'); }), "bc",
       fresh},
      {"abcde", B([](DBuffer* b) { return b->center(5, '.'); }), "abcde"},
      {"abcdef", B([](DBuffer* b) { return b->center(3, '.'); }), "bcd", fresh},
      {"", B([](DBuffer* b) { return b->center(3, '.'); }), "...", fresh},
      {"ab", B([](DBuffer* b) { return b->copy(1); }), "ab"},
      {"ab", B([](DBuffer* b) { return b->copy(0); }), "", fresh},
      {"", B([](DBuffer* b) { return b->copy(5); }), ""},
      {"aaaaa",
       B([](DBuffer* b) { return b->change("aa", 2, "bb", 2, 2, all); }),
       "abbbb", inPlace}, // same length: in place when unshared
      {"a\xE9\xE9",
       B([](DBuffer* b) { return b->change("\xE9", 1, "e", 1, 1, 9); }), "aee",
       inPlace},
      {"aaaaa", B([](DBuffer* b) { return b->change("aa", 2, "b", 1, 1, 2); }),
       "bba", fresh},
      {"aaaaa", B([](DBuffer* b) { return b->change("aa", 2, "b", 1, 1, 0); }),
       "aaaaa"},
      {"aaaaa", B([](DBuffer* b) { return b->change("", 0, "b", 1, 1, 9); }),
       "aaaaa"},
      {"abc", B([](DBuffer* b) { return b->change("b", 1, "B", 1, 9, all); }),
       "abc"},
      // The replacement may be part of the text ("cb" at position 3).
      {"abcb", B([](DBuffer* b) {
         return b->change("bc", 2, b->contents() + 2, 2, 1, 9);
       }),
       "acbb", inPlace},
      // Many matches: a small length difference times the matches.
      {string(140001, 'a'),
       B([](DBuffer* b) { return b->change("aa", 2, "b", 1, 1, all); }),
       string(70000, 'b') + "a", fresh},
      {"abc", B([](DBuffer* b) { return b->subString(0); }), "abc", fresh},
      {"abc", B([](DBuffer* b) { return b->subString(4); }), "", fresh},
  });
  D const five("abcde");
  DBuffer const* b = five.buffer();
  // start, pattern length: forward and backward search starts.
  unsigned int const starts[][4] = {
      {0, 1, 1, 0}, {6, 0, 0, 5}, {5, 2, 0, 4},   {4, 2, 4, 4}, {1, 6, 0, 0},
      {5, 1, 5, 5}, {3, 6, 0, 0}, {all, 1, 0, 5}, {2, 0, 2, 2}, {0, 0, 1, 0}};
  for (auto const& c : starts) {
    EXPECT_EQ(c[2], b->startSearch(c[0], c[1])) << c[0] << " " << c[1];
    EXPECT_EQ(c[3], b->startBackwardsSearch(c[0], c[1])) << c[0] << " " << c[1];
  }
  EXPECT_EQ(0u, D().buffer()->startSearch(1, 0));
  EXPECT_EQ(0u, D().buffer()->startBackwardsSearch(1, 0));
  for (D const& s : {D(), D("\xE9\xE9")}) {
    DBuffer const* sb = s.buffer();
    EXPECT_TRUE(sb->isSBCS() && !sb->isMBCS() && !sb->isDBCS());
    EXPECT_TRUE(sb->isValidMBCS() && sb->isValidDBCS() && sb->includesSBCS());
    EXPECT_FALSE(sb->includesMBCS() || sb->includesDBCS());
  }
}

TEST(DStringEdit, MembersOfTheHandle) {
  DStringTest const digit(::isdigit);
  char const* const none = nullptr;
  check({
      // The direct members edit in place, the guarded ones never do.
      {"abc", E([](D& s) { s.upperCase(); }), "ABC", inPlace},
      {"abc", E([](D& s) { s.translate(D("ab"), D("x")); }), "x c", inPlace},
      {"ABC", E([](D& s) { s.lowerCase(); }), "abc", fresh},
      {"abc", E([](D& s) { s.reverse(); }), "cba", fresh},
      {"abc", E([](D& s) { s.change(D("b"), D("B")); }), "aBc", fresh},
      {"abc", E([](D& s) { s.lowerCase(); }), "abc"},
      {"abc", E([](D& s) { s.center(3); }), "abc"},
      {"abc", E([](D& s) { s.rightJustify(3); }), "abc"},
      {"abcdef", E([](D& s) { s.remove(2, 0); }), "abcdef"},
      {"abcdef", E([](D& s) { s.remove(7, 1); }), "abcdef"},
      {"abcdef", E([](D& s) { s.remove(3); }), "ab", fresh},
      {"", E([](D& s) { s.remove(0, 5); }), ""},
      {"abc", E([](D& s) { s.strip(); }), "abc"},
      {" \v a b \f\n\r", E([](D& s) { s.strip(); }), "a b", fresh},
      {" \t ", E([](D& s) { s.strip(); }), "", fresh},
      {string(" \0 ", 3), E([](D& s) { s.strip(); }), string(1, '\0'), fresh},
      // Default arguments.
      {"abc", E([](D& s) { s.rightJustify(5).leftJustify(7).center(9); }),
       "   abc   ", fresh},
      {"abab", E([](D& s) { s.change(D("ab"), D("x")); }), "xx", fresh},
      {"abc", E([](D& s) { s.insert(D("X")).overlayWith(D("YZ")); }), "YZbc",
       fresh},
      {"YZbc", E([](D& s) { s.strip(D("Yc")).translate("Z", 1, "", 0); }), " b",
       fresh},
      // The static forms edit a copy.
      {"abcabc", T([](D& s) { return D::upperCase(s); }), "ABCABC"},
      {"abcabc", T([](D& s) { return D::remove(s, 4, 3); }), "abc"},
      {"abcabc", T([](D& s) { return D::center(s, 9, '-'); }), "-abcabc--"},
      {"abcabc", T([](D& s) { return D::change(s, "bc", "X", 3); }), "abcaX"},
      {"abcabc", T([](D& s) { return D::change(s, "bc", "X", 1, 1); }),
       "aXabc"},
      {"abcabc", T([](D& s) { return D::change(s, "bc", nullptr); }), "aa"},
      {"abcabc", T([](D& s) { return D::change(s, nullptr, "X"); }), "abcabc"},
      {string("abc\0d", 5),
       T([](D& s) { return D::change(s, D(string("c\0", 2)), D("-")); }),
       "ab-d"},
      // Concatenation: an empty piece keeps the buffer; the text appended
      // may lie inside the handle's own text, behind a NUL too.
      {"abc", E([none](D& s) { s += none, s += "", s += D(); }), "abc"},
      {"ab", T([none](D& s) { return s + none; }), "ab"},
      {"ab", T([none](D& s) { return none + s; }), "ab"},
      {"xy", E([](D& s) { s += s; }), "xyxy", fresh},
      {"abcd", E([](D& s) { s += static_cast<char const*>(s) + 1; }), "abcdbcd",
       fresh},
      {string("ab\0cd", 5),
       E([](D& s) { s += static_cast<char const*>(s) + 3; }),
       string("ab\0cdcd", 7), fresh},
      // Bit operators: the mask repeats from its first byte; an empty one
      // changes nothing; the mask may be the text itself.
      {"abcdefghij",
       E([](D& s) { s.applyBitOp("\x01\x02\x03", 3, D::bitXor); }),
       "```egefjjk", inPlace},
      {"abc",
       E([](D& s) { s.applyBitOp("x", 1, static_cast<D::BitOperator>(3)); }),
       "abc", inPlace},
      {"abc", E([none](D& s) { s &= "", s |= none, s ^= D(), s ^= ""; }),
       "abc"},
      {"abcd", E([](D& s) { s ^= s; }), string(4, '\0'), any},
      {"abcd", E([](D& s) { s ^= static_cast<char const*>(s) + 1; }),
       "\x03\x01\x07\x06", any},
      {"abcd", E([](D& s) { s &= D(string("\xFF\0", 2)); }),
       string("a\0c\0", 4), any},
      {"abc", T([](D&) { return "ab" ^ D("\x01\x01\x01"); }), "`c"},
      {"abc", T([](D&) { return "abc" & D(); }), "abc"},
      {"abc", Q([none](D&) { return (none ^ D("\x01")).length(); }), "0"},
      // Indexing: 0 and 1 name the first byte; const access never copies.
      {"abc", E([](D& s) { s[2] = 'B'; }), "aBc", inPlace},
      {"xyz", Q([](D& s) { return &s[0u] == &s[1u] && &s[0] == &s[1]; }), "1",
       inPlace},
      {"xyz", Q([](D& s) {
         D const& c = s;
         return (&c[0u] == &c[1]) * 100 + c[3] + (c[3u] == 'z');
       }),
       "223"},
      // Searches: the one-byte and DString forms and their default starts.
      {"abcabc",
       Q([](D& s) { return s.indexOf("bc") * 10 + s.lastIndexOf("bc"); }),
       "25"},
      {"abcabc",
       Q([](D& s) { return s.indexOf('c') * 10 + s.lastIndexOf('c'); }), "36"},
      {"abcabc", Q([](D& s) {
         return s.lastIndexOf('c', 0) * 10 + s.lastIndexOf('c', 5);
       }),
       "3"},
      {"abcabc",
       Q([](D& s) { return s.indexOf('c', 7) + s.lastIndexOf('c', 7); }), "6"},
      {string("a\0b\xE9", 4), Q([](D& s) {
         return s.indexOf('\0', 0) * 10 + s.lastIndexOf('\xE9', all);
       }),
       "24"},
      {"abcabc", Q([](D& s) {
         return s.lastIndexOfAnyOf("ab", 4) * 100 +
                s.lastIndexOfAnyBut(D("ab")) * 10 + s.indexOfAnyBut(D("ab"));
       }),
       "463"},
      {"xyzzyeq", Q([](D& s) {
         Vowel const v;
         return s.indexOf(v) * 100 + s.lastIndexOf(v) * 10 +
                s.indexOfAnyBut(v, 0) + v.DStringTest::test('a');
       }),
       "661"},
      {"aaaaa", Q([](D& s) { return s.occurrencesOf('a', 2); }), "4"},
      {"abcabc", Q([](D& s) { return s.occurrencesOf(D("bc")); }), "2"},
      {"a1b22c333", Q([&digit](D& s) {
         return s.occurrencesOf(digit) * 10 + s.occurrencesOf(digit, 9);
       }),
       "61"},
      {"", Q([&digit](D& s) { return s.lastIndexOfAnyBut(digit); }), "0"},
      // subString: pad to the count; start 0 takes a blank on the length
      // unless internationalisation is on; a count of 0 is the empty one.
      {"abc", T([](D& s) { return s.subString(3, 3); }), "c  "},
      {"abc", T([](D& s) { return s.subString(9, 2, '*'); }), "**"},
      {"abc", T([](D& s) { return s.subString(0); }), "abc ", same, 0},
      {"abc", T([](D& s) { return s.subString(0); }), "abc", same, 1},
      {"abc", Q([](D& s) {
         return s.subString(2, 0).buffer() == DBuffer::defaultBuffer();
       }),
       "1"},
      // isLike and isAbbrevFor beyond the generated patterns.
      {"abc", Q([](D& s) {
         return s.isLike(D("a?*")) && s.isLike(D("a%"), '%', '_');
       }),
       "1"},
      {"abc", Q([](D& s) {
         return s.isLike(D("_b_"), '%', '_') + s.isLike(D("a*"), '%', '_');
       }),
       "1"},
      {"abc", Q([](D& s) { return s.isLike("a*", 2, '*', '*'); }), "1"},
      {"ab", Q([](D& s) {
         return s.isLike("abc", 2, '*', '?') * 10 +
                s.isLike(nullptr, 0, '*', '?');
       }),
       "10"},
      {"", Q([](D& s) {
         return s.isLike(nullptr, 0, '*', '?') * 10 +
                s.isAbbrevFor(nullptr, 0, 0);
       }),
       "10"},
      {string(3000, 'a'),
       Q([](D& s) { return s.isLike("*a*a*a*a*a*a*a*a*a*a*b", 22, '*', '?'); }),
       "0"},
      {"del", Q([](D& s) {
         return s.isAbbrevFor(D("delete"), 3) * 10 +
                s.isAbbrevFor(D("delete"), 4);
       }),
       "10"},
  });
}

TEST(DStringEdit, WordsAndRadix) {
  string const tt = "\n a  b\tc d \r\n";
  check({
      {string("a\0b c", 5), Q([](D& s) { return s.numWords(); }), "2"},
      {"ab cd ef", Q([](D& s) { return s.indexOfWord(3, 3, 1); }), "7"},
      {"ab cd", Q([](D& s) { return s.indexOfWord(2, 2, 0); }), "4"},
      {"ab cd", Q([](D& s) { return s.indexOfWord(1, 1, 5); }), "0"},
      {"ab cd", Q([](D& s) {
         return s.indexOfWord(3, 1, 1) * 10 + s.indexOfWord(2, 1, 1);
       }),
       "41"},
      {"ab cd",
       Q([](D& s) { return s.indexOfWord(1, 0, 0) + s.indexOfWord(1, 6, 0); }),
       "0"},
      {"ab",
       Q([](D& s) { return s.lengthOfWord(0) * 10 + s.lengthOfWord(all); }),
       "0"},
      {"a  bb", T([](D& s) { return s.word(0); }), "a"},
      {tt, T([](D& s) { return s.words(2, 0xFFFFFFFEu); }), "b\tc d"},
      {tt, T([](D& s) { return s.words(3, all); }), "c d"}, // held at the max
      {tt, T([](D& s) { return s.words(all, all); }), ""},
      // firstWord + numWords wraps to 1, below firstWord, and to 0.
      {"a b c", E([](D& s) { s.removeWords(2, all); }), "a ", fresh},
      {"a b c", E([](D& s) { s.removeWords(3, 0xFFFFFFFEu); }), "a b ", fresh},
      {"a b c", E([](D& s) { s.removeWords(2, 0xFFFFFFFEu); }), "a ", fresh},
      {"a b c", E([](D& s) { s.removeWords(9, 1); }), "a b c"},
      // space: always a new buffer, any pad byte.
      {"abc", E([](D& s) { s.space(1, ' '); }), "abc", fresh},
      {"ab cd", E([](D& s) { s.space(3, '\0'); }), string("ab\0\0\0cd", 7),
       fresh},
      {"x y", E([](D& s) { s.space(2, '\xE9'); }), "x\xE9\xE9y", fresh},
      {" \t ", E([](D& s) { s.space(1, ' '); }), "", fresh},
      // findPhrase: any non-zero index type answers words; no wrap.
      {"a b", Q([](D& s) {
         return s.findPhrase(D("b"), 1, static_cast<D::IndexType>(7));
       }),
       "2"},
      {" q r ", Q([](D& s) { return s.findPhrase(s, 1, D::charIndex); }), "2"},
      {"a b", Q([](D& s) { return s.findPhrase(D("a"), all, D::wordIndex); }),
       "0"},
      {"a b", Q([](D& s) { return s.findPhrase(D(""), all, D::wordIndex); }),
       "0"},
      {"a b", Q([](D& s) { return s.findPhrase(D(""), 3, D::charIndex); }),
       "0"},
      // Radix: values, the zero padding of c2d, the null text of invalid
      // input, and the address chain of the debug descriptions.
      {"1234567890123456789012345678901234567890", E([](D& s) { s.d2c(); }),
       "\x03\xA0\xC9\x20\x75\xC0\xDB\xF3\xB8\xAC\xBC\x5F\x96\xCE\x3F\x0A\xD2",
       fresh},
      {"18446744073709551616", E([](D& s) { s.d2c(); }),
       string("\x01\0\0\0\0\0\0\0\0", 9), fresh},
      {all8, E([](D& s) { s.c2d(); }), "18446744073709551615", fresh},
      {string(5, '\0'), E([](D& s) { s.c2d(); }), "0000", fresh},
      {string("\0\0\0\0\0\x07", 6), E([](D& s) { s.c2d(); }), "7", fresh},
      {"1\x80\xA0"
       "1",
       E([](D& s) { s.b2c(); }), "\x09", fresh},
      {"12x", Q([](D& s) { return s.d2c().buffer() == D(D::null).buffer(); }),
       "1", fresh},
      {"", E([](D& s) { s.x2c().c2x().b2c().c2b().d2c().c2d(); }), ""},
      {"0", E([](D& s) { s.d2c().c2x(); }), "00", any},
      {"15", E([](D& s) { s.d2c().c2x(); }), "0F", any},
      {"5884561079630", E([](D& s) { s.d2c().c2x(); }), "055A1B2C3D4E", any},
      // The one-step members: flag 0 widens on every step, flag 1 only
      // under a non-zero top byte; decimalMath keeps three digits of room.
      {string("\0\x19", 2), E([](D& s) { s.binaryMath(5); }),
       string("\0\0\xFF", 3), fresh, 0},
      {string("\0\x19", 2), E([](D& s) { s.binaryMath(5); }),
       string("\0\xFF", 2), fresh, 1},
      {string("\0\x1A", 2), E([](D& s) { s.binaryMath(0); }), "\x01\x04", fresh,
       1},
      {string(3, '\0'), E([](D& s) { s.binaryMath(7); }), string("\0\0\x07", 3),
       fresh, 1},
      {string(3, '\0'), E([](D& s) { s.binaryMath(7); }),
       string("\0\0\0\x07", 4), fresh, 0},
      {"\xFF\xFF", E([](D& s) { s.binaryMath(9); }), "\x09\xFF\xFF", fresh, 1},
      {"", E([](D& s) { s.binaryMath(7); }), "\x07", fresh},
      {"1", E([](D& s) { s.decimalMath(0); }), "0256", fresh},
      {"01", E([](D& s) { s.decimalMath(255); }), "0511", fresh},
      {"0001", E([](D& s) { s.decimalMath(1); }), "0257", fresh},
      {"00000", E([](D& s) { s.decimalMath(7); }), "00007", fresh},
      {"999", E([](D& s) { s.decimalMath(255); }), "255999", fresh},
      {"", E([](D& s) { s.decimalMath(42); }), "042", fresh},
  });
}

namespace {

// A buffer class of its own: its editing slots record the count they see
// and hand back the receiver or raise 1010; with the flag off x2c asks its
// isHexDigits (no); it counts its deletions. No data members: the text
// stays right behind the DBuffer header.
int seenCount = -1, deleted = 0;
bool raises = false;

class ProbeBuffer : public DBuffer {
public:
  explicit ProbeBuffer(unsigned int n) : DBuffer(n) {}
  ~ProbeBuffer() override { ++deleted; }
  static D make(char const* text) {
    auto const n = static_cast<unsigned int>(std::strlen(text));
    auto* b =
        new (::operator new[](sizeof(ProbeBuffer) + n + 1)) ProbeBuffer(n);
    std::memcpy(b->contents(), text, n);
    return D(static_cast<DBuffer*>(b));
  }
  bool isHexDigits() const override { return false; }
  DBuffer* center(unsigned int, char) override { return probe(); }
  DBuffer* change(char const*, unsigned int, char const*, unsigned int,
                  unsigned int, unsigned int) override {
    return probe();
  }
  DBuffer* copy(unsigned int) override { return probe(); }
  DBuffer* insert(char const*, unsigned int, unsigned int, char) override {
    return probe();
  }
  DBuffer* leftJustify(unsigned int, char) override { return probe(); }
  DBuffer* lowerCase() override { return probe(); }
  DBuffer* overlayWith(char const*, unsigned int, unsigned int, char) override {
    return probe();
  }
  DBuffer* remove(unsigned int, unsigned int) override { return probe(); }
  DBuffer* reverse() override { return probe(); }
  DBuffer* rightJustify(unsigned int, char) override { return probe(); }
  DBuffer* strip(char const*, unsigned int, DStringEnum::StripMode) override {
    return probe();
  }
  DBuffer* strip(DStringTest const&, DStringEnum::StripMode) override {
    return probe();
  }
  DBuffer* translate(char const*, unsigned int, char const*, unsigned int,
                     char) override {
    return probe();
  }
  DBuffer* upperCase() override { return probe(); }

private:
  DBuffer* probe() {
    seenCount = static_cast<int>(useCount());
    if (raises)
      DBuffer::overflow();
    addRef();
    return this;
  }
};

} // namespace

// The direct members lend the handle's own reference to the buffer, the
// guarded ones one more; a raising buffer leaves the handle as it was.
TEST(DStringEdit, DirectAndGuardedProtocols) {
  std::pair<std::function<void(D&)>, bool> const members[] = {
      {[](D& s) { s.upperCase(); }, true},
      {[](D& s) { s.translate("a", 1, "b", 1); }, true},
      {[](D& s) { s.strip("x", 1); }, true},
      {[](D& s) { s.strip(DStringTest(::isspace), DStringEnum::both); }, true},
      {[](D& s) { s.strip(); }, true},
      {[](D& s) { s.lowerCase(); }, false},
      {[](D& s) { s.reverse(); }, false},
      {[](D& s) { s.overlayWith("x", 1, 1); }, false},
      {[](D& s) { s.insert("x", 1, 1); }, false},
      {[](D& s) { s.remove(1, 1); }, false},
      {[](D& s) { s.remove(2); }, false},
      {[](D& s) { s.leftJustify(3); }, false}, // no shortcut here
      {[](D& s) { s.rightJustify(5); }, false},
      {[](D& s) { s.center(5); }, false},
      {[](D& s) { s.copy(2); }, false},
      {[](D& s) { s.change("a", 1, "b", 1); }, false}};
  dtest::RecordingTrace trace;
  for (std::size_t i = 0; i < std::size(members); ++i) {
    auto const& [call, direct] = members[i];
    SCOPED_TRACE(i);
    D s = ProbeBuffer::make("abc");
    DBuffer* const b = s.buffer();
    for (unsigned int shared : {0u, 1u}) {
      D const other(shared ? s : D());
      seenCount = -1;
      call(s);
      EXPECT_EQ((direct ? 1 : 2) + static_cast<int>(shared), seenCount);
      EXPECT_EQ(b, s.buffer());
      EXPECT_EQ(1 + shared, b->useCount());
    }
    raises = true;
    EXPECT_DEXCEPTION(call(s), DInvalidRequest, 1010, true, "dbuffer0", 561);
    raises = false;
    EXPECT_EQ(b, s.buffer());
    EXPECT_EQ(1u, b->useCount());
    EXPECT_EQ("abc", bytes(s));
  }
  // Shortcuts of the handle that never reach the buffer.
  D r = ProbeBuffer::make("abc");
  seenCount = -1;
  r.rightJustify(3).remove(9, 1).remove(1, 0);
  EXPECT_EQ(-1, seenCount);
  deleted = 0;
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    D s = ProbeBuffer::make("0a");
    D const kept(s);
    s.x2c(); // flag 1 tests the bytes with isxdigit whatever the buffer says
    EXPECT_EQ(flag ? string("\x0A") : "", bytes(s));
    EXPECT_EQ(flag, deleted);
  }
  EXPECT_EQ(2, deleted);
}

TEST(DStringEdit, IndexErrorsCarryTheirLines) {
  D s("abc");
  D const& cs = s;
  D const empty;
  dtest::RecordingTrace trace;
  EXPECT_DEXCEPTION(s[-1], DInvalidRequest, 1011, true, "dstring5", 197);
  EXPECT_DEXCEPTION(s[-2147483647 - 1], DInvalidRequest, 1011, true, "dstring5",
                    197);
  EXPECT_DEXCEPTION(cs[4u], DInvalidRequest, 1011, true, "dstring5", 130);
  EXPECT_DEXCEPTION(cs[-1], DInvalidRequest, 1011, true, "dstring5", 174);
  EXPECT_DEXCEPTION(cs[4], DInvalidRequest, 1011, true, "dstring5", 184);
  // An empty const string has no byte at all, index 0 included.
  EXPECT_DEXCEPTION(empty[0u], DInvalidRequest, 1011, true, "dstring5", 130);
  EXPECT_DEXCEPTION(empty[0], DInvalidRequest, 1011, true, "dstring5", 184);
  EXPECT_EQ(7, trace.logged);
  EXPECT_EQ("abc", bytes(s));
}

// The head that strtol converts in d2c is strlen(maxLong) - 1 digits; the
// value does not depend on it, and a head past LONG_MAX keeps the clamp.
TEST(DStringEdit, D2CHeadFollowsMaxLong) {
  char const* const saved = DString::maxLong;
  string const in = "98765432109876543210987654321";
  std::pair<char const*, string> const rows[] = {
      {"0x7fffffffL", dmodel::d2c(in)},
      {"0x7fffffffffffffffffffffffL", "\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"}};
  for (auto const& [text, want] : rows) {
    DString::maxLong = text;
    D s = make(want.size() == 8 ? "99999999999999999999999999" : in);
    s.d2c();
    DString::maxLong = saved;
    EXPECT_EQ(want, bytes(s)) << text;
  }
}

// In the multibyte locales words are whole characters (trail bytes that
// look like ASCII letters or digits too) at byte positions; the operators,
// the radix conversions and stream input still work on bytes, and the
// buffer class's own character tests decide what is a digit.
TEST(MbStringOps, WordsBytesAndDigits) {
  struct Encoding {
    char const* codeset;
    string w1, w2, w3;
  };
  Encoding const encodings[] = {
      {"UTF-8", "\xe6\x97\xa5\xe6\x9c\xac", "\xe8\xaa\x9e", "a\xc3\xa9"},
      {"EUC-JP", "\xc6\xfc\xcb\xdc", "\xb8\xec", "a\x8f\xab\xb1"},
      {"GB18030", "\xc8\xd5\xb1\xbe", "\xd5\x5a", "a\x81\x32\xce\x39"}};
  Encoding const* e = nullptr;
  for (auto const& candidate : encodings)
    if (dtest::localeIs(candidate.codeset))
      e = &candidate;
  if (e == nullptr)
    GTEST_SKIP() << "not a multibyte test locale";
  string const text = " " + e->w1 + "\t\t" + e->w2 + " " + e->w3 + "\n";
  auto const p2 = static_cast<unsigned int>(e->w1.size() + 4);
  auto const p3 = static_cast<unsigned int>(p2 + e->w2.size() + 1);
  string const raw = "\xA4\xA2\xE3\x81\x82\x80\xFF", lead = e->w2.substr(0, 1);
  for (int i18n : {0, 1}) {
    dtest::I18NState state(i18n);
    SCOPED_TRACE(i18n);
    D const s = make(text);
    EXPECT_EQ(3u, s.numWords());
    EXPECT_EQ(p2 * 100 + p3, s.indexOfWord(2) * 100 + s.indexOfWord(3));
    EXPECT_EQ(e->w3.size(), s.lengthOfWord(3));
    EXPECT_EQ(e->w1, bytes(s.word(0)));
    EXPECT_EQ(e->w2 + " " + e->w3, bytes(s.words(2, 9)));
    EXPECT_EQ(p2, s.findPhrase(make(e->w2 + "\n" + e->w3), 1, D::charIndex));
    EXPECT_EQ(0u, s.findPhrase(make(lead), 1, D::wordIndex));
    D spaced = s, removed = s;
    EXPECT_EQ(e->w1 + "-" + e->w2 + "-" + e->w3, bytes(spaced.space(1, '-')));
    EXPECT_STREQ(s.buffer()->className(), spaced.buffer()->className());
    EXPECT_EQ(" " + e->w1 + "\t\t" + e->w3 + "\n",
              bytes(removed.removeWords(2, 1)));
    // Bytes: indexing, appending a lone lead byte, the bit operators.
    D w = make(e->w1);
    EXPECT_EQ(e->w1[1], static_cast<D const&>(w)[2]);
    w += lead.c_str();
    w[w.length() + 2] = '!';
    EXPECT_EQ(e->w1 + lead + " !", bytes(~~w));
    EXPECT_EQ("\xC2\xA8", bytes("\xC3\xA9" ^ D("\x01")));
    // Radix conversions neither split nor reject bytes that are no
    // characters; digits are the buffer's.
    D r = make(raw);
    EXPECT_EQ("A4A2E3818280FF", bytes(r.c2x()));
    EXPECT_EQ(raw, bytes(r.x2c().c2d().d2c()));
    EXPECT_EQ(dmodel::c2b(raw), bytes(r.c2b()));
    for (char const* t : {"\xA4\xA2", "1\xA4\xA2", "\xEF\xBC\x91", "\xFF"})
      EXPECT_EQ(0u, D(t).d2c().length() + D(t).x2c().length()) << t;
    D digits("65535");
    EXPECT_EQ("\xFF\xFF", bytes(digits.d2c()));
    EXPECT_STREQ(s.buffer()->className(), digits.buffer()->className());
    // Words and lines read keep their bytes, also when they end in a lead
    // byte that a reused target's old text completes.
    std::pair<string, string> const reads[] = {
        {e->w2, lead},
        {"x" + e->w2, "x" + lead},
        {"", lead},
        {string(200, 'z') + e->w2, string(130, 'y') + lead}};
    for (auto const& [target, word] : reads) {
      std::istringstream in(word + " rest"), line(word + "\n");
      D got = make(target);
      in >> got;
      EXPECT_EQ(word, bytes(got));
      EXPECT_EQ(word, bytes(D::lineFrom(line)));
      std::istringstream longIn(string(127, 'q') + word + "\n");
      EXPECT_EQ(string(127, 'q') + word, bytes(D::lineFrom(longIn)));
    }
  }
}
