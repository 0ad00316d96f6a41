// Multibyte searches and substrings: matches only at character starts, the
// one-byte-set rules, both predicate strategies, and the repaired fields.
#include "ddbcsb.hpp"
#include "dmbtest.hpp"

#include <malloc.h>

using dtest::bytes;
using dtest::make;

namespace {

int isHigh(int c) {
  return c < 0 || c > 0x7F;
}
int isLetterA(int c) {
  return c == 'a';
}

} // namespace

TEST(MbSearch, PatternsAndSetsMatchOnlyAtCharacterStarts) {
  DTEST_MB(c);
  unsigned int const l = c.l();
  DString const wa = make(c.wide + "a");
  DBuffer const* const b = wa.buffer();
  EXPECT_EQ(l + 1, b->startSearch(2, 2));  // fit is checked first
  EXPECT_EQ(0u, b->startSearch(2, l + 1)); // the pattern cannot fit
  EXPECT_EQ(0u, make("a" + c.wide).buffer()->startSearch(3, 1));
  // The last byte of one character and the first of the next are a byte
  // match, never a character match.
  DString const s = make(c.wide + c.two + "x" + c.two);
  std::string const across = c.wide.substr(l - 1) + c.two.substr(0, 1);
  char const* const two = c.two.data();
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    EXPECT_EQ(0u, s.indexOf(across.data(), 2, 1));
    EXPECT_EQ(0u, s.lastIndexOf(across.data(), 2, 0xFFFFFFFFu));
    EXPECT_EQ(l + 1, s.indexOf(two, 2, 1));
    EXPECT_EQ(l + 4, s.indexOf(two, 2, l + 2));
    EXPECT_EQ(l + 4, s.lastIndexOf(two, 2, 0xFFFFFFFFu));
    EXPECT_EQ(l + 1, s.lastIndexOf(two, 2, l + 3));
    EXPECT_EQ(0u, s.indexOf("", 0, 1));
  }
  // Many false candidates before the real match.
  std::string many;
  for (int i = 0; i < 300; ++i)
    many += c.wide;
  std::string const inner = c.wide.substr(1, 2);
  DString const m = make(many + "q" + inner);
  EXPECT_EQ(300 * l + 2, m.indexOf(inner.c_str(), 1));
  EXPECT_EQ(300 * l + 2, m.lastIndexOf(inner.c_str()));
  EXPECT_EQ(0u, m.lastIndexOf(inner.c_str(), 300 * l + 1));
  EXPECT_EQ(0u, make(c.wide + "ab").indexOf(c.wide.substr(1).c_str(), 1));
  // One-byte sets compare first bytes.
  DString const t = make("a" + c.wide + "a" + c.wide);
  char const lead = c.wide[0], trail = c.wide[l - 1];
  EXPECT_EQ(2u, t.indexOfAnyOf(&lead, 1, 1));
  EXPECT_EQ(l + 3, t.indexOfAnyOf(&lead, 1, 3));
  EXPECT_EQ(l + 3, t.lastIndexOfAnyOf(&lead, 1, 0xFFFFFFFFu));
  EXPECT_EQ(2u, t.lastIndexOf(&lead, 1, l + 2));
  EXPECT_EQ(0u, t.indexOfAnyOf(&trail, 1, 1));
  EXPECT_EQ(0u, t.lastIndexOfAnyOf(&trail, 1, 0xFFFFFFFFu));
  EXPECT_EQ(l + 2, t.lastIndexOf('a'));
  // Empty sets: nothing is any of them, everything is any but them.
  EXPECT_EQ(0u, t.indexOfAnyOf("", 0, 1));
  EXPECT_EQ(l + 2, t.indexOfAnyBut("", 0, 3));
  EXPECT_EQ(2u, t.lastIndexOfAnyBut("", 0, 3));
  EXPECT_EQ(0u, t.lastIndexOfAnyOf("", 0, 3));
  // A one-byte any-but set is that byte only, even if it leads a longer
  // character: forward steps bytes, backward steps characters.
  DString const u = make("aa" + c.wide + "b");
  EXPECT_EQ(1u, u.indexOfAnyBut(c.wide.data(), 1, 0));
  EXPECT_EQ(4u, u.indexOfAnyBut(c.wide.data(), 1, 3));
  EXPECT_EQ(l + 3, u.lastIndexOfAnyBut(c.wide.data(), 1, 0xFFFFFFFFu));
  EXPECT_EQ(2u, u.lastIndexOfAnyBut(c.wide.data(), 1, l + 2));
  EXPECT_EQ(3u, u.indexOfAnyBut('a'));
  EXPECT_EQ(3u, u.lastIndexOfAnyBut("b", 1, 0xFFFFFFFFu));
  // Longer sets match whole characters.
  std::string const set = c.two + "z", part = c.wide.substr(0, l - 1);
  DString const v = make("a" + c.wide + c.two + "z" + c.wide);
  EXPECT_EQ(l + 2, v.indexOfAnyOf(set.data(), 3, 1));
  EXPECT_EQ(l + 4, v.lastIndexOfAnyOf(set.data(), 3, l + 4));
  EXPECT_EQ(1u, v.indexOfAnyBut(set.data(), 3, 1));
  EXPECT_EQ(2u, v.indexOfAnyBut(set.data(), 3, 2));
  EXPECT_EQ(l + 5, v.lastIndexOfAnyBut(set.data(), 3, 0xFFFFFFFFu));
  EXPECT_EQ(2u, v.lastIndexOfAnyBut(set.data(), 3, l + 4));
  EXPECT_EQ(0u, v.indexOfAnyOf(part.data(), part.size(), 1));
}

