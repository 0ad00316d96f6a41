// The multibyte buffer: the factory's multibyte branch and the 1010 bound,
// the character model's static forms, set members and the comparison of
// bytes that are no characters. (Searches, edits, classes, the walk and
// the collation of valid text are checked against models by fuzz_mb.)
#include "ddbcsb.hpp"
#include "dmbtest.hpp"

#include <clocale>

using dtest::len;
using dtest::make;

TEST(MbFactory, BufferClassesAndAllocate) {
  DTEST_MB(c);
  DString const text("abc");
  EXPECT_STREQ("DDBCSBuffer", DString().buffer()->className());
  EXPECT_STREQ("DBuffer", DBuffer::nullDBuffer->className());
  // Each class keeps its own empty buffer.
  EXPECT_EQ(DBuffer::nullDBuffer, DBuffer::nullDBuffer->null());
  EXPECT_EQ(DBuffer::defaultBuffer(), text.buffer()->null());
  // The single-byte buffer asks MB_CUR_MAX at each call; the multibyte
  // class always makes its own kind.
  std::string const saved = std::setlocale(LC_CTYPE, nullptr);
  for (char const* locale : {"", "C"}) {
    if (*locale)
      std::setlocale(LC_CTYPE, locale);
    for (DBuffer const* b : {DBuffer::nullDBuffer, text.buffer()}) {
      DBuffer* const made = b->allocate(3);
      EXPECT_STREQ(*locale && b == DBuffer::nullDBuffer ? "DBuffer"
                                                        : "DDBCSBuffer",
                   made->className());
      EXPECT_EQ(3u, made->length() * made->useCount());
      made->removeRef();
      DBuffer* const e = b->newBuffer(nullptr, 0, nullptr, 0, nullptr, 0, ' ');
      EXPECT_EQ(b->null(), e);
      e->removeRef();
    }
  }
  std::setlocale(LC_CTYPE, saved.c_str());
  dtest::RecordingTrace trace;
  EXPECT_DEXCEPTION(DBuffer::defaultBuffer()->allocate(0xFFFFFFE7u),
                    DInvalidRequest, 1010, true, "dbuffer0", 561);
}

TEST(MbCharModel, StaticFormsAndSetMembers) {
  DTEST_MB(c);
  std::string const t = std::string("a\0", 2) + c.wide + c.two;
  DString const s = make(t);
  auto const& b = *static_cast<DDBCSBuffer const*>(s.buffer());
  char const* const p = s;
  std::mbstate_t state{};
  EXPECT_EQ(0, b.charType(0));
  EXPECT_EQ(p + len(t) + 1, b.next(p + len(t))); // past the terminator
  EXPECT_TRUE(DDBCSBuffer::isSBC(p + 1, &state));
  EXPECT_FALSE(DDBCSBuffer::isSBC(p + 2, &state));
  EXPECT_EQ(c.l(), DDBCSBuffer::charLength(p + 2, &state));
  // A set matches whole characters: not a character cut by the set's
  // length, nor bytes across two set characters or inside one.
  std::string const set = "x" + c.two + c.wide, across = c.two + c.two;
  EXPECT_TRUE(b.isCharValid(3, set.data(), len(set)));
  EXPECT_FALSE(b.isCharValid(3, set.data(), len(set) - 1));
  EXPECT_FALSE(b.isCharValid(1, "", 0));
  DString const inner = make(across.substr(1, 2));
  EXPECT_FALSE(static_cast<DDBCSBuffer const*>(inner.buffer())
                   ->isCharValid(1, across.data(), len(across)));
}

// Segments holding bytes that are no characters compare by their bytes,
// without a report. (The NUL-separated segments: DBufferCompare.)
TEST(MbCompare, BadBytesCompareAsBytes) {
  DTEST_MB(c);
  std::string const bad = c.invalid[0];
  struct Case {
    std::string a, b;
    unsigned int want;
  } const cases[] = {{"a" + bad + "a", "a" + bad + "b", 2},
                     {bad, bad, 0},
                     {"a" + bad + "b", "a" + bad + "a", 1},
                     {"ab" + c.truncated, "ab" + c.truncated + "x", 2}};
  dtest::RecordingTrace trace;
  dtest::I18NState const flag(1);
  for (Case const& k : cases)
    EXPECT_EQ(k.want, make(k.a).buffer()->compare(k.b.data(), len(k.b)))
        << testing::PrintToString(k.a) << " " << testing::PrintToString(k.b);
  EXPECT_EQ(0, trace.logged);
}
