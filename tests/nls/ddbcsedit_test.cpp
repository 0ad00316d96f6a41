// Multibyte edits: every result holds whole characters and pad; both
// strategies; shared buffers stay unchanged; invalid bytes raise only with
// the wide strategy.
#include "ddbcsb.hpp"
#include "dexcept.hpp"
#include "dmbtest.hpp"
#include "dstring.hpp"
#include "dtest_support.hpp"

#include <cctype>
#include <climits>
#include <cwchar>
#include <cwctype>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

DString str(std::string const& s) {
  return DString(std::string_view(s));
}
std::string rep(unsigned int n, char c) {
  return std::string(n, c);
}

/// Applies \p edit to a copy of \p text held by a second handle too, and
/// checks that the shared original is unchanged.
std::string edited(std::string const& text,
                   std::function<void(DString&)> const& edit) {
  DString const original = str(text);
  DString copy = original;
  edit(copy);
  EXPECT_EQ(text, dtest::bytes(original));
  mbtest::expectTerminated(copy);
  return dtest::bytes(copy);
}

int isStar(int c) {
  return c == '*';
}

} // namespace

// Rows hold results that do not depend on the flag; {l} is the long
// character's byte length, so the rows serve every locale.
TEST(MbEdit, CutCharactersBecomePadOrBlanks) {
  MB_CHARS(c);
  unsigned int const l = c.l();
  std::string const w = c.wide;
  std::string const aw = "a" + w;
  for (int flag : {0, 1}) {
    SCOPED_TRACE(flag);
    dtest::I18NState state(flag);
    // remove: damaged characters become blanks on both sides of the gap.
    EXPECT_EQ("a" + rep(l - 1, ' '),
              edited(aw, [](DString& s) { s.remove(3, 1); }));
    EXPECT_EQ(rep(l, ' '), edited(w + w, [&](DString& s) { s.remove(2, l); }));
    EXPECT_EQ("a", edited(aw, [](DString& s) { s.remove(2); }));
    EXPECT_EQ(w, edited(w + "a", [&](DString& s) { s.remove(l + 1, 5); }));
    // Justification cuts at either end.
    EXPECT_EQ("a*", edited(aw, [](DString& s) { s.leftJustify(2, '*'); }));
    EXPECT_EQ("**", edited(aw, [](DString& s) { s.rightJustify(2, '*'); }));
    EXPECT_EQ(rep(l - 1, '*') + "a",
              edited(w + "a", [&](DString& s) { s.rightJustify(l, '*'); }));
    EXPECT_EQ(aw + "**",
              edited(aw, [&](DString& s) { s.leftJustify(l + 3, '*'); }));
    EXPECT_EQ("**" + aw,
              edited(aw, [&](DString& s) { s.rightJustify(l + 3, '*'); }));
    // center: padding splits left-light; a cut keeps whole characters.
    EXPECT_EQ("*" + aw + "**",
              edited(aw, [&](DString& s) { s.center(l + 4, '*'); }));
    EXPECT_EQ(w, edited("a" + w + "b", [&](DString& s) { s.center(l, '*'); }));
    EXPECT_EQ("**",
              edited("a" + w + "b", [](DString& s) { s.center(2, '*'); }));
    // reverse keeps every character intact.
    EXPECT_EQ(w + "a", edited(aw, [](DString& s) { s.reverse(); }));
    EXPECT_EQ(c.two + "x" + w,
              edited(w + "x" + c.two, [](DString& s) { s.reverse(); }));
    // Past the end nothing is cut: the single-byte rules.
    EXPECT_EQ(aw + "..XY",
              edited(aw, [&](DString& s) { s.insert("XY", 2, l + 3, '.'); }));
    EXPECT_EQ(aw + ".XY", edited(aw, [&](DString& s) {
                s.overlayWith("XY", 2, l + 3, '.');
              }));
    EXPECT_EQ("XY" + aw,
              edited(aw, [](DString& s) { s.insert("XY", 2, 0, '.'); }));
  }
}