// Every member that takes a (pointer, length) argument reads no byte past
// that length: the argument ends right before an unreadable page, and the
// answer must be the one given when the rest of the character follows it.
TEST(MbSearch, ArgumentsAreReadOnlyWithinTheirLength) {
  DTEST_MB(c);
  // Each member's answer for argument (p, n), with the edited text.
#define MEMBER(expr)                                                           \
  [](DString& s, char const* p, unsigned n) -> unsigned { return expr; }
  std::vector<unsigned (*)(DString&, char const*, unsigned)> const members = {
      MEMBER(s.indexOf(p, n, 1)),
      MEMBER(s.lastIndexOf(p, n, ~0u)),
      MEMBER(s.indexOfAnyOf(p, n, 1)),
      MEMBER(s.indexOfAnyBut(p, n, 1) * 100 + s.indexOfAnyBut(p, n, 3)),
      MEMBER(s.lastIndexOfAnyOf(p, n, ~0u)),
      MEMBER(s.lastIndexOfAnyBut(p, n, ~0u)),
      MEMBER(s.occurrencesOf(p, n, 1)),
      MEMBER(s.change(p, n, "x", 1).length()),
      MEMBER(s.change("b", 1, p, n).length()),
      MEMBER(s.insert(p, n, 2).length()),
      MEMBER(s.overlayWith(p, n, 2).length()),
      MEMBER(s.strip(p, n).length()),
      MEMBER(s.translate(p, n, "xyz", 3).length()),
      MEMBER(s.translate("ab", 2, p, n).length()),
      MEMBER(s.buffer()->compare(p, n) * 100 + s.isLike(p, n, '*', '?') * 10 +
             s.isAbbrevFor(p, n, 0))};
#undef MEMBER
  std::string const valid = "a" + c.wide + "b" + c.two;
  // Each argument with the bytes that would complete its last character.
  std::vector<std::pair<std::string, std::string>> arguments = {
      {c.two.substr(0, 1), c.two.substr(1)},
      {"b" + c.wide.substr(0, 1), c.wide.substr(1)}};
  for (unsigned int k = 1; k < c.l(); ++k)
    arguments.emplace_back(c.wide.substr(0, k), c.wide.substr(k));
  for (int flag : {0, 1})
    for (std::string const& text : {valid, valid + c.wide[0] + "b"})
      for (auto const& [argument, rest] : arguments) {
        dtest::I18NState const strategy(flag);
        std::string const followed = argument + rest + c.two;
        char const* const guarded = dmodel::guardedCopy(0, argument);
        for (std::size_t m = 0; m < members.size(); ++m) {
          auto const answer = [&](char const* p) {
            try {
              DString s = make(text);
              return std::to_string(members[m](s, p, argument.size())) +
                     bytes(s);
            } catch (DException const& e) {
              return "raises " + std::to_string(e.errorId());
            }
          };
          EXPECT_EQ(answer(followed.data()), answer(guarded))
              << "member " << m << " flag " << flag << " "
              << testing::PrintToString(text) << " "
              << testing::PrintToString(argument);
        }
      }
}

TEST(MbSearch, PredicateStrategies) {
  DTEST_MB(c);
  DString const s = make("a" + c.wide + "b");
  unsigned int const l = c.l();
  DStringTest const high(isHigh);
  {
    // Bytes as signed chars: every byte of the character tests high, and
    // the forward any-of form answers byte by byte.
    dtest::I18NState flag(0);
    EXPECT_EQ(0u, s.indexOfAnyOf(high, 3));
    EXPECT_EQ(2u, s.indexOfAnyBut(DStringTest(isLetterA), 1));
    EXPECT_EQ(l + 2, s.lastIndexOfAnyBut(high, 0xFFFFFFFFu));
    EXPECT_EQ(1u, s.lastIndexOfAnyBut(high, l + 1));
    struct SecondByte : DStringTest {
      int want;
      explicit SecondByte(char b) : want(static_cast<signed char>(b)) {}
      int test(int ch) const override { return ch == want; }
    } second(c.wide[1]);
    EXPECT_EQ(3u, s.indexOfAnyOf(second, 1));
  }
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    EXPECT_EQ(2u, s.indexOfAnyOf(high, 1));
    EXPECT_EQ(2u, s.indexOf(high, 1));
    EXPECT_EQ(l + 2, s.indexOfAnyBut(high, 2));
    EXPECT_EQ(2u, s.lastIndexOfAnyOf(high, 0xFFFFFFFFu));
    EXPECT_EQ(2u, s.lastIndexOf(high, flag ? 3 : 0xFFFFFFFFu));
  }
  dtest::I18NState flag(1);
  // Wide values: only the long character is above 0x7F.
  EXPECT_EQ(l + 2, s.indexOfAnyBut(high, 3));
  EXPECT_EQ(1u, s.indexOfAnyBut(high, 1));
  EXPECT_EQ(1u, s.lastIndexOfAnyBut(high, 3));
  EXPECT_EQ(0u, s.lastIndexOfAnyOf(high, 0));
  EXPECT_EQ(0u, s.indexOfAnyOf(high, l + 3));
  EXPECT_EQ(2u, make("1" + c.alpha).indexOfAnyOf(DStringTest(zyn_iswalpha), 1));
}

