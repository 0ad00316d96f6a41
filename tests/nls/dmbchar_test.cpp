// The rules of the multibyte character model for invalid and cut-off
// sequences, seen through the members that walk with each rule: charType()
// (one byte each, stateful walk), startSearch()/startBackwardsSearch()
// (one byte each, resynchronising walk), windexOfAnyBut() (one byte each
// with the value WEOF), the position mappings (MB_CUR_MAX stretch, an
// invalid byte ends the walk) and the conversion (raises 1012).
#include "ddbcsb.hpp"
#include "dexcept.hpp"
#include "dmbtest.hpp"
#include "dnlsutil.hpp"

#include <string_view>

namespace {

DDBCSBuffer const& mbBuffer(DString const& s) {
  EXPECT_STREQ("DDBCSBuffer", s.buffer()->className());
  return *static_cast<DDBCSBuffer const*>(s.buffer());
}

unsigned int len(std::string const& s) {
  return static_cast<unsigned int>(s.size());
}

int notWeof(int value) {
  return value != static_cast<int>(WEOF);
}

} // namespace

TEST(MbBadByte, EachRuleCountsBadBytesItsOwnWay) {
  DTEST_MB(c);
  unsigned int const l = c.l();
  // "a", an invalid byte, a whole character, a NUL, a lead byte cut off by
  // the end of the text.
  std::string const lead = c.wide.substr(0, 1);
  std::string const t = "a\xFF" + c.wide + std::string(1, '\0') + lead;
  DString const s{std::string_view(t)};
  DDBCSBuffer const& b = mbBuffer(s);
  unsigned int const nul = 3 + l;
  unsigned int const cut = 4 + l;

  for (int flag : {0, 1}) {
    dtest::I18NState const state(flag);
    // One byte each: the invalid byte, the NUL and the cut lead byte are
    // characters of their own; the whole character is still found.
    EXPECT_EQ(0, b.charType(2));
    EXPECT_EQ(1, b.charType(3));
    EXPECT_EQ(static_cast<int>(l), b.charType(2 + l));
    EXPECT_EQ(0, b.charType(nul));
    EXPECT_EQ(0, b.charType(cut));
    EXPECT_EQ(2u, b.startSearch(2, 1));
    EXPECT_EQ(nul, b.startSearch(4, 1));
    EXPECT_EQ(cut, b.startSearch(cut, 1));
    EXPECT_EQ(3u, b.startBackwardsSearch(2 + l, 1));
    EXPECT_EQ(cut, b.startBackwardsSearch(cut, 1));
    // The same, with wide values: the bad bytes alone have none.
    DStringTest const valued(notWeof);
    EXPECT_EQ(2u, b.windexOfAnyBut(valued, 1));
    EXPECT_EQ(cut, b.windexOfAnyBut(valued, 3));
  }

  // The position mappings: an invalid byte ends the walk...
  EXPECT_EQ(1u, findCharNum(t.data(), len(t), 1));
  EXPECT_EQ(0u, findCharNum(t.data(), len(t), 2));
  EXPECT_EQ(0u, findBytePos(t.data(), len(t), 3));
  // ...and a cut-off sequence is a stretch of MB_CUR_MAX bytes that
  // completes no character: it counts as the next character, which has no
  // position behind it.
  std::string const u = c.wide + lead;
  EXPECT_EQ(2u, findCharNum(u.data(), len(u), l + 1));
  EXPECT_EQ(l + 1, findCurPos(u.data(), len(u), l + 1));
  EXPECT_EQ(l + 1, findBytePos(u.data(), len(u), 2));
  EXPECT_EQ(0u, findNextPos(u.data(), len(u), l + 1));
  EXPECT_EQ(0u, findBytePos(u.data(), len(u), 3));
  // And for the conversion both are errors.
  EXPECT_DEXCEPTION(DWBuffer(t.data(), 2), DInvalidRequest, 1012, false,
                    "dnlsutil", 725);
  EXPECT_DEXCEPTION(DWBuffer(u.data(), l + 1), DInvalidRequest, 1012, false,
                    "dnlsutil", 760);
  EXPECT_EQ(1u, DWBuffer(u.data(), l).count());
}
