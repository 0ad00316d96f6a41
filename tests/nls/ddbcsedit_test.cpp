// Multibyte edits: bad bytes raise with the wide strategy, which buffer an
// edit leaves, and wide copies freed when a predicate throws. (What every
// edit makes of valid text, and that flag 0 never raises: fuzz_mb.)
#include "ddbcsb.hpp"
#include "dmbtest.hpp"

#include <functional>
#include <malloc.h>
#include <sstream>

using dtest::bytes;
using dtest::make;
using Edit = std::function<void(DString&)>;

static int isStar(int c) {
  return c == '*';
}

TEST(MbEdit, BadBytesRaiseWithTheWideStrategy) {
  DTEST_MB(c);
  std::string const bad = "ab\xFF" + c.wide + "cd";
  Edit const edits[] = {
      [](DString& s) { s.leftJustify(4, '*'); },
      [](DString& s) { s.center(3, '*'); },
      [](DString& s) { s.insert("X", 1, 2, '*'); },
      [](DString& s) { s.overlayWith("X", 1, 2, '*'); },
      [](DString& s) { s.reverse(); }, [](DString& s) { s.upperCase(); },
      [](DString& s) { s.strip("a", 1, DStringEnum::both); },
      [](DString& s) { s.strip(DStringTest(isStar), DStringEnum::both); },
      [](DString& s) { s.translate("a", 1, "b", 1, '*'); },
      [](DString& s) { s = s.subString(1, 3, '*'); },
      [](DString& s) { s.indexOfAnyOf(DStringTest(isStar), 1); },
      // An invalid argument raises too.
      [](DString& s) { s = "abc", s.insert("\xFF", 1, 1, '*'); }};
  dtest::RecordingTrace trace;
  dtest::I18NState const flag(1);
  for (Edit const& edit : edits) {
    DString s = make(bad);
    EXPECT_DEXCEPTION(edit(s), DInvalidRequest, 1012, false, "dnlsutil", 725);
  }
  // Backwards, the character number is looked up first; with a bad byte
  // before the start there is none: 0, no conversion.
  EXPECT_EQ(0u, make(bad).lastIndexOfAnyBut(DStringTest(isStar), ~0u));
}

TEST(MbEdit, ResultBuffers) {
  DTEST_MB(c);
  std::string const w = c.wide;
  // Flag, text, edit, whether the unshared buffer is kept.
  std::tuple<int, std::string, Edit, bool> const rows[] = {
      {0, "ab" + w, [](DString& s) { s.upperCase(); }, true}, // in place
      {0, w, [](DString& s) { s.upperCase(); }, true},        // no letter
      {1, w, [](DString& s) { s.upperCase(); }, false},
      {0, w, [](DString& s) { s.translate("a", 1, "X", 1); }, false},
      {0, "a" + w, [](DString& s) { s.strip(DStringTest(isStar)); }, true}};
  for (auto const& [flag, text, edit, kept] : rows) {
    dtest::I18NState const state(flag);
    DString s = make(text);
    DBuffer const* const before = s.buffer();
    edit(s);
    EXPECT_EQ(kept, s.buffer() == before) << testing::PrintToString(text);
  }
  // Everything stripped: the shared empty buffer, except trailing only
  // with flag 0, which makes a new empty one.
  for (int flag : {0, 1})
    for (auto mode :
         {DStringEnum::leading, DStringEnum::both, DStringEnum::trailing}) {
      dtest::I18NState const state(flag);
      DString s = make(w + w);
      s.strip(w.data(), c.l(), mode);
      EXPECT_EQ(flag == 0 && mode == DStringEnum::trailing,
                DBuffer::defaultBuffer() != s.buffer());
      EXPECT_EQ("", bytes(s));
    }
}

TEST(MbEdit, ThrowingPredicatesLeakNothing) {
  DTEST_MB(c);
  std::string text;
  for (int i = 0; i < 1000; ++i)
    text += c.wide;
  dtest::I18NState const flag(1);
  DStringTest const thrower([](int) -> int { throw 7; });
  auto const run = [&] {
    for (int i = 0; i < 40; ++i) {
      DString s = make(text);
      EXPECT_THROW(s.indexOfAnyOf(thrower, 1), int);
      EXPECT_THROW(s.lastIndexOfAnyBut(thrower, ~0u), int);
      EXPECT_THROW(s.strip(thrower, DStringEnum::both), int);
    }
  };
  run(); // warm up whatever the C++ runtime keeps
  std::size_t const before = mallinfo2().uordblks;
  run();
  // 120 lost wide copies would be over a megabyte (0 under ASan).
  EXPECT_LT(mallinfo2().uordblks, before + 64 * 1024);
}

// Stream input into a target holding multibyte text: a word that ends in a
// lead byte (or a cut-off character) is stored exactly as read, never cut
// back to a character start; lineFrom reads the same bytes.
TEST(MbStreamInput, WordsAndLinesKeepTheirBytes) {
  DTEST_MB(c);
  std::string const a = c.wide, lead = a.substr(0, 1), cut = a.substr(0, 2);
  struct Case {
    std::string target, input, word;
  } const cases[] = {{a, lead + " rest", lead},
                     {"x" + a, "x" + lead + "\n", "x" + lead},
                     {a + a, a + lead + "\t", a + lead},
                     {a, cut + " ", cut},
                     {"", lead + " ", lead},
                     {std::string(200, 'z') + a,
                      std::string(130, 'y') + lead + " ",
                      std::string(130, 'y') + lead}};
  for (int flag : {0, 1}) {
    dtest::I18NState const strategy(flag);
    for (auto const& k : cases) {
      SCOPED_TRACE("flag " + std::to_string(flag) + " input " + k.input);
      std::istringstream in(k.input);
      DString target = make(k.target);
      in >> target;
      EXPECT_EQ(k.word, bytes(target));
      std::istringstream line(k.word + "\n" + k.input);
      EXPECT_EQ(k.word, bytes(DString::lineFrom(line)));
    }
  }
}