TEST(MbSearch, InvalidBytesRaiseOnlyWithTheWideStrategy) {
  DTEST_MB(c);
  DString const bad = make("ab\xFF" + c.wide);
  DString const cut = make("ab" + c.wide.substr(0, 1));
  DStringTest const high(isHigh);
  {
    dtest::I18NState flag(0);
    EXPECT_EQ(3u, bad.indexOfAnyOf(high, 1));
    EXPECT_EQ(4u, bad.lastIndexOfAnyOf(high, 0xFFFFFFFFu));
    EXPECT_EQ(3u, cut.indexOfAnyOf(high, 1));
    EXPECT_EQ("****", bytes(make("\xFF\xFF").subString(3, 4, '*')));
    EXPECT_EQ("b\xFF**", bytes(bad.subString(2, 4, '*')));
  }
  dtest::RecordingTrace trace;
  dtest::I18NState flag(1);
  EXPECT_DEXCEPTION(bad.indexOfAnyOf(high, 1), DInvalidRequest, 1012, false,
                    "dnlsutil", 725);
  // Backwards, the character number is looked up first, and a text with
  // an invalid byte before the start has none: 0, no conversion.
  EXPECT_EQ(0u, bad.lastIndexOfAnyBut(high, 0xFFFFFFFFu));
  EXPECT_DEXCEPTION(cut.indexOfAnyBut(high, 1), DInvalidRequest, 1012, false,
                    "dnlsutil", 760);
  EXPECT_DEXCEPTION(bad.subString(1, 3, '*'), DInvalidRequest, 1012, false,
                    "dnlsutil", 725);
  EXPECT_EQ(4u, bad.indexOf(c.wide.c_str(), 1)); // byte searches never convert
}

TEST(MbSearch, ThrowingPredicatesLeakNothing) {
  DTEST_MB(c);
  std::string text;
  for (int i = 0; i < 1000; ++i)
    text += c.wide;
  dtest::I18NState flag(1);
  struct Thrower : DStringTest {
    int test(int) const override { throw 7; }
  } const thrower;
  auto const run = [&] {
    for (int i = 0; i < 40; ++i) {
      DString s = make(text);
      EXPECT_THROW(s.indexOfAnyOf(thrower, 1), int);
      EXPECT_THROW(s.lastIndexOfAnyBut(thrower, 0xFFFFFFFFu), int);
      EXPECT_THROW(s.strip(thrower, DStringEnum::both), int);
    }
  };
  run(); // warm up whatever the C++ runtime keeps
  std::size_t const before = mallinfo2().uordblks;
  run();
  // 120 lost wide copies would be over a megabyte (0 under ASan).
  EXPECT_LT(mallinfo2().uordblks, before + 64 * 1024);
}

TEST(MbSearch, FieldsHoldOnlyWholeCharactersAndPad) {
  DTEST_MB(c);
  unsigned int const l = c.l();
  std::string const cut(l - 1, '*');
  DString const s = make(c.wide + "a"); // cut at the start of the field
  DString const t = make("a" + c.wide); // cut at its end
  DString const u = make(c.wide + c.wide + c.wide);
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    EXPECT_EQ(cut + "a**", bytes(s.subString(2, l + 2, '*')));
    EXPECT_EQ("a*", bytes(t.subString(1, 2, '*')));
    EXPECT_EQ(c.wide, bytes(t.subString(2, l, '*')));
    EXPECT_EQ(cut + c.wide + cut, bytes(u.subString(2, 3 * l - 2, '*')));
    EXPECT_EQ("****", bytes(s.subString(9, 4, '*')));
    EXPECT_EQ("", bytes(s.subString(1, 0, '*')));
    // The rest of the text: cut bytes become blanks.
    EXPECT_EQ(std::string(l - 1, ' ') + "a", bytes(s.subString(2)));
    EXPECT_EQ(c.wide + "a", bytes(DString(s.buffer()->subString(0))));
    EXPECT_EQ("", bytes(DString(s.buffer()->subString(l + 2))));
  }
}