// The strategies part where they must: insert moves forward (flag 1) or
// back (flag 0), overlayWith blanks (flag 0) or pads (flag 1) the left cut.
TEST(MbEdit, InsertAndOverlayInsideACharacter) {
  MB_CHARS(c);
  unsigned int const l = c.l();
  std::string const w = c.wide;
  {
    dtest::I18NState state(0);
    EXPECT_EQ("aX" + w + "b", edited("a" + w + "b", [](DString& s) {
                s.insert("X", 1, 2, '*');
              }));
    EXPECT_EQ(" X" + rep(l - 2, '*') + w,
              edited(w + w, [](DString& s) { s.overlayWith("X", 1, 2, '*'); }));
    EXPECT_EQ(w + "X", edited(w + w, [&](DString& s) {
                         s.overlayWith("X", 1, l + 1, '*');
                       }).substr(0, l + 1));
  }
  {
    dtest::I18NState state(1);
    EXPECT_EQ("a" + w + "Xb", edited("a" + w + "b", [](DString& s) {
                s.insert("X", 1, 2, '*');
              }));
    EXPECT_EQ("*X" + rep(l - 2, '*') + w,
              edited(w + w, [](DString& s) { s.overlayWith("X", 1, 2, '*'); }));
  }
}

TEST(MbEdit, CaseChangesPerStrategy) {
  MB_CHARS(c);
  std::string const text = "ab" + c.alpha + "z" + c.wide;
  {
    dtest::I18NState state(0);
    EXPECT_EQ("AB" + c.alpha + "Z" + c.wide,
              edited(text, [](DString& s) { s.upperCase(); }));
    EXPECT_EQ("ab" + c.capitalAlpha,
              edited("AB" + c.capitalAlpha, [](DString& s) { s.lowerCase(); }));
    // Unshared: edited in place, the same buffer.
    DString s = str(text);
    DBuffer const* before = s.buffer();
    s.upperCase();
    EXPECT_EQ(before, s.buffer());
    // Nothing to change: the same buffer too.
    DString t = str(c.wide);
    before = t.buffer();
    t.upperCase();
    EXPECT_EQ(before, t.buffer());
  }
  {
    dtest::I18NState state(1);
    EXPECT_EQ("AB" + c.capitalAlpha + "Z" + c.wide,
              edited(text, [](DString& s) { s.upperCase(); }));
    EXPECT_EQ("ab" + c.alpha,
              edited("AB" + c.capitalAlpha, [](DString& s) { s.lowerCase(); }));
    DString s = str(c.wide);
    DBuffer const* before = s.buffer();
    s.upperCase(); // always a new buffer, even when nothing changes
    EXPECT_NE(before, s.buffer());
    EXPECT_EQ(c.wide, dtest::bytes(s));
  }
}

// A byte a..z inside a character (GB18030 seconds bytes run 40..7E) is
// not a letter of its own.
TEST(MbEdit, UpperCaseLeavesLetterBytesInsideCharacters) {
  if (!dtest::localeIs("GB18030"))
    GTEST_SKIP() << "needs a codeset with ASCII second bytes";
  dtest::I18NState state(0);
  EXPECT_EQ("A\x81\x61Z",
            edited("a\x81\x61z", [](DString& s) { s.upperCase(); }));
}

TEST(MbEdit, StripKeepsWholeCharacters) {
  MB_CHARS(c);
  std::string const w = c.wide;
  std::string const text = w + "a" + w + "b" + w;
  for (int flag : {0, 1}) {
    SCOPED_TRACE(flag);
    dtest::I18NState state(flag);
    EXPECT_EQ("a" + w + "b", edited(text, [&](DString& s) {
                s.strip(w.data(), w.size(), DStringEnum::both);
              }));
    EXPECT_EQ("a" + w + "b" + w, edited(text, [&](DString& s) {
                s.strip(w.data(), w.size(), DStringEnum::leading);
              }));
    EXPECT_EQ(w + "a" + w, edited(w + "a" + w + "**", [](DString& s) {
                s.strip(DStringTest(isStar), DStringEnum::trailing);
              }));
    EXPECT_EQ("a" + w, edited("**a" + w + "*", [](DString& s) {
                s.strip(DStringTest(isStar), DStringEnum::both);
              }));
    // Everything strippable: the shared empty buffer.
    for (auto mode : {DStringEnum::leading, DStringEnum::both}) {
      DString s = str(w + w);
      s.strip(w.data(), w.size(), mode);
      EXPECT_EQ(0u, s.length());
      EXPECT_EQ(DBuffer::defaultBuffer(), s.buffer());
    }
  }
  // Trailing only, everything strippable: flag 1 gives the shared empty
  // buffer, flag 0 a new one.
  DString s = str(w + w);
  {
    dtest::I18NState state(1);
    DString t = s;
    t.strip(w.data(), w.size(), DStringEnum::trailing);
    EXPECT_EQ(DBuffer::defaultBuffer(), t.buffer());
  }
  dtest::I18NState state(0);
  s.strip(w.data(), w.size(), DStringEnum::trailing);
  EXPECT_EQ(0u, s.length());
  EXPECT_NE(DBuffer::defaultBuffer(), s.buffer());
  mbtest::expectTerminated(s);
  // Nothing to strip: the same buffer.
  DString u = str("a" + w);
  DBuffer const* before = u.buffer();
  u.strip(DStringTest(isStar), DStringEnum::both);
  EXPECT_EQ(before, u.buffer());
}

