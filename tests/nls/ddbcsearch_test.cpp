// Multibyte searches and substrings: matches only at character starts, the
// one-byte-set rules, both predicate strategies, and the repaired fields.
#include "ddbcsb.hpp"
#include "dexcept.hpp"
#include "dmbtest.hpp"
#include "dstring.hpp"
#include "dtest_support.hpp"

#include <cctype>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

using mbtest::Chars;

DString str(std::string const& s) {
  return DString(std::string_view(s));
}

/// Character starts by brute force through the virtual charType().
bool isStart(DString const& s, unsigned int p) {
  return s.buffer()->charType(p) < 2;
}

/// Random text of whole characters from \p alphabet, plus (when \p damage)
/// stray bytes that start no character.
std::string randomText(std::mt19937& rng,
                       std::vector<std::string> const& alphabet,
                       unsigned int count, bool damage) {
  std::string text;
  for (unsigned int i = 0; i < count; ++i) {
    if (damage && rng() % 9 == 0)
      text += static_cast<char>(0x80 + rng() % 0x7F);
    else
      text += alphabet[rng() % alphabet.size()];
  }
  return text;
}

int isHigh(int c) {
  return c < 0 || c > 0x7F;
}
int isLetterA(int c) {
  return c == 'a';
}

} // namespace

TEST(MbSearch, StartsMoveOntoCharacterStarts) {
  MB_CHARS(c);
  DString const s = str(c.wide + "a");
  DBuffer const* b = s.buffer();
  EXPECT_EQ(c.l() + 1, b->startSearch(2, 1));
  EXPECT_EQ(c.l() + 1, b->startSearch(c.l(), 1));
  EXPECT_EQ(1u, b->startSearch(0, 1));
  EXPECT_EQ(c.l() + 1, b->startSearch(2, 2));  // fit is checked first
  EXPECT_EQ(0u, b->startSearch(2, c.l() + 1)); // the pattern cannot fit
  EXPECT_EQ(1u, b->startBackwardsSearch(3, 1));
  EXPECT_EQ(c.l() + 1, b->startBackwardsSearch(100, 1));
  EXPECT_EQ(0u, b->startBackwardsSearch(0, 1));
  // A start inside the last character and nothing behind it: none.
  DString const t = str("a" + c.wide);
  EXPECT_EQ(0u, t.buffer()->startSearch(3, 1));
}

// The walk that answers the searches must agree with charType() on every
// position, also over stray bytes and texts long enough to need its
// checkpoints, forwards and backwards.
TEST(MbSearch, StartsAgreeWithCharTypeOnGeneratedText) {
  MB_CHARS(c);
  std::mt19937 rng(4711);
  std::vector<std::string> const alphabet{"a",   " ",    "7",
                                          c.two, c.wide, c.alpha};
  for (unsigned int count : {1u, 9u, 40u, 400u}) {
    for (bool damage : {false, true}) {
      DString const s = str(randomText(rng, alphabet, count, damage));
      DBuffer const* b = s.buffer();
      unsigned int const n = s.length();
      std::vector<unsigned int> starts;
      for (unsigned int p = 1; p <= n; ++p)
        if (isStart(s, p))
          starts.push_back(p);
      for (unsigned int p = 1; p <= n; p += (n > 100 ? 7 : 1)) {
        unsigned int after = 0, before = 0;
        for (unsigned int q : starts) {
          if (q >= p && after == 0)
            after = q;
          if (q <= p)
            before = q;
        }
        ASSERT_EQ(after, b->startSearch(p, 1)) << p;
        ASSERT_EQ(before, b->startBackwardsSearch(p, 1)) << p;
      }
      // A backward walk over every start: a predicate that records the
      // first byte of each character it is shown and accepts none.
      struct Recorder : DStringTest {
        std::string* seen;
        explicit Recorder(std::string* out) : seen(out) {}
        int test(int ch) const override {
          *seen += static_cast<char>(ch);
          return 0;
        }
      };
      std::string seen, want;
      for (auto it = starts.rbegin(); it != starts.rend(); ++it)
        want += static_cast<char const*>(s)[*it - 1];
      dtest::I18NState flag(0);
      EXPECT_EQ(0u, s.lastIndexOfAnyOf(Recorder(&seen)));
      EXPECT_EQ(want, seen);
    }
  }
}

