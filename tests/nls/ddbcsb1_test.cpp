// The multibyte buffer's character model, class tests, multibyte tests,
// comparison and the factory's multibyte branch.
#include "ddbcsb.hpp"
#include "dmbsamples.hpp"
#include "dnlsutil.hpp"
#include "dtest_support.hpp"

#include <clocale>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <new>
#include <string>
#include <vector>

namespace {

unsigned int len(std::string const& s) {
  return static_cast<unsigned int>(s.size());
}

// A string whose buffer is a DDBCSBuffer (multibyte locales only).
struct MbText {
  explicit MbText(std::string const& bytes) : s(std::string_view(bytes)) {}
  DDBCSBuffer const& buf() const {
    EXPECT_STREQ("DDBCSBuffer", s.buffer()->className());
    return *static_cast<DDBCSBuffer const*>(s.buffer());
  }
  DString s;
};

//===--- Factory ----------------------------------------------------------===//

TEST(MbFactory, MultibyteLocaleMakesMultibyteBuffers) {
  DTEST_MB_SAMPLES(mb);
  DString const text("abc");
  DString const empty;
  EXPECT_STREQ("DDBCSBuffer", text.buffer()->className());
  EXPECT_STREQ("DDBCSBuffer", empty.buffer()->className());
  ASSERT_NE(nullptr, DBuffer::nullDBuffer);
  EXPECT_STREQ("DBuffer", DBuffer::nullDBuffer->className());
  EXPECT_EQ(0u, DBuffer::nullDBuffer->length());
  // Each class keeps its own empty buffer.
  EXPECT_EQ(DBuffer::nullDBuffer, DBuffer::nullDBuffer->null());
  EXPECT_EQ(DBuffer::defaultBuffer(), text.buffer()->null());
  DBuffer* const single =
      DBuffer::nullDBuffer->newBuffer(nullptr, 0, nullptr, 0, nullptr, 0, ' ');
  EXPECT_EQ(DBuffer::nullDBuffer, single);
  single->removeRef();
  DBuffer* const multi =
      text.buffer()->newBuffer(nullptr, 0, nullptr, 0, nullptr, 0, ' ');
  EXPECT_EQ(DBuffer::defaultBuffer(), multi);
  multi->removeRef();
}

TEST(MbFactory, AllocateReadsTheLocaleAtEachCall) {
  DTEST_MB_SAMPLES(mb);
  std::string const saved = std::setlocale(LC_CTYPE, nullptr);
  // The single-byte buffer asks MB_CUR_MAX: multibyte now, so DDBCSBuffer.
  DBuffer* b = DBuffer::nullDBuffer->allocate(3);
  EXPECT_STREQ("DDBCSBuffer", b->className());
  EXPECT_EQ(3u, b->length());
  EXPECT_EQ('\0', b->contents()[3]);
  EXPECT_EQ(1u, b->useCount());
  b->removeRef();
  ASSERT_NE(nullptr, std::setlocale(LC_CTYPE, "C"));
  b = DBuffer::nullDBuffer->allocate(2);
  EXPECT_STREQ("DBuffer", b->className());
  b->removeRef();
  // The multibyte class always makes its own kind.
  b = DBuffer::defaultBuffer()->allocate(2);
  EXPECT_STREQ("DDBCSBuffer", b->className());
  b->removeRef();
  std::setlocale(LC_CTYPE, saved.c_str());
}

TEST(MbFactory, AllocateOverflow) {
  DTEST_MB_SAMPLES(mb);
  dtest::RecordingTrace trace;
  DBuffer const* const empty = DBuffer::defaultBuffer();
  for (unsigned int n : {0xFFFFFFE7u, 0xFFFFFFFFu})
    EXPECT_DEXCEPTION(empty->allocate(n), DInvalidRequest, 1010, true,
                      "dbuffer0", 561);
  EXPECT_DEXCEPTION(DBuffer::nullDBuffer->allocate(0xFFFFFFE7u),
                    DInvalidRequest, 1010, true, "dbuffer0", 561);
  EXPECT_STREQ("DDBCSBuffer", empty->className());
  EXPECT_EQ(empty->className(), DString("x").buffer()->className());
}

//===--- Character model --------------------------------------------------===//

TEST(MbCharModel, CharTypeWalksWholeCharacters) {
  DTEST_MB_SAMPLES(mb);
  std::string const t = "a" + mb->longest + "b" + mb->two;
  unsigned int const l = len(mb->longest);
  MbText const text(t);
  std::vector<int> want = {0};
  for (unsigned int k = 1; k <= l; ++k)
    want.push_back(static_cast<int>(k));
  want.push_back(0);
  want.push_back(1);
  want.push_back(2);
  for (int state : {0, 1}) {
    dtest::I18NState const flag(state);
    EXPECT_EQ(0, text.buf().charType(0));
    for (unsigned int pos = 1; pos <= len(t); ++pos) {
      SCOPED_TRACE(pos);
      EXPECT_EQ(want[pos - 1], text.buf().charType(pos));
    }
    EXPECT_EQ(1u, text.buf().prevCharLength(1));
    EXPECT_EQ(1u, text.buf().prevCharLength(2));
    EXPECT_EQ(l, text.buf().prevCharLength(l + 2));
    EXPECT_EQ(1u, text.buf().prevCharLength(l + 3));
    EXPECT_EQ(2u, text.buf().prevCharLength(len(t) + 1));
    std::mbstate_t ignored = std::mbstate_t();
    EXPECT_EQ(l, text.buf().prevCharLength(l + 2, &ignored));
  }
}

TEST(MbCharModel, MeasuresCharactersWithOneState) {
  DTEST_MB_SAMPLES(mb);
  std::string const t = std::string("a\0", 2) + mb->wide + mb->longest;
  MbText const text(t);
  std::mbstate_t state = std::mbstate_t();
  unsigned int pos = 1;
  std::vector<unsigned int> sizes;
  while (pos <= len(t)) {
    unsigned int const n = text.buf().charLength(pos, &state);
    sizes.push_back(n);
    pos += n;
  }
  std::vector<unsigned int> const want = {1, 1, len(mb->wide),
                                          len(mb->longest)};
  EXPECT_EQ(want, sizes);
  // The static form and next() agree; the terminator measures one.
  char const* p = text.s;
  state = std::mbstate_t();
  EXPECT_EQ(len(mb->wide), DDBCSBuffer::charLength(p + 2, &state));
  EXPECT_TRUE(DDBCSBuffer::isSBC(p, &state));
  EXPECT_TRUE(DDBCSBuffer::isSBC(p + 1, &state));
  EXPECT_FALSE(DDBCSBuffer::isSBC(p + 2, &state));
  DDBCSBuffer& writable = const_cast<DDBCSBuffer&>(text.buf());
  EXPECT_EQ(p + 1, text.buf().next(p));
  EXPECT_EQ(p + 2, text.buf().next(p + 1));
  EXPECT_EQ(p + 2 + len(mb->wide), text.buf().next(p + 2));
  EXPECT_EQ(p + len(t), writable.next(p + 2 + len(mb->wide)));
  EXPECT_EQ(p + len(t) + 1, text.buf().next(p + len(t)));
}

TEST(MbCharModel, BadBytesAreOneByteCharacters) {
  DTEST_MB_SAMPLES(mb);
  std::vector<std::string> texts;
  for (std::string const& bad : mb->invalid)
    texts.push_back("a" + bad + "b");
  texts.push_back("ab" + mb->truncated);
  texts.push_back(mb->truncated);
  // A multibyte character cut by an embedded NUL.
  texts.push_back(mb->wide.substr(0, 1) + std::string(1, '\0') +
                  mb->wide.substr(1));
  for (std::string const& t : texts) {
    MbText const text(t);
    SCOPED_TRACE(dtest::bytes(text.s));
    std::mbstate_t state = std::mbstate_t();
    for (unsigned int pos = 1; pos <= len(t); ++pos) {
      SCOPED_TRACE(pos);
      EXPECT_EQ(0, text.buf().charType(pos));
      EXPECT_EQ(1u, text.buf().charLength(pos, &state));
      char const* p = static_cast<char const*>(text.s) + pos - 1;
      EXPECT_EQ(p + 1, text.buf().next(p));
      EXPECT_EQ(1u, text.buf().prevCharLength(pos + 1));
    }
  }
  // The walk goes on with the same clean state: a valid character behind
  // the bad bytes still measures whole.
  for (std::string const& bad : mb->invalid) {
    std::string const t = "a" + bad + "b";
    MbText const tail(t + mb->wide);
    SCOPED_TRACE(dtest::bytes(tail.s));
    EXPECT_EQ(1, tail.buf().charType(len(t) + 1));
    EXPECT_EQ(static_cast<int>(len(mb->wide)),
              tail.buf().charType(len(t) + len(mb->wide)));
  }
}

TEST(MbCharModel, IsCharValidMatchesWholeSetCharacters) {
  DTEST_MB_SAMPLES(mb);
  std::string const t = "a" + mb->wide + mb->longest;
  MbText const text(t);
  unsigned int const w = len(mb->wide);
  std::string const set = "xa" + mb->longest;
  EXPECT_TRUE(text.buf().isCharValid(1, set.data(), len(set)));
  EXPECT_FALSE(text.buf().isCharValid(2, set.data(), len(set)));
  EXPECT_TRUE(text.buf().isCharValid(2 + w, set.data(), len(set)));
  std::string const wideSet = mb->longest + mb->wide;
  EXPECT_TRUE(text.buf().isCharValid(2, wideSet.data(), len(wideSet)));
  // Too short for the character, or holding only part of it.
  EXPECT_FALSE(
      text.buf().isCharValid(2 + w, mb->longest.data(), len(mb->longest) - 1));
  EXPECT_FALSE(text.buf().isCharValid(1, "", 0));
  // The character's bytes straddling two set characters do not match it.
  std::string const straddle = mb->two + mb->two;
  std::string const inner = straddle.substr(1, 2);
  MbText const innerText(inner);
  if (innerText.buf().charType(1) == 1) {
    EXPECT_FALSE(
        innerText.buf().isCharValid(1, straddle.data(), len(straddle)));
    EXPECT_TRUE(innerText.buf().isCharValid(1, inner.data(), 2));
  }
  // A one-byte character inside a multibyte set character does not match.
  for (char c : mb->longest) {
    if (static_cast<unsigned char>(c) < 0x80) {
      MbText const single(std::string(1, c));
      EXPECT_FALSE(
          single.buf().isCharValid(1, mb->longest.data(), len(mb->longest)));
    }
  }
}

//===--- Character classes ------------------------------------------------===//

TEST(MbCharClass, WideClassificationOfEveryCharacter) {
  DTEST_MB_SAMPLES(mb);
  using Test = bool (DBuffer::*)() const;
  struct Case {
    std::string text;
    Test test;
    bool want;
  };
  std::string const bad = mb->invalid[0];
  std::vector<Case> const cases = {
      {"ab" + mb->wide, &DBuffer::isAlphabetic, true},
      {"ab" + mb->wide + "1", &DBuffer::isAlphabetic, false},
      {"a" + bad, &DBuffer::isAlphabetic, false},
      {"a1" + mb->wide, &DBuffer::isAlphanumeric, true},
      {"0123", &DBuffer::isDigits, true},
      {"12a", &DBuffer::isDigits, false},
      {"09afAF", &DBuffer::isHexDigits, true},
      {"\x01\x1f", &DBuffer::isControl, true},
      {"\x01" + bad, &DBuffer::isControl, false},
      {std::string("\x01\0", 2), &DBuffer::isControl, true},
      {" \t" + mb->ideoSpace, &DBuffer::isWhiteSpace, true},
      {" x", &DBuffer::isWhiteSpace, false},
      {"ab" + mb->wide, &DBuffer::isGraphics, true},
      {"a b", &DBuffer::isGraphics, false},
      {"a b" + mb->wide, &DBuffer::isPrintable, true},
      {"a" + bad, &DBuffer::isPrintable, false},
      {"!?", &DBuffer::isPunctuation, true},
      {"abc", &DBuffer::isLowerCase, true},
      {"aBc", &DBuffer::isLowerCase, false},
      {"ABC", &DBuffer::isUpperCase, true},
      {"abc", &DBuffer::isASCII, true},
      {"a" + mb->wide, &DBuffer::isASCII, false},
  };
  for (int state : {0, 1}) {
    dtest::I18NState const flag(state);
    for (Case const& c : cases) {
      MbText const text(c.text);
      SCOPED_TRACE(dtest::bytes(text.s));
      EXPECT_EQ(c.want, (text.buf().*c.test)());
    }
  }
}

TEST(MbCharClass, EmptyTextFailsEveryClass) {
  DTEST_MB_SAMPLES(mb);
  DBuffer const* const empty = DBuffer::defaultBuffer();
  for (auto test :
       {&DBuffer::isAlphanumeric, &DBuffer::isAlphabetic, &DBuffer::isASCII,
        &DBuffer::isControl, &DBuffer::isDigits, &DBuffer::isGraphics,
        &DBuffer::isHexDigits, &DBuffer::isLowerCase, &DBuffer::isPrintable,
        &DBuffer::isPunctuation, &DBuffer::isUpperCase, &DBuffer::isWhiteSpace})
    EXPECT_FALSE((empty->*test)());
}

TEST(MbCharClass, WindexOfAnyButTestsWideValues) {
  DTEST_MB_SAMPLES(mb);
  std::string const t = "ab" + mb->wide + "1c";
  MbText const text(t);
  unsigned int const one = 3 + len(mb->wide);
  DStringTest const alpha(zyn_iswalpha);
  EXPECT_EQ(one, text.buf().windexOfAnyBut(alpha, 0));
  EXPECT_EQ(one, text.buf().windexOfAnyBut(alpha, 3));
  EXPECT_EQ(0u, text.buf().windexOfAnyBut(alpha, one + 1));
  EXPECT_EQ(0u, text.buf().windexOfAnyBut(alpha, len(t) + 1));
  // Bytes that start no character reach the test as WEOF.
  struct Recorder : DStringTest {
    int test(int c) const override {
      seen.push_back(c);
      return 1;
    }
    mutable std::vector<int> seen;
  } recorder;
  MbText const bad("a" + mb->invalid[0] + mb->wide);
  EXPECT_EQ(0u, bad.buf().windexOfAnyBut(recorder, 1));
  std::vector<int> want = {'a'};
  want.insert(want.end(), mb->invalid[0].size(), static_cast<int>(WEOF));
  std::mbstate_t state = std::mbstate_t();
  wchar_t wc = 0;
  std::mbrtowc(&wc, mb->wide.data(), mb->wide.size(), &state);
  want.push_back(static_cast<int>(wc));
  EXPECT_EQ(want, recorder.seen);
}

TEST(MbCharClass, WrappersMatchLibc) {
  DTEST_MB_SAMPLES(mb);
  using Fn = int (*)(int);
  using WFn = int (*)(wint_t);
  struct Pair {
    Fn ours;
    WFn libc;
  };
  Pair const pairs[] = {
      {zyn_iswalnum, std::iswalnum}, {zyn_iswalpha, std::iswalpha},
      {zyn_iswcntrl, std::iswcntrl}, {zyn_iswdigit, std::iswdigit},
      {zyn_iswgraph, std::iswgraph}, {zyn_iswxdigit, std::iswxdigit},
      {zyn_iswlower, std::iswlower}, {zyn_iswprint, std::iswprint},
      {zyn_iswpunct, std::iswpunct}, {zyn_iswupper, std::iswupper},
      {zyn_iswspace, std::iswspace}};
  int const values[] = {'a', 'Z',    '5',    ' ',  '\n',
                        '!', 0x3042, 0x3000, 0xE9, static_cast<int>(WEOF)};
  for (Pair const& p : pairs)
    for (int v : values)
      EXPECT_EQ(p.libc(static_cast<wint_t>(v)) != 0, p.ours(v) != 0) << v;
}

//===--- Multibyte tests --------------------------------------------------===//

TEST(MbMultibyteTests, AnsweredFromTheText) {
  DTEST_MB_SAMPLES(mb);
  struct Case {
    std::string text;
    bool isMBCS, isSBCS, isValidMBCS;
  };
  std::vector<Case> const cases = {
      {"", true, true, true},
      {mb->wide + mb->wide, true, false, true},
      {mb->narrow + mb->narrow, false, true, true},
      {mb->wide + mb->narrow, false, false, true},
      {"a" + mb->wide, false, false, false},
      {"abc", false, true, false},
      {mb->invalid[0] + mb->wide, false, false, false},
      {mb->wide + mb->truncated, false, false, false},
      {mb->wide + std::string(1, '\0'), false, false, false},
  };
  for (int state : {0, 1}) {
    dtest::I18NState const flag(state);
    for (Case const& c : cases) {
      MbText const text(c.text);
      DBuffer const& b = text.buf();
      SCOPED_TRACE(dtest::bytes(text.s));
      EXPECT_EQ(c.isMBCS, b.isMBCS());
      EXPECT_EQ(c.isMBCS, b.isDBCS());
      EXPECT_EQ(c.isSBCS, b.isSBCS());
      EXPECT_EQ(c.isValidMBCS, b.isValidMBCS());
      EXPECT_EQ(c.isValidMBCS, b.isValidDBCS());
      EXPECT_EQ(!c.isSBCS, b.includesMBCS());
      EXPECT_EQ(!c.isSBCS, b.includesDBCS());
      EXPECT_EQ(!c.isMBCS, b.includesSBCS());
    }
  }
}

// Overrides two slots to show that the derived tests go through them.
class ProbeBuffer : public DDBCSBuffer {
public:
  ProbeBuffer() : DDBCSBuffer(0) {}
  bool isMBCS() const override { return true; }
  bool isSBCS() const override { return true; }
  bool isValidMBCS() const override { return false; }
};

TEST(MbMultibyteTests, DerivedTestsCallThroughTheirSlots) {
  DTEST_MB_SAMPLES(mb);
  alignas(ProbeBuffer) unsigned char storage[sizeof(ProbeBuffer) + 1];
  ProbeBuffer* const probe = new (storage) ProbeBuffer;
  EXPECT_TRUE(probe->isDBCS());
  EXPECT_FALSE(probe->includesSBCS());
  EXPECT_FALSE(probe->includesMBCS());
  EXPECT_FALSE(probe->includesDBCS());
  EXPECT_FALSE(probe->isValidDBCS());
  probe->~ProbeBuffer();
}

//===--- Comparison -------------------------------------------------------===//

unsigned int compareBytes(std::string const& a, std::string const& b) {
  MbText const text(a);
  return text.buf().compare(b.data(), len(b));
}

TEST(MbCompare, FlagZeroIsTheByteComparison) {
  DTEST_MB_SAMPLES(mb);
  dtest::I18NState const flag(0);
  struct Case {
    std::string a, b;
    unsigned int want;
  };
  std::vector<Case> const cases = {
      {"abc", "abd", 2},  {"abd", "abc", 1},
      {"ab", "abc", 2},   {"abc", "ab", 1},
      {"", "", 0},        {"", "x", 2},
      {"x", "", 1},       {"a", "B", 1},
      {mb->wide, "a", 1}, {std::string("a\0", 2), "a", 1},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.a + " / " + c.b);
    EXPECT_EQ(c.want, compareBytes(c.a, c.b));
    MbText const text(c.a);
    EXPECT_EQ(text.buf().DBuffer::compare(c.b.data(), len(c.b)),
              compareBytes(c.a, c.b));
  }
}