// strip() hands the wide strategy's characters to iswspace, never to the
// byte classifier isspace (whose table a code point such as U+10FFFD lies
// far outside of, and which took letters of U+0100 .. U+2FFFF for blanks).
// Model: a character between a blank and a tab is stripped exactly when
// iswspace says so with flag 1, and is never stripped with flag 0, whose
// signed bytes are no blanks in these locales. Code points sampled over
// the whole range, plus known blanks and the first letter found wrong.
TEST(MbEdit, StripWhiteSpaceClassifiesWideCharacters) {
  MB_CHARS(c);
  std::vector<wchar_t> points = {0x1FE, 0x10FFFD, 0x3000, 0x2028, 0x1680,
                                 0xA0,  0x85,     0x100,  0x2FFFF};
  for (wchar_t p = 0x80; p <= 0x10FFFF; p += 251)
    points.push_back(p);
  int tried = 0;
  for (wchar_t p : points) {
    char bytes[MB_LEN_MAX];
    std::mbstate_t state{};
    std::size_t const n = std::wcrtomb(bytes, p, &state);
    if (n == static_cast<std::size_t>(-1))
      continue; // not in this character set
    ++tried;
    std::string const ch(bytes, n);
    for (int flag : {0, 1}) {
      SCOPED_TRACE("U+" + std::to_string(p) + " flag " + std::to_string(flag));
      dtest::I18NState const strategy(flag);
      bool const blank = flag == 1 && std::iswspace(static_cast<wint_t>(p));
      EXPECT_EQ(blank ? "" : ch,
                edited(" " + ch + "\t", [](DString& s) { s.strip(); }));
    }
  }
  EXPECT_GT(tried, 40); // EUC-JP holds the fewest
}

// Six four-byte GB18030 codes convert to code points that convert back as
// two bytes (95 32 90 31 is U+20087, which comes back as FE 51). The wide
// strategy keeps the bytes of every character an edit leaves alone, and
// of the text it inserts, overlays or translates to.
TEST(MbEdit, WideEditsKeepBytesThatDoNotRoundTrip) {
  if (!dtest::localeIs("GB18030"))
    GTEST_SKIP() << "GB18030 only";
  std::vector<std::string> codes; // found, not listed: 95 30..39 81..FE ..
  for (int b1 : {0x95, 0x96})
    for (int b2 = 0x30; b2 <= 0x39; ++b2)
      for (int b3 = 0x81; b3 <= 0xFE; ++b3)
        for (int b4 = 0x30; b4 <= 0x39; ++b4) {
          char const code[4] = {char(b1), char(b2), char(b3), char(b4)};
          std::mbstate_t in{}, out{};
          wchar_t w;
          char back[MB_LEN_MAX];
          if (std::mbrtowc(&w, code, 4, &in) == 4 &&
              std::wcrtomb(back, w, &out) != 4)
            codes.emplace_back(code, 4);
        }
  ASSERT_FALSE(codes.empty());
  EXPECT_EQ("\x95\x32\x90\x31", codes[0]);
  dtest::I18NState const wide(1);
  for (std::string const& x : codes) {
    SCOPED_TRACE(mbtest::hex(x));
    std::string const t = "ab" + x + "cd";
    struct Row {
      std::string want;
      std::function<void(DString&)> edit;
    };
    Row const rows[] = {
        {t, [](DString& s) { s = s.subString(1); }},
        {x + "cd", [](DString& s) { s = s.subString(3); }},
        {"b" + x + "c", [](DString& s) { s = s.subString(2, 6, '.'); }},
        {x + "c", [](DString& s) { s = s.subString(3, 5, '.'); }},
        {"b...", [](DString& s) { s = s.subString(2, 4, '.'); }},
        {"Zb" + x + "cd", [](DString& s) { s.overlayWith("Z", 1, 1); }},
        {"ab" + x + "Zd", [](DString& s) { s.overlayWith("Z", 1, 7); }},
        {"abZ" + x + "cd", [](DString& s) { s.insert("Z", 1, 2); }},
        {t + x, [&](DString& s) { s.insert(x.data(), 4, 8); }},
        {"ab" + x + "c", [](DString& s) { s.leftJustify(7, '.'); }},
        {"ab...", [](DString& s) { s.leftJustify(5, '.'); }},
        {"ab" + x + "c", [](DString& s) { s.center(7, '.'); }},
        {"dc" + x + "ba", [](DString& s) { s.reverse(); }},
        {"AB" + x + "CD", [](DString& s) { s.upperCase(); }},
        {t, [](DString& s) { s.lowerCase(); }},
        {"b" + x + "c", [](DString& s) { s.strip("ad", 2); }},
        {"ab" + x + "Cd", [](DString& s) { s.translate("c", 1, "C", 1); }},
        {x + "b" + x + "cd",
         [&](DString& s) { s.translate("a", 1, x.data(), 4); }},
    };
    for (auto const& row : rows)
      EXPECT_EQ(mbtest::hex(row.want), mbtest::hex(edited(t, row.edit)));
  }
}

