// The multibyte buffer's character model, class tests, multibyte tests,
// comparison and the factory's multibyte branch.
#include "ddbcsb.hpp"
#include "dmbtest.hpp"
#include "dnlsutil.hpp"

#include <clocale>
#include <cwchar>
#include <cwctype>
#include <new>

using dtest::len;

namespace {

// A string whose buffer is a DDBCSBuffer (multibyte locales only).
struct MbText {
  explicit MbText(std::string const& bytes) : s(dtest::make(bytes)) {}
  DDBCSBuffer const& buf() const {
    EXPECT_STREQ("DDBCSBuffer", s.buffer()->className());
    return *static_cast<DDBCSBuffer const*>(s.buffer());
  }
  DString s;
};

unsigned int compareBytes(std::string const& a, std::string const& b) {
  return MbText(a).buf().compare(b.data(), len(b));
}

TEST(MbFactory, BufferClassesAndAllocate) {
  DTEST_MB(mb);
  DString const text("abc");
  EXPECT_STREQ("DDBCSBuffer", DString().buffer()->className());
  EXPECT_STREQ("DBuffer", DBuffer::nullDBuffer->className());
  // Each class keeps its own empty buffer.
  EXPECT_EQ(DBuffer::nullDBuffer, DBuffer::nullDBuffer->null());
  EXPECT_EQ(DBuffer::defaultBuffer(), text.buffer()->null());
  for (DBuffer const* b : {DBuffer::nullDBuffer, text.buffer()}) {
    DBuffer* const e = b->newBuffer(nullptr, 0, nullptr, 0, nullptr, 0, ' ');
    EXPECT_EQ(b->null(), e);
    e->removeRef();
  }
  // The single-byte buffer asks MB_CUR_MAX at each call; the multibyte
  // class always makes its own kind.
  std::string const saved = std::setlocale(LC_CTYPE, nullptr);
  for (char const* locale : {"", "C"}) {
    if (*locale)
      std::setlocale(LC_CTYPE, locale);
    DBuffer* b = DBuffer::nullDBuffer->allocate(3);
    EXPECT_STREQ(*locale ? "DBuffer" : "DDBCSBuffer", b->className());
    EXPECT_EQ(3u, b->length());
    EXPECT_EQ(1u, b->useCount());
    b->removeRef();
    b = DBuffer::defaultBuffer()->allocate(2);
    EXPECT_STREQ("DDBCSBuffer", b->className());
    b->removeRef();
  }
  std::setlocale(LC_CTYPE, saved.c_str());
  dtest::RecordingTrace trace;
  EXPECT_DEXCEPTION(DBuffer::defaultBuffer()->allocate(0xFFFFFFE7u),
                    DInvalidRequest, 1010, true, "dbuffer0", 561);
}

// (The walk over generated text is checked by the multibyte fuzz target.)
TEST(MbCharModel, StaticFormsAndTheTerminator) {
  DTEST_MB(mb);
  std::string const u = std::string("a\0", 2) + mb.wide;
  MbText const nul(u);
  char const* p = nul.s;
  std::mbstate_t state{};
  EXPECT_EQ(0, nul.buf().charType(0));
  EXPECT_EQ(mb.l(), nul.buf().prevCharLength(len(u) + 1, &state));
  EXPECT_EQ(mb.l(), DDBCSBuffer::charLength(p + 2, &state));
  EXPECT_TRUE(DDBCSBuffer::isSBC(p + 1, &state));
  EXPECT_FALSE(DDBCSBuffer::isSBC(p + 2, &state));
  EXPECT_EQ(p + len(u), const_cast<DDBCSBuffer&>(nul.buf()).next(p + 2));
  EXPECT_EQ(p + len(u) + 1, nul.buf().next(p + len(u)));
}

TEST(MbCharModel, IsCharValidMatchesWholeSetCharacters) {
  DTEST_MB(mb);
  MbText const text("a" + mb.dbl + mb.longest);
  unsigned int const w = len(mb.dbl), l = len(mb.longest);
  std::string const set = "xa" + mb.longest, wideSet = mb.longest + mb.dbl;
  EXPECT_TRUE(text.buf().isCharValid(1, set.data(), len(set)));
  EXPECT_FALSE(text.buf().isCharValid(2, set.data(), len(set)));
  EXPECT_TRUE(text.buf().isCharValid(2 + w, set.data(), len(set)));
  EXPECT_TRUE(text.buf().isCharValid(2, wideSet.data(), len(wideSet)));
  EXPECT_FALSE(text.buf().isCharValid(2 + w, mb.longest.data(), l - 1));
  EXPECT_FALSE(text.buf().isCharValid(1, "", 0));
  // Bytes straddling two set characters, or inside one, do not match.
  std::string const straddle = mb.two + mb.two, inner = straddle.substr(1, 2);
  MbText const innerText(inner);
  if (innerText.buf().charType(1) == 1) {
    EXPECT_FALSE(innerText.buf().isCharValid(1, straddle.data(), 4));
    EXPECT_TRUE(innerText.buf().isCharValid(1, inner.data(), 2));
  }
  for (char c : mb.longest) {
    if (static_cast<unsigned char>(c) < 0x80) {
      EXPECT_FALSE(
          MbText(std::string(1, c)).buf().isCharValid(1, mb.longest.data(), l));
    }
  }
}

// (Every class and multibyte test over generated text is checked by the
// multibyte fuzz target.)
TEST(MbCharClass, EmptyTextAndASCII) {
  DTEST_MB(mb);
  using Test = bool (DBuffer::*)() const;
  for (Test test :
       {&DBuffer::isAlphanumeric, &DBuffer::isAlphabetic, &DBuffer::isASCII,
        &DBuffer::isControl, &DBuffer::isDigits, &DBuffer::isGraphics,
        &DBuffer::isHexDigits, &DBuffer::isLowerCase, &DBuffer::isPrintable,
        &DBuffer::isPunctuation, &DBuffer::isUpperCase, &DBuffer::isWhiteSpace})
    EXPECT_FALSE((DBuffer::defaultBuffer()->*test)());
  EXPECT_TRUE(MbText(std::string("a\0\x7F", 3)).buf().isASCII());
  EXPECT_FALSE(MbText("a" + mb.dbl).buf().isASCII());
  EXPECT_FALSE(MbText("a\x80").buf().isASCII());
}

// Overrides three slots to show that the derived tests go through them.
class ProbeBuffer : public DDBCSBuffer {
public:
  ProbeBuffer() : DDBCSBuffer(0) {}
  bool isMBCS() const override { return true; }
  bool isSBCS() const override { return true; }
  bool isValidMBCS() const override { return false; }
};

TEST(MbCharClass, DerivedTestsCallThroughTheirSlotsAndWideValues) {
  DTEST_MB(mb);
  alignas(ProbeBuffer) unsigned char storage[sizeof(ProbeBuffer) + 1];
  ProbeBuffer* const probe = new (storage) ProbeBuffer;
  EXPECT_TRUE(probe->isDBCS());
  EXPECT_FALSE(probe->includesSBCS() || probe->includesMBCS() ||
               probe->includesDBCS() || probe->isValidDBCS());
  probe->~ProbeBuffer();
  // windexOfAnyBut tests wide values; bytes that start no character reach
  // the test as WEOF.
  std::string const t = "ab" + mb.dbl + "1c";
  unsigned int const one = 3 + len(mb.dbl);
  DStringTest const alpha(zyn_iswalpha);
  for (unsigned int start : {0u, 3u})
    EXPECT_EQ(one, MbText(t).buf().windexOfAnyBut(alpha, start));
  EXPECT_EQ(0u, MbText(t).buf().windexOfAnyBut(alpha, one + 1));
  EXPECT_EQ(0u, MbText(t).buf().windexOfAnyBut(alpha, len(t) + 1));
  struct Recorder : DStringTest {
    int test(int c) const override { return seen.push_back(c), 1; }
    mutable std::vector<int> seen;
  } recorder;
  EXPECT_EQ(
      0u,
      MbText("a" + mb.invalid[0] + mb.dbl).buf().windexOfAnyBut(recorder, 1));
  std::vector<int> want = {'a'};
  want.insert(want.end(), mb.invalid[0].size(), static_cast<int>(WEOF));
  std::mbstate_t state{};
  wchar_t wc = 0;
  std::mbrtowc(&wc, mb.dbl.data(), mb.dbl.size(), &state);
  want.push_back(static_cast<int>(wc));
  EXPECT_EQ(want, recorder.seen);
}

TEST(MbCompare, BytesWithFlagZeroWideSegmentsWithFlagOne) {
  DTEST_MB(mb);
  std::string const z(1, '\0'), bad = mb.invalid[0];
  // Text, argument and the answer with flag 1; flag 0 compares bytes.
  std::vector<std::tuple<std::string, std::string, unsigned int>> const rows = {
      {"abc", "abd", 2},
      {"ab", "abc", 2},
      {"abc", "ab", 1},
      {"", "", 0},
      {"", "x", 2},
      {"x", "", 1},
      {"a" + z, "a", 0},
      {z + z + "a", z + "a", 1},
      {z + "a", z + z + "a", 2},
      {"a" + z + "b", "a" + z + z + "b", 2},
      {z, z, 0},
      {z, z + "x", 2},
      {"a" + z + z, "a" + z, 1},
      {"a" + z + "b", "a" + z + "c", 2},
      {"b" + z + "a", "a" + z + "b", 1},
      {"a" + bad + "a", "a" + bad + "b", 2},
      {bad, bad, 0},
      {"a" + bad + "b", "a" + bad + "a", 1},
      {mb.dbl, "a", 1},
      {"ab" + mb.truncated, "ab" + mb.truncated + "x", 2}};
  dtest::RecordingTrace trace;
  for (auto const& [a, b, wide] : rows) {
    SCOPED_TRACE(testing::PrintToString(a) + " / " + testing::PrintToString(b));
    int const order = a.compare(b);
    dtest::I18NState flag(0);
    EXPECT_EQ(order < 0 ? 2u : order > 0 ? 1u : 0u, compareBytes(a, b));
    dtest::I18NState wideFlag(1);
    EXPECT_EQ(wide, compareBytes(a, b));
  }
  EXPECT_EQ(0, trace.logged);
  dtest::I18NState const flag(1);
  MbText const self("abc");
  EXPECT_EQ(0u, self.buf().compare(static_cast<char const*>(self.s), 3));
  EXPECT_EQ(1u, self.buf().compare(nullptr, 3));
  // Segments follow wcscoll of their wide conversions, then byte lengths.
  std::string const words[] = {"a",    "B",       "abc",
                               mb.dbl, mb.narrow, "a" + mb.longest};
  for (std::string const& a : words)
    for (std::string const& b : words) {
      int const order =
          std::wcscoll(DWBuffer(a.c_str()).data(), DWBuffer(b.c_str()).data());
      int const size = int(a.size()) - int(b.size());
      int const by = order ? order : size;
      EXPECT_EQ(by < 0 ? 2u : by > 0 ? 1u : 0u, compareBytes(a, b)) << a << b;
    }
  if (dtest::localeIs("UTF-8")) {
    EXPECT_EQ(2u, compareBytes("a", "B")); // bytes would say 1
  }
}

} // namespace
