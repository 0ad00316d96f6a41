// Multibyte edits: every result holds whole characters and pad; both
// strategies; shared buffers stay unchanged; invalid bytes raise only with
// the wide strategy.
#include "ddbcsb.hpp"
#include "dmbtest.hpp"

#include <climits>
#include <cwchar>
#include <cwctype>
#include <functional>

using dtest::bytes;
using dtest::make;

namespace {

using Edit = std::function<void(DString&)>;

/// Applies \p edit to a copy of \p text held by a second handle too, and
/// checks that the shared original is unchanged and the NUL behind.
std::string edited(std::string const& text, Edit const& edit) {
  DString const original = make(text);
  DString copy = original;
  edit(copy);
  EXPECT_EQ(text, bytes(original));
  EXPECT_EQ('\0', static_cast<char const*>(copy)[copy.length()]);
  return bytes(copy);
}

int isStar(int c) {
  return c == '*';
}

} // namespace

TEST(MbEdit, CutCharactersBecomePadOrBlanks) {
  DTEST_MB(c);
  unsigned int const l = c.l();
  std::string const w = c.wide, aw = "a" + w, awb = aw + "b", ww = w + w;
  auto const pad = [](unsigned int n) { return std::string(n, '*'); };
  std::string const blanks(l - 1, ' ');
  // Flags the row holds for (1: byte strategy, 2: wide), text, want, edit.
  std::vector<std::tuple<int, std::string, std::string, Edit>> const rows = {
      {3, aw, "a" + blanks, [](DString& s) { s.remove(3, 1); }},
      {3, ww, blanks + " ", [&](DString& s) { s.remove(2, l); }},
      {3, aw, "a", [](DString& s) { s.remove(2); }},
      {3, w + "a", w, [&](DString& s) { s.remove(l + 1, 5); }},
      {3, aw, "a*", [](DString& s) { s.leftJustify(2, '*'); }},
      {3, aw, "**", [](DString& s) { s.rightJustify(2, '*'); }},
      {3, w + "a", pad(l - 1) + "a", [&](DString& s) { s.rightJustify(l, '*'); }},
      {3, aw, aw + "**", [&](DString& s) { s.leftJustify(l + 3, '*'); }},
      {3, aw, "**" + aw, [&](DString& s) { s.rightJustify(l + 3, '*'); }},
      {3, aw, "*" + aw + "**", [&](DString& s) { s.center(l + 4, '*'); }},
      {3, awb, w, [&](DString& s) { s.center(l, '*'); }},
      {3, awb, "**", [](DString& s) { s.center(2, '*'); }},
      {3, w + "x" + c.two, c.two + "x" + w, [](DString& s) { s.reverse(); }},
      {3, aw, aw + "..XY", [&](DString& s) { s.insert("XY", 2, l + 3, '.'); }},
      {3, aw, aw + ".XY", [&](DString& s) { s.overlayWith("XY", 2, l + 3, '.'); }},
      {3, aw, "XY" + aw, [](DString& s) { s.insert("XY", 2, 0, '.'); }},
      // Inside a character insert moves back (flag 0) or forward (flag 1);
      // overlayWith blanks (flag 0) or pads (flag 1) the left cut.
      {1, awb, "aX" + w + "b", [](DString& s) { s.insert("X", 1, 2, '*'); }},
      {2, awb, aw + "Xb", [](DString& s) { s.insert("X", 1, 2, '*'); }},
      {1, ww, " X" + pad(l - 2) + w, [](DString& s) { s.overlayWith("X", 1, 2, '*'); }},
      {2, ww, "*X" + pad(l - 2) + w, [](DString& s) { s.overlayWith("X", 1, 2, '*'); }},
      {1, ww, w + "X" + pad(l - 1), [&](DString& s) { s.overlayWith("X", 1, l + 1, '*'); }},
      // Case changes: flag 0 maps bytes, flag 1 wide characters.
      {1, "ab" + c.alpha + "z" + w, "AB" + c.alpha + "Z" + w, [](DString& s) { s.upperCase(); }},
      {2, "ab" + c.alpha + "z" + w, "AB" + c.capitalAlpha + "Z" + w, [](DString& s) { s.upperCase(); }},
      {1, "AB" + c.capitalAlpha, "ab" + c.capitalAlpha, [](DString& s) { s.lowerCase(); }},
      {2, "AB" + c.capitalAlpha, "ab" + c.alpha, [](DString& s) { s.lowerCase(); }},
      // strip keeps whole characters.
      {3, w + aw + "b" + w, aw + "b", [&](DString& s) { s.strip(w.data(), l, DStringEnum::both); }},
      {3, w + aw + "b" + w, aw + "b" + w, [&](DString& s) { s.strip(w.data(), l, DStringEnum::leading); }},
      {3, aw + "**", aw, [](DString& s) { s.strip(DStringTest(isStar), DStringEnum::trailing); }},
      {3, "**" + aw + "*", aw, [](DString& s) { s.strip(DStringTest(isStar), DStringEnum::both); }},
      // translate: a to the two-byte character, the long one to x, q to pad.
      {3, "ab" + w + "aq", c.two + "bx" + c.two + "*", [&](DString& s) { s.translate(("a" + w + "q").c_str(), l + 2, (c.two + "x").c_str(), 3, '*'); }},
      {3, w, w, [](DString& s) { s.translate("a", 1, "b", 1, '*'); }},
      // Behind the last match the byte strategy copies up to a NUL.
      {1, std::string("ab\0cd", 5), std::string("Xb\0\0\0", 5), [](DString& s) { s.translate("a", 1, "X", 1, '*'); }},
      {2, std::string("ab\0cd", 5), std::string("Xb\0cd", 5), [](DString& s) { s.translate("a", 1, "X", 1, '*'); }},
      // change replaces whole characters only.
      {3, w + c.two, w + c.two, [&](DString& s) { s.change((w.substr(1) + c.two[0]).c_str(), l, "X", 1); }},
      {3, aw + "b" + w, "aXbX", [&](DString& s) { s.change(w.data(), l, "X", 1); }},
      {3, w + c.two, "X" + c.two, [&](DString& s) { s.change(w.data(), l, "X", 1, 1, 1); }},
  };
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    for (std::size_t i = 0; i < rows.size(); ++i)
      if (std::get<0>(rows[i]) & (1 << flag)) {
        EXPECT_EQ(testing::PrintToString(std::get<2>(rows[i])),
                  testing::PrintToString(
                      edited(std::get<1>(rows[i]), std::get<3>(rows[i]))))
            << "row " << i << " flag " << flag;
      }
  }
  // A letter byte inside a GB18030 character is no letter of its own.
  if (dtest::localeIs("GB18030")) {
    dtest::I18NState state(0);
    EXPECT_EQ("A\x81\x61Z",
              edited("a\x81\x61z", [](DString& s) { s.upperCase(); }));
  }
}