TEST(MbEdit, TranslateChangesLengths) {
  MB_CHARS(c);
  std::string const w = c.wide;
  std::string const from = "a" + w + "q";
  std::string const to = c.two + "x";
  for (int flag : {0, 1}) {
    SCOPED_TRACE(flag);
    dtest::I18NState state(flag);
    // a -> two-byte character, the long one -> x, q -> pad.
    EXPECT_EQ(
        c.two + "bx" + c.two + "*", edited("ab" + w + "aq", [&](DString& s) {
          s.translate(from.data(), from.size(), to.data(), to.size(), '*');
        }));
    EXPECT_EQ(w,
              edited(w, [&](DString& s) { s.translate("a", 1, "b", 1, '*'); }));
  }
  // The text behind the last match is copied up to its first NUL byte by
  // the byte strategy; the wide one converts every byte.
  std::string const nul("ab\0cd", 5);
  {
    dtest::I18NState state(0);
    EXPECT_EQ(std::string("Xb\0\0\0", 5), edited(nul, [](DString& s) {
                s.translate("a", 1, "X", 1, '*');
              }));
    DString s = str(w);
    DBuffer const* before = s.buffer();
    s.translate("a", 1, "X", 1, '*'); // no match: still a new buffer
    EXPECT_NE(before, s.buffer());
  }
  dtest::I18NState state(1);
  EXPECT_EQ(std::string("Xb\0cd", 5),
            edited(nul, [](DString& s) { s.translate("a", 1, "X", 1, '*'); }));
}

TEST(MbEdit, ChangeReplacesWholeCharactersOnly) {
  MB_CHARS(c);
  std::string const w = c.wide;
  std::string const across = w.substr(1) + c.two.substr(0, 1);
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    EXPECT_EQ(w + c.two, edited(w + c.two, [&](DString& s) {
                s.change(across.data(), across.size(), "X", 1);
              }));
    EXPECT_EQ("aXbX", edited("a" + w + "b" + w, [&](DString& s) {
                s.change(w.data(), w.size(), "X", 1);
              }));
    EXPECT_EQ("X" + c.two, edited(w + c.two, [&](DString& s) {
                s.change(w.data(), w.size(), "X", 1, 1, 1);
              }));
  }
}