TEST(MbSearch, PatternsMatchOnlyAtCharacterStarts) {
  MB_CHARS(c);
  // The last byte of one character and the first of the next are a byte
  // match, never a character match.
  std::string const text = c.wide + c.two + "x" + c.two;
  DString const s = str(text);
  std::string const across = c.wide.substr(c.l() - 1) + c.two.substr(0, 1);
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    EXPECT_EQ(0u, s.indexOf(across.data(), 2, 1));
    EXPECT_EQ(0u, s.lastIndexOf(across.data(), 2, 0xFFFFFFFFu));
    EXPECT_EQ(c.l() + 1, s.indexOf(c.two.data(), 2, 1));
    EXPECT_EQ(c.l() + 4, s.indexOf(c.two.data(), 2, c.l() + 2));
    EXPECT_EQ(c.l() + 4, s.lastIndexOf(c.two.data(), 2, 0xFFFFFFFFu));
    EXPECT_EQ(c.l() + 1, s.lastIndexOf(c.two.data(), 2, c.l() + 3));
    EXPECT_EQ(0u, s.indexOf("", 0, 1));
  }
  // Many false candidates before the real match: a byte pair that sits
  // inside every character, then the pair as characters.
  std::string inner = c.wide.substr(1, 2);
  std::string many;
  for (int i = 0; i < 300; ++i)
    many += c.wide;
  many += "q" + inner;
  DString const m = str(many);
  EXPECT_EQ(300 * c.l() + 2, m.indexOf(inner.c_str(), 1));
  EXPECT_EQ(300 * c.l() + 2, m.lastIndexOf(inner.c_str()));
  EXPECT_EQ(0u, m.lastIndexOf(inner.c_str(), 300 * c.l() + 1));
  std::string lone = c.wide.substr(1);
  DString const l = str(c.wide + "ab");
  EXPECT_EQ(0u, l.indexOf(lone.data(), lone.size(), 1));
}

TEST(MbSearch, OneByteSetsCompareFirstBytes) {
  MB_CHARS(c);
  std::string const text = "a" + c.wide + "a" + c.wide;
  DString const s = str(text);
  unsigned int const l = c.l();
  char const lead = c.wide[0];
  char const trail = c.wide[l - 1];
  EXPECT_EQ(2u, s.indexOfAnyOf(&lead, 1, 1));
  EXPECT_EQ(l + 3, s.indexOfAnyOf(&lead, 1, 3));
  EXPECT_EQ(l + 3, s.lastIndexOfAnyOf(&lead, 1, 0xFFFFFFFFu));
  EXPECT_EQ(2u, s.lastIndexOf(&lead, 1, l + 2));
  EXPECT_EQ(0u, s.indexOfAnyOf(&trail, 1, 1));
  EXPECT_EQ(0u, s.lastIndexOfAnyOf(&trail, 1, 0xFFFFFFFFu));
  EXPECT_EQ(l + 2, s.lastIndexOf('a'));
  // Empty sets: nothing is any of them, everything is any but them.
  EXPECT_EQ(0u, s.indexOfAnyOf("", 0, 1));
  EXPECT_EQ(l + 2, s.indexOfAnyBut("", 0, 3));
  EXPECT_EQ(2u, s.lastIndexOfAnyBut("", 0, 3));
  EXPECT_EQ(0u, s.lastIndexOfAnyOf("", 0, 3));
}

// A one-byte set is that byte only, also when it would lead a longer
// character: within the set's length that character is incomplete, so it
// counts as one byte, as at the end of a text. Both directions then agree.
TEST(MbSearch, OneByteAnyButSetIsThatByte) {
  MB_CHARS(c);
  DString const set = str(c.wide); // the bytes after its first follow it
  DString const s = str("aa" + c.wide + "b");
  unsigned int const l = c.l();
  EXPECT_EQ(1u, s.indexOfAnyBut(set, 1, 0));
  EXPECT_EQ(4u, s.indexOfAnyBut(set, 1, 3)); // byte steps: the second byte
  EXPECT_EQ(l + 3, s.lastIndexOfAnyBut(set, 1, 0xFFFFFFFFu));
  EXPECT_EQ(2u, s.lastIndexOfAnyBut(set, 1, l + 2)); // character steps
  EXPECT_EQ(3u, s.indexOfAnyBut('a'));
  // A plain byte: forward steps bytes, backward steps characters.
  EXPECT_EQ(3u, s.indexOfAnyBut("a", 1, 1));
  EXPECT_EQ(c.l() + 3, s.lastIndexOfAnyBut("a", 1, 0xFFFFFFFFu));
  EXPECT_EQ(3u, s.lastIndexOfAnyBut("b", 1, 0xFFFFFFFFu));
}