TEST(MbCompare, FlagOneCollatesWideSegments) {
  DTEST_MB_SAMPLES(mb);
  dtest::I18NState const flag(1);
  MbText const self("abc");
  EXPECT_EQ(0u, self.buf().compare(static_cast<char const*>(self.s), 3));
  EXPECT_EQ(1u, self.buf().compare(nullptr, 3));
  EXPECT_EQ(1u, compareBytes("x", ""));
  EXPECT_EQ(2u, compareBytes("", "x"));
  EXPECT_EQ(0u, compareBytes("", ""));
  // Segments follow wcscoll of their wide conversions.
  std::vector<std::string> const words = {
      "a", "B", "abc", mb->wide, mb->narrow, "a" + mb->longest};
  for (std::string const& a : words)
    for (std::string const& b : words) {
      SCOPED_TRACE(a + " / " + b);
      DWBuffer const wa(a.c_str());
      DWBuffer const wb(b.c_str());
      int const order = std::wcscoll(wa.data(), wb.data());
      unsigned int const want = order < 0             ? 2
                                : order > 0           ? 1
                                : a.size() < b.size() ? 2
                                : a.size() > b.size() ? 1
                                                      : 0;
      EXPECT_EQ(want, compareBytes(a, b));
    }
  if (dtest::localeIs("UTF-8")) {
    EXPECT_EQ(2u, compareBytes("a", "B")); // bytes would say 1
  }
}