TEST(MbEdit, InvalidBytesRaiseOnlyWithTheWideStrategy) {
  MB_CHARS(c);
  std::string const bad = "ab\xFF" + c.wide + "cd";
  std::vector<std::pair<char const*, std::function<void(DString&)>>> const ops{
      {"leftJustify", [](DString& s) { s.leftJustify(4, '*'); }},
      {"center", [](DString& s) { s.center(3, '*'); }},
      {"insert", [](DString& s) { s.insert("X", 1, 2, '*'); }},
      {"overlayWith", [](DString& s) { s.overlayWith("X", 1, 2, '*'); }},
      {"reverse", [](DString& s) { s.reverse(); }},
      {"upperCase", [](DString& s) { s.upperCase(); }},
      {"lowerCase", [](DString& s) { s.lowerCase(); }},
      {"strip", [](DString& s) { s.strip("a", 1, DStringEnum::both); }},
      {"stripTest",
       [](DString& s) { s.strip(DStringTest(isStar), DStringEnum::both); }},
      {"translate", [](DString& s) { s.translate("a", 1, "b", 1, '*'); }},
  };
  dtest::RecordingTrace trace;
  for (auto const& op : ops) {
    SCOPED_TRACE(op.first);
    {
      dtest::I18NState state(0);
      DString s = str(bad);
      EXPECT_NO_THROW(op.second(s));
    }
    dtest::I18NState state(1);
    DString s = str(bad);
    EXPECT_DEXCEPTION(op.second(s), DInvalidRequest, 1012, false, "dnlsutil",
                      725);
    EXPECT_EQ(bad, dtest::bytes(s)); // the handle keeps its value
  }
  // An invalid argument of the wide strategy raises too.
  dtest::I18NState state(1);
  DString s = str("abc");
  EXPECT_DEXCEPTION(s.insert("\xFF", 1, 1, '*'), DInvalidRequest, 1012, false,
                    "dnlsutil", 725);
  EXPECT_DEXCEPTION(s.translate("a", 1, "\xFF", 1, '*'), DInvalidRequest, 1012,
                    false, "dnlsutil", 725);
  // remove and rightJustify have one strategy: no conversion.
  DString r = str(bad);
  EXPECT_NO_THROW(r.remove(2, 1));
  EXPECT_NO_THROW(r.rightJustify(2, '*'));
}

TEST(MbEdit, ThrowingStripPredicateLeaksNothing) {
  MB_CHARS(c);
  std::string text;
  for (int i = 0; i < 1000; ++i)
    text += c.wide;
  dtest::I18NState state(1);
  mbtest::ThrowingTest const thrower;
  auto run = [&] {
    for (int i = 0; i < 40; ++i) {
      DString s = str(text);
      EXPECT_THROW(s.strip(thrower, DStringEnum::both), int);
    }
  };
  run();
  std::size_t const before = mbtest::heapInUse();
  run();
  EXPECT_LT(mbtest::heapInUse(), before + 64 * 1024);
}

// Generated valid texts through every edit and search with both flags: a
// result decodes into characters of the input, pad and blank only, and a
// search answers a character start.
TEST(MbEdit, GeneratedInputNeverSplitsACharacter) {
  MB_CHARS(c);
  std::vector<std::string> const alphabet{"a",    "b",     "Z",           c.two,
                                          c.wide, c.alpha, c.capitalAlpha};
  std::set<std::string> allowed(alphabet.begin(), alphabet.end());
  allowed.insert({"*", " "});       // pad, blank
  for (auto const& ch : alphabet) { // and what the case changes make
    dtest::I18NState wide(1);
    allowed.insert(dtest::bytes(DString::upperCase(str(ch))));
  }
  std::mt19937 rng(20261121);
  auto randomText = [&](unsigned int count) {
    std::string t;
    for (unsigned int i = 0; i < count; ++i)
      t += alphabet[rng() % alphabet.size()];
    return t;
  };
  for (int round = 0; round < 120; ++round) {
    std::string const text = randomText(1 + rng() % 12);
    std::string const piece = randomText(rng() % 3);
    unsigned int const n = static_cast<unsigned int>(text.size());
    unsigned int const a = rng() % (n + 3);
    unsigned int const b = rng() % (n + 3);
    std::vector<std::pair<char const*, std::function<void(DString&)>>> const
        ops{{"remove", [&](DString& s) { s.remove(a, b); }},
            {"leftJustify", [&](DString& s) { s.leftJustify(a, '*'); }},
            {"rightJustify", [&](DString& s) { s.rightJustify(a, '*'); }},
            {"center", [&](DString& s) { s.center(a, '*'); }},
            {"insert",
             [&](DString& s) { s.insert(piece.data(), piece.size(), a, '*'); }},
            {"overlayWith",
             [&](DString& s) {
               s.overlayWith(piece.data(), piece.size(), a, '*');
             }},
            {"subString", [&](DString& s) { s = s.subString(a, b, '*'); }},
            {"subStringRest", [&](DString& s) { s = s.subString(a); }},
            {"reverse", [](DString& s) { s.reverse(); }},
            {"upperCase", [](DString& s) { s.upperCase(); }},
            {"strip",
             [&](DString& s) {
               s.strip(piece.data(), piece.size(), DStringEnum::both);
             }},
            {"translate",
             [&](DString& s) {
               s.translate(piece.data(), piece.size(), "Z", 1, '*');
             }},
            {"change", [&](DString& s) {
               s.change(piece.data(), piece.size(), "*", 1);
             }}};
    for (int flag : {0, 1}) {
      dtest::I18NState state(flag);
      for (auto const& op : ops) {
        std::string const result = edited(text, op.second);
        std::vector<std::string> chars;
        ASSERT_TRUE(mbtest::decode(result, chars))
            << op.first << " flag " << flag << " a " << a << " b " << b;
        for (auto const& ch : chars)
          ASSERT_TRUE(allowed.count(ch))
              << op.first << " flag " << flag << " a " << a << " b " << b;
      }
      DString const s = str(text);
      for (unsigned int p :
           {s.indexOf(piece.c_str(), a), s.lastIndexOf(piece.c_str(), a),
            s.indexOfAnyOf(piece.c_str(), a), s.indexOfAnyBut(piece.c_str(), a),
            s.lastIndexOfAnyOf(piece.c_str(), a),
            s.lastIndexOfAnyBut(piece.c_str(), a),
            s.indexOfAnyBut(DStringTest(isStar), a),
            s.lastIndexOfAnyOf(DStringTest(isStar), a)})
        if (p != 0) {
          ASSERT_LT(s.buffer()->charType(p), 2) << p;
        }
    }
  }
}