// Which edits keep the unshared buffer, which give the shared empty one.
TEST(MbEdit, ResultBuffers) {
  DTEST_MB(c);
  std::string const w = c.wide;
  auto const same = [&](int flag, std::string const& t, Edit const& edit) {
    dtest::I18NState state(flag);
    DString s = make(t);
    DBuffer const* const before = s.buffer();
    edit(s);
    return s.buffer() == before;
  };
  auto const upper = [](DString& s) { s.upperCase(); };
  EXPECT_TRUE(same(0, "ab" + c.alpha, upper)); // edited in place
  EXPECT_TRUE(same(0, w, upper));              // nothing to change
  EXPECT_FALSE(same(1, w, upper));             // always a new buffer
  EXPECT_FALSE(same(0, w, [](DString& s) { s.translate("a", 1, "X", 1); }));
  EXPECT_TRUE(
      same(0, "a" + w, [](DString& s) { s.strip(DStringTest(isStar)); }));
  // Everything strippable: the shared empty buffer, except trailing only
  // with flag 0, which makes a new empty one.
  for (int flag : {0, 1})
    for (auto mode :
         {DStringEnum::leading, DStringEnum::both, DStringEnum::trailing}) {
      dtest::I18NState state(flag);
      DString s = make(w + w);
      s.strip(w.data(), w.size(), mode);
      EXPECT_EQ(0u, s.length());
      EXPECT_EQ(flag == 0 && mode == DStringEnum::trailing,
                DBuffer::defaultBuffer() != s.buffer());
      EXPECT_EQ('\0', *static_cast<char const*>(s));
    }
}