TEST(MbCompare, FlagOneNulRuns) {
  DTEST_MB_SAMPLES(mb);
  dtest::I18NState const flag(1);
  std::string const nul(1, '\0');
  struct Case {
    std::string a, b;
    unsigned int want;
  };
  std::vector<Case> const cases = {
      // More leading NULs on the receiver's side: after.
      {nul + nul + "a", nul + "a", 1},
      // Fewer before any segment compared: before.
      {nul + "a", nul + nul + "a", 2},
      // Fewer after an equal segment: the byte lengths decide.
      {"a" + nul + "b", "a" + nul + nul + "b", 2},
      // Both consumed at once after equal segments: equal.
      {"a" + nul, "a", 0},
      {nul, nul, 0},
      {nul, nul + "x", 2},
      {"a" + nul + nul, "a" + nul, 1},
      {"a" + nul + "b", "a" + nul + "c", 2},
      {"b" + nul + "a", "a" + nul + "b", 1},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.a) + " / " +
                 testing::PrintToString(c.b));
    EXPECT_EQ(c.want, compareBytes(c.a, c.b));
  }
}

TEST(MbCompare, FlagOneBadBytesCompareAsBytesWithoutRaising) {
  DTEST_MB_SAMPLES(mb);
  dtest::I18NState const flag(1);
  dtest::RecordingTrace trace;
  std::string const bad = mb->invalid[0];
  EXPECT_EQ(2u, compareBytes("a" + bad + "a", "a" + bad + "b"));
  EXPECT_EQ(1u, compareBytes("a" + bad + "b", "a" + bad + "a"));
  EXPECT_EQ(0u, compareBytes(bad, bad));
  EXPECT_EQ(2u, compareBytes("ab" + mb->truncated, "ab" + mb->truncated + "x"));
  EXPECT_EQ(0, trace.logged);
}

} // namespace