namespace {

/// Reference word split: runs of bytes outside "\t\n\v\f\r " (no character
/// of the test codesets carries those bytes inside it). Pairs of 1-based
/// start and byte length.
std::vector<std::pair<unsigned int, unsigned int>>
referenceWords(std::string const& text) {
  std::vector<std::pair<unsigned int, unsigned int>> words;
  std::string const blanks("\t\n\v\f\r ");
  for (std::size_t i = 0; i < text.size();) {
    std::size_t const start = text.find_first_not_of(blanks, i);
    if (start == std::string::npos)
      break;
    std::size_t end = text.find_first_of(blanks, start);
    if (end == std::string::npos)
      end = text.size();
    words.emplace_back(static_cast<unsigned int>(start + 1),
                       static_cast<unsigned int>(end - start));
    i = end;
  }
  return words;
}

} // namespace

// The word operations answer as the byte-wise reference does, on texts of
// one-byte characters and on texts with multibyte words, with both flags.
TEST(MbWords, SameAnswersAsTheReferenceAndWholeCharacters) {
  MB_CHARS(c);
  std::vector<std::string> const pieces{"a",  "bc",  " ",    "  ",   "\t",
                                        "\n", c.two, c.wide, c.alpha};
  std::mt19937 rng(1121);
  for (int round = 0; round < 150; ++round) {
    bool const singleByte = round % 2 == 0;
    std::string text;
    for (unsigned int i = rng() % 10; i > 0; --i) {
      std::string const& p = pieces[rng() % (singleByte ? 6 : pieces.size())];
      text += p;
    }
    auto const ref = referenceWords(text);
    unsigned int const count = static_cast<unsigned int>(ref.size());
    DString const s = str(text);
    for (int flag : {0, 1}) {
      SCOPED_TRACE(testing::Message() << "text [" << text << "] flag " << flag);
      dtest::I18NState state(flag);
      ASSERT_EQ(count, s.numWords());
      for (unsigned int w = 1; w <= count + 1; ++w) {
        unsigned int const start = w <= count ? ref[w - 1].first : 0;
        unsigned int const size = w <= count ? ref[w - 1].second : 0;
        EXPECT_EQ(start, s.indexOfWord(w));
        EXPECT_EQ(size, s.lengthOfWord(w));
        EXPECT_EQ(text.substr(start ? start - 1 : 0, size),
                  dtest::bytes(s.word(w)));
        unsigned int const n = 1 + rng() % 3;
        if (w <= count) {
          unsigned int const last = std::min(count, w + n - 1);
          unsigned int const end = ref[last - 1].first + ref[last - 1].second;
          EXPECT_EQ(text.substr(start - 1, end - start),
                    dtest::bytes(s.words(w, n)));
          // The phrase of those words is found at its first occurrence.
          unsigned int const k = last - w + 1;
          auto wordAt = [&](unsigned int i) {
            return text.substr(ref[i - 1].first - 1, ref[i - 1].second);
          };
          unsigned int first = 0;
          for (unsigned int i = 1; first == 0 && i + k - 1 <= count; ++i) {
            bool same = true;
            for (unsigned int j = 0; j < k; ++j)
              same = same && wordAt(i + j) == wordAt(w + j);
            if (same)
              first = i;
          }
          EXPECT_EQ(first, s.findPhrase(s.words(w, n), 1, DString::wordIndex));
        }
      }
    }
  }
}