// Every member that takes a (pointer, length) argument reads no byte past
// that length: the argument ends right before an unreadable page, and the
// answer must be the one given when the rest of the character follows it
// in readable memory. Incomplete and one-byte prefixes of characters, with
// both strategies, over a valid text and one with a stray lead byte.
TEST(MbSearch, ArgumentsAreReadOnlyWithinTheirLength) {
  MB_CHARS(c);
  using Run = std::function<std::string(DString, char const*, unsigned int)>;
  auto const at = [](unsigned int v) { return std::to_string(v); };
  struct Member {
    char const* name;
    Run run;
  };
  Member const members[] = {
      {"indexOf", [&](DString s, char const* p,
                      unsigned int n) { return at(s.indexOf(p, n, 1)); }},
      {"lastIndexOf",
       [&](DString s, char const* p, unsigned int n) {
         return at(s.lastIndexOf(p, n, 0xFFFFFFFFu));
       }},
      {"indexOfAnyOf",
       [&](DString s, char const* p, unsigned int n) {
         return at(s.indexOfAnyOf(p, n, 1));
       }},
      {"indexOfAnyBut",
       [&](DString s, char const* p, unsigned int n) {
         return at(s.indexOfAnyBut(p, n, 1)) + at(s.indexOfAnyBut(p, n, 3));
       }},
      {"lastIndexOfAnyOf",
       [&](DString s, char const* p, unsigned int n) {
         return at(s.lastIndexOfAnyOf(p, n, 0xFFFFFFFFu));
       }},
      {"lastIndexOfAnyBut",
       [&](DString s, char const* p, unsigned int n) {
         return at(s.lastIndexOfAnyBut(p, n, 0xFFFFFFFFu));
       }},
      {"occurrencesOf",
       [&](DString s, char const* p, unsigned int n) {
         return at(s.occurrencesOf(p, n, 1));
       }},
      {"change pattern",
       [](DString s, char const* p, unsigned int n) {
         return dtest::bytes(s.change(p, n, "x", 1));
       }},
      {"change replacement",
       [](DString s, char const* p, unsigned int n) {
         return dtest::bytes(s.change("b", 1, p, n));
       }},
      {"insert",
       [](DString s, char const* p, unsigned int n) {
         return dtest::bytes(s.insert(p, n, 2));
       }},
      {"overlayWith",
       [](DString s, char const* p, unsigned int n) {
         return dtest::bytes(s.overlayWith(p, n, 2));
       }},
      {"strip", [](DString s, char const* p,
                   unsigned int n) { return dtest::bytes(s.strip(p, n)); }},
      {"translate from",
       [](DString s, char const* p, unsigned int n) {
         return dtest::bytes(s.translate(p, n, "xyz", 3));
       }},
      {"translate to",
       [](DString s, char const* p, unsigned int n) {
         return dtest::bytes(s.translate("ab", 2, p, n));
       }},
      {"compare",
       [&](DString s, char const* p, unsigned int n) {
         return at(s.buffer()->compare(p, n)) + at(s.isLike(p, n, '*', '?')) +
                at(s.isAbbrevFor(p, n, 0));
       }},
  };
  std::string const valid = "a" + c.wide + "b" + c.two;
  std::string const texts[] = {valid, valid + c.wide[0] + "b"};
  // Each argument with the bytes that would complete its last character.
  std::vector<std::pair<std::string, std::string>> arguments;
  for (unsigned int k = 1; k < c.l(); ++k)
    arguments.emplace_back(c.wide.substr(0, k), c.wide.substr(k));
  arguments.emplace_back(c.two.substr(0, 1), c.two.substr(1));
  arguments.emplace_back("b" + c.wide.substr(0, 1), c.wide.substr(1));
  for (int flag : {0, 1})
    for (auto const& text : texts)
      for (auto const& [argument, rest] : arguments) {
        dtest::I18NState const strategy(flag);
        std::string const followed = argument + rest + c.two;
        mbtest::GuardedBytes const guarded(argument);
        for (auto const& m : members) {
          SCOPED_TRACE(std::string(m.name) + " flag " + std::to_string(flag) +
                       " text " + mbtest::hex(text) + " argument " +
                       mbtest::hex(argument));
          auto const answer = [&](char const* p) {
            try {
              return m.run(str(text), p, argument.size());
            } catch (DException const& e) {
              return "raises " + std::to_string(e.errorId());
            }
          };
          EXPECT_EQ(answer(followed.data()), answer(guarded.data()));
        }
      }
}