// strip() hands the wide strategy's characters to iswspace, never to the
// byte classifier isspace; flag 0's signed bytes are no blanks. Code
// points sampled over the whole range, plus known blanks.
TEST(MbEdit, StripWhiteSpaceClassifiesWideCharacters) {
  DTEST_MB(c);
  std::vector<wchar_t> points = {0x1FE, 0x10FFFD, 0x3000, 0x2028, 0x1680,
                                 0xA0,  0x85,     0x100,  0x2FFFF};
  for (wchar_t p = 0x80; p <= 0x10FFFF; p += 251)
    points.push_back(p);
  int tried = 0;
  for (wchar_t p : points) {
    char out[MB_LEN_MAX];
    std::mbstate_t state{};
    std::size_t const n = std::wcrtomb(out, p, &state);
    if (n == static_cast<std::size_t>(-1))
      continue; // not in this character set
    ++tried;
    for (int flag : {0, 1}) {
      dtest::I18NState const strategy(flag);
      bool const blank = flag == 1 && std::iswspace(static_cast<wint_t>(p));
      EXPECT_EQ(blank ? "" : std::string(out, n),
                edited(" " + std::string(out, n) + "\t",
                       [](DString& s) { s.strip(); }))
          << p << " flag " << flag;
    }
  }
  EXPECT_GT(tried, 40); // EUC-JP holds the fewest
}

TEST(MbEdit, InvalidBytesRaiseOnlyWithTheWideStrategy) {
  DTEST_MB(c);
  std::string const bad = "ab\xFF" + c.wide + "cd";
  std::vector<Edit> const ops{
      [](DString& s) { s.leftJustify(4, '*'); },
      [](DString& s) { s.center(3, '*'); },
      [](DString& s) { s.insert("X", 1, 2, '*'); },
      [](DString& s) { s.overlayWith("X", 1, 2, '*'); },
      [](DString& s) { s.reverse(); },
      [](DString& s) { s.upperCase(); },
      [](DString& s) { s.lowerCase(); },
      [](DString& s) { s.strip("a", 1, DStringEnum::both); },
      [](DString& s) { s.strip(DStringTest(isStar), DStringEnum::both); },
      [](DString& s) { s.translate("a", 1, "b", 1, '*'); },
  };
  dtest::RecordingTrace trace;
  for (std::size_t i = 0; i < ops.size(); ++i) {
    SCOPED_TRACE(i);
    DString s = make(bad);
    {
      dtest::I18NState state(0);
      EXPECT_NO_THROW(ops[i](s));
    }
    dtest::I18NState state(1);
    s = make(bad);
    EXPECT_DEXCEPTION(ops[i](s), DInvalidRequest, 1012, false, "dnlsutil", 725);
    EXPECT_EQ(bad, bytes(s)); // the handle keeps its value
  }
  // An invalid argument of the wide strategy raises too; remove and
  // rightJustify have one strategy: no conversion.
  dtest::I18NState state(1);
  DString s = make("abc");
  EXPECT_DEXCEPTION(s.insert("\xFF", 1, 1, '*'), DInvalidRequest, 1012, false,
                    "dnlsutil", 725);
  EXPECT_DEXCEPTION(s.translate("a", 1, "\xFF", 1, '*'), DInvalidRequest, 1012,
                    false, "dnlsutil", 725);
  DString r = make(bad);
  EXPECT_NO_THROW(r.remove(2, 1));
  EXPECT_NO_THROW(r.rightJustify(2, '*'));
}