TEST(MbSearch, LongerSetsMatchWholeCharacters) {
  MB_CHARS(c);
  std::string const set = c.two + "z";
  DString const s = str("a" + c.wide + c.two + "z" + c.wide);
  unsigned int const l = c.l();
  EXPECT_EQ(l + 2, s.indexOfAnyOf(set.data(), set.size(), 1));
  EXPECT_EQ(l + 4, s.lastIndexOfAnyOf(set.data(), set.size(), l + 4));
  EXPECT_EQ(1u, s.indexOfAnyBut(set.data(), set.size(), 1));
  EXPECT_EQ(2u, s.indexOfAnyBut(set.data(), set.size(), 2));
  EXPECT_EQ(l + 5, s.lastIndexOfAnyBut(set.data(), set.size(), 0xFFFFFFFFu));
  EXPECT_EQ(2u, s.lastIndexOfAnyBut(set.data(), set.size(), l + 4));
  // A set holding only the first bytes of a character does not match it.
  std::string const part = c.wide.substr(0, l - 1);
  EXPECT_EQ(0u, s.indexOfAnyOf(part.data(), part.size(), 1));
}

TEST(MbSearch, PredicateStrategies) {
  MB_CHARS(c);
  // "a", the long character, "b".
  DString const s = str("a" + c.wide + "b");
  unsigned int const l = c.l();
  {
    dtest::I18NState flag(0);
    // Bytes as signed chars: every byte of the character tests high, and
    // the forward any-of form answers byte by byte.
    EXPECT_EQ(2u, s.indexOfAnyOf(DStringTest(isHigh), 1));
    EXPECT_EQ(0u, s.indexOfAnyOf(DStringTest(isHigh), 3)); // moved to b
    EXPECT_EQ(2u, s.indexOf(DStringTest(isHigh), 1));
    EXPECT_EQ(2u, s.indexOfAnyBut(DStringTest(isLetterA), 1));
    EXPECT_EQ(l + 2, s.indexOfAnyBut(DStringTest(isHigh), 2));
    EXPECT_EQ(2u, s.lastIndexOfAnyOf(DStringTest(isHigh), 0xFFFFFFFFu));
    EXPECT_EQ(2u, s.lastIndexOf(DStringTest(isHigh), 0xFFFFFFFFu));
    EXPECT_EQ(l + 2, s.lastIndexOfAnyBut(DStringTest(isHigh), 0xFFFFFFFFu));
    EXPECT_EQ(1u, s.lastIndexOfAnyBut(DStringTest(isHigh), l + 1));
  }
  {
    // A predicate that only accepts the character's second byte.
    struct SecondByte : DStringTest {
      int want;
      explicit SecondByte(char b) : want(static_cast<signed char>(b)) {}
      int test(int ch) const override { return ch == want; }
    } second(c.wide[1]);
    dtest::I18NState flag(0);
    EXPECT_EQ(3u, s.indexOfAnyOf(second, 1)); // inside: allowed for flag 0
  }
  {
    dtest::I18NState flag(1);
    // Wide values: only the long character is above 0x7F.
    EXPECT_EQ(2u, s.indexOfAnyOf(DStringTest(isHigh), 1));
    EXPECT_EQ(0u, s.indexOfAnyOf(DStringTest(isHigh), 3)); // from b on
    EXPECT_EQ(l + 2, s.indexOfAnyBut(DStringTest(isHigh), 3));
    EXPECT_EQ(2u, s.indexOf(DStringTest(isHigh), 1));
    EXPECT_EQ(1u, s.indexOfAnyBut(DStringTest(isHigh), 1));
    EXPECT_EQ(l + 2, s.indexOfAnyBut(DStringTest(isHigh), 2));
    EXPECT_EQ(2u, s.lastIndexOfAnyOf(DStringTest(isHigh), 0xFFFFFFFFu));
    EXPECT_EQ(2u, s.lastIndexOf(DStringTest(isHigh), 3));
    EXPECT_EQ(1u, s.lastIndexOfAnyBut(DStringTest(isHigh), 3));
    EXPECT_EQ(0u, s.lastIndexOfAnyOf(DStringTest(isHigh), 0));
    EXPECT_EQ(0u, s.indexOfAnyOf(DStringTest(isHigh), l + 3));
    // Wide letters through the zyn_ wrappers.
    DString const g = str("1" + c.alpha);
    EXPECT_EQ(2u, g.indexOfAnyOf(DStringTest(zyn_iswalpha), 1));
  }
}

TEST(MbSearch, InvalidBytesRaiseOnlyWithTheWideStrategy) {
  MB_CHARS(c);
  DString const bad = str("ab\xFF" + c.wide);
  DString const cut = str("ab" + c.wide.substr(0, 1));
  {
    dtest::I18NState flag(0);
    EXPECT_EQ(3u, bad.indexOfAnyOf(DStringTest(isHigh), 1));
    EXPECT_EQ(4u, bad.lastIndexOfAnyOf(DStringTest(isHigh), 0xFFFFFFFFu));
    EXPECT_EQ(3u, cut.indexOfAnyOf(DStringTest(isHigh), 1));
    EXPECT_EQ(std::string(4, '*'),
              dtest::bytes(str("\xFF\xFF").subString(3, 4, '*')));
    EXPECT_EQ("b\xFF**", dtest::bytes(bad.subString(2, 4, '*')));
    EXPECT_EQ(4u, bad.indexOf(c.wide.c_str(), 1));
  }
  dtest::RecordingTrace trace;
  dtest::I18NState flag(1);
  EXPECT_DEXCEPTION(bad.indexOfAnyOf(DStringTest(isHigh), 1), DInvalidRequest,
                    1012, false, "dnlsutil", 725);
  // Backwards, the character number is looked up first, and a text with
  // an invalid byte before the start has none: 0, no conversion.
  EXPECT_EQ(0u, bad.lastIndexOfAnyBut(DStringTest(isHigh), 0xFFFFFFFFu));
  EXPECT_DEXCEPTION(cut.indexOfAnyBut(DStringTest(isHigh), 1), DInvalidRequest,
                    1012, false, "dnlsutil", 760);
  EXPECT_DEXCEPTION(bad.subString(1, 3, '*'), DInvalidRequest, 1012, false,
                    "dnlsutil", 725);
  // The byte searches never convert.
  EXPECT_EQ(4u, bad.indexOf(c.wide.c_str(), 1));
}

TEST(MbSearch, ThrowingPredicateLeaksNothing) {
  MB_CHARS(c);
  std::string text;
  for (int i = 0; i < 1000; ++i)
    text += c.wide;
  DString const s = str(text);
  dtest::I18NState flag(1);
  mbtest::ThrowingTest const thrower;
  auto run = [&] {
    for (int i = 0; i < 40; ++i) {
      EXPECT_THROW(s.indexOfAnyOf(thrower, 1), int);
      EXPECT_THROW(s.lastIndexOfAnyBut(thrower, 0xFFFFFFFFu), int);
    }
  };
  run(); // warm up whatever the C++ runtime keeps
  std::size_t const before = mbtest::heapInUse();
  run();
  // 80 lost wide copies would be over a megabyte.
  EXPECT_LT(mbtest::heapInUse(), before + 64 * 1024);
}

TEST(MbSearch, FieldsHoldOnlyWholeCharactersAndPad) {
  MB_CHARS(c);
  unsigned int const l = c.l();
  std::string const cutHead(l - 1, '*');
  DString const s = str(c.wide + "a"); // cut at the start of the field
  DString const t = str("a" + c.wide); // cut at its end
  DString const u = str(c.wide + c.wide + c.wide); // cut at both ends
  for (int flag : {0, 1}) {
    SCOPED_TRACE(flag);
    dtest::I18NState state(flag);
    EXPECT_EQ(cutHead + "a", dtest::bytes(s.subString(2, l, '*')));
    EXPECT_EQ(cutHead + "a**", dtest::bytes(s.subString(2, l + 2, '*')));
    EXPECT_EQ("a*", dtest::bytes(t.subString(1, 2, '*')));
    EXPECT_EQ(c.wide, dtest::bytes(t.subString(2, l, '*')));
    EXPECT_EQ(cutHead + c.wide + std::string(l - 1, '*'),
              dtest::bytes(u.subString(2, 3 * l - 2, '*')));
    EXPECT_EQ(std::string(4, '*'), dtest::bytes(s.subString(9, 4, '*')));
    EXPECT_EQ("", dtest::bytes(s.subString(1, 0, '*')));
    mbtest::expectTerminated(u.subString(2, 3 * l - 2, '*'));
  }
  // The rest of the text: cut bytes become blanks, whatever the flag.
  DBuffer* rest = s.buffer()->subString(2);
  EXPECT_EQ(std::string(l - 1, ' ') + "a", dtest::bytes(DString(rest)));
  EXPECT_EQ(c.wide + "a", dtest::bytes(DString(s.buffer()->subString(0))));
  EXPECT_EQ("", dtest::bytes(DString(s.buffer()->subString(l + 2))));
  dtest::I18NState state(1);
  EXPECT_EQ(c.wide + "a", dtest::bytes(s.subString(0)));
  EXPECT_EQ(std::string(l - 1, ' ') + "a", dtest::bytes(s.subString(2)));
}
