// Byte scanners, wide-character buffers and conversions, position mappings
// and padded extractions.
#include "dnlsutil.hpp"

#include "dmbtest.hpp"

#include <cwchar>

using dtest::len;

namespace {

std::wstring wide(DWBuffer const& w) {
  return std::wstring(w.data(), w.count());
}

// One wide character of the locale for the bytes of one character.
wchar_t toWide(std::string const& mb) {
  std::mbstate_t state{};
  wchar_t wc = 0;
  EXPECT_EQ(mb.size(), std::mbrtowc(&wc, mb.data(), mb.size(), &state));
  return wc;
}

// indexThatIsNot, isAllDigits and isAllHexDigits work on bytes (NULs and
// bytes above 0x7F included), in blocks of 64 with a tail.
TEST(DByteScan, ScansBytes) {
  std::string const z(40, '\0');
  std::tuple<std::string, char, unsigned int> const notCases[] = {
      {"", '0', 0},
      {"0", '0', 0},
      {"0001", '0', 4},
      {std::string(17, '0') + "x", '0', 18},
      {z, '\0', 0},
      {z + "\x01", '\0', 41},
      {std::string(8, '\0') + "\x80" + z, '\0', 9},
      {std::string(9, '\xFF') + "a", '\xFF', 10},
      {"abc", '\0', 1}};
  for (auto const& [text, c, want] : notCases)
    EXPECT_EQ(want, indexThatIsNot(text.data(), len(text), c)) << len(text);
  EXPECT_EQ(0u, indexThatIsNot("000x", 3, '0'));
  std::tuple<std::string, bool, bool> const digitCases[] = {
      {"", true, true},
      {"0123456789", true, true},
      {"abcdefABCDEF", false, true},
      {"g", false, false},
      {"1 2", false, false},
      {std::string("1\0", 2), false, false},
      {"\xB2", false, false},
      {"\xFF", false, false}};
  for (auto const& [text, digits, hex] : digitCases) {
    EXPECT_EQ(digits, isAllDigits(text.data(), len(text))) << text;
    EXPECT_EQ(hex, isAllHexDigits(text.data(), len(text))) << text;
  }
  for (unsigned int n : {63u, 64u, 65u, 128u, 200u}) {
    std::string const digits(n, '7');
    EXPECT_TRUE(isAllDigits(digits.data(), n) &&
                isAllHexDigits(digits.data(), n));
    for (unsigned int at : {0u, 31u, 63u, 64u, n - 1}) {
      if (at >= n)
        continue;
      std::string bad = digits;
      bad[at] = 'f';
      EXPECT_FALSE(isAllDigits(bad.data(), n)) << n << " " << at;
      EXPECT_TRUE(isAllHexDigits(bad.data(), n)) << n << " " << at;
      bad[at] = '\x80';
      EXPECT_FALSE(isAllHexDigits(bad.data(), n)) << n << " " << at;
    }
  }
  EXPECT_TRUE(isAllDigits("12x", 2));
}

TEST(NlsWideBuffer, ConstructionReverseAndSearches) {
  EXPECT_EQ(0ul, DWBuffer("").count());
  DWBuffer const none("xyz", 0);
  EXPECT_EQ(L'\0', none.data()[0]);
  // Embedded NULs become wide NULs and conversion goes on past them.
  EXPECT_EQ(std::wstring(L"a\0b", 3), wide(DWBuffer("a\0b", 3)));
  DWBuffer const w("abcd");
  EXPECT_EQ(L'\0', w.data()[4]);
  w.reverse();
  EXPECT_EQ(L"dcba", wide(w));
  EXPECT_TRUE(w.hasWChar(L'a'));
  EXPECT_FALSE(w.hasWChar(L'\0')); // the uncounted terminator is not seen
  using Search = unsigned int (DWBuffer::*)(DWBuffer&, unsigned int) const;
  Search const pos = &DWBuffer::positionOf, anyOf = &DWBuffer::positionOfAnyOf,
               anyBut = &DWBuffer::positionOfAnyBut,
               last = &DWBuffer::lastPositionOf,
               lastOf = &DWBuffer::lastPositionOfAnyOf,
               lastBut = &DWBuffer::lastPositionOfAnyBut;
  std::tuple<Search, char const*, char const*, unsigned int, unsigned int> const
      cases[] = {
          {pos, "abcabc", "bc", 1, 2},   {pos, "abcabc", "bc", 3, 5},
          {pos, "abcabc", "bc", 6, 0},   {pos, "abcabc", "bc", 0, 0},
          {pos, "abcabc", "", 1, 0},     {pos, "abc", "abcd", 1, 0},
          {pos, "abc", "c", 4, 0},       {pos, "abc", "abc", 1, 1},
          {anyOf, "abcabc", "xc", 4, 6}, {anyOf, "abc", "", 1, 0},
          {anyOf, "abc", "a", 0, 0},     {anyOf, "abc", "a", 4, 0},
          {anyBut, "aab", "a", 1, 3},    {anyBut, "aab", "", 2, 2},
          {anyBut, "aab", "ab", 1, 0},   {anyBut, "aab", "b", 0, 0},
          {last, "abcabc", "bc", 6, 5},  {last, "abcabc", "bc", 4, 2},
          {last, "abcabc", "bc", 99, 5}, {last, "abcabc", "bc", 1, 0},
          {last, "abc", "", 3, 0},       {last, "abc", "abcd", 3, 0},
          {last, "abc", "a", 0, 0},      {lastOf, "abcabc", "a", 99, 4},
          {lastOf, "abcabc", "a", 3, 1}, {lastOf, "abc", "", 3, 0},
          {lastOf, "abc", "x", 3, 0},    {lastBut, "abb", "b", 99, 1},
          {lastBut, "abb", "", 2, 2},    {lastBut, "abb", "", 99, 3},
          {lastBut, "bbb", "b", 3, 0},   {lastBut, "abb", "x", 0, 0},
      };
  for (auto const& [search, text, arg, start, want] : cases) {
    DWBuffer a(arg);
    EXPECT_EQ(want, (DWBuffer(text).*search)(a, start))
        << text << " / " << arg << " " << start;
  }
  // Patterns compare with wcsncmp, which ends at a wide NUL.
  DWBuffer pattern("a\0z", 3);
  EXPECT_EQ(2u, DWBuffer("xa\0y", 4).positionOf(pattern, 1));
  EXPECT_EQ(2u, DWBuffer("xa\0y", 4).lastPositionOf(pattern, 4));
  wchar_t src[] = L"abcd", ins[] = L"XY";
  std::tuple<int, int, int, wchar_t const*> const inserts[] = {
      {4, 2, 0, L"XYabcd"}, {4, 2, 2, L"abXYcd"}, {4, 2, 4, L"abcdXY"},
      {4, 0, 2, L"abcd"},   {4, -1, 1, L"abcd"},  {4, 2, -3, L"XYabcd"},
      {0, 2, 0, L"XY"}};
  for (auto const& [srcLen, insLen, at, want] : inserts) {
    wchar_t out[16] = {};
    int const n = insWCS2WCS(src, srcLen, ins, insLen, at, out);
    EXPECT_EQ(std::wstring(want), std::wstring(out, n)) << at;
  }
  wchar_t out[4];
  char bytes[4];
  EXPECT_EQ(0u, cvtMBS2WCS(nullptr, 3, out) + cvtMBS2WCS("abc", 3, nullptr) +
                    cvtMBS2WCS("abc", 0, out));
  EXPECT_EQ(0u, cvtWCS2MBS(nullptr, 1, bytes, 4, 1, '*') +
                    cvtWCS2MBS(L"a", 1, nullptr, 4, 1, '*') +
                    cvtWCS2MBS(L"a", 1, bytes, 0, 1, '*'));
  EXPECT_EQ(0u, findBytePos(nullptr, 3, 1) + findCharNum(nullptr, 3, 1) +
                    findNextCharNum(nullptr, 3, 1) + findCurPos(nullptr, 3, 1) +
                    findNextPos(nullptr, 3, 1));
}

// findCharNum, findNextCharNum, findCurPos, findNextPos of every byte
// position (0 .. length + 1) of a text.
void expectPositions(std::string const& t, unsigned int n,
                     std::vector<std::vector<unsigned int>> const& want) {
  for (unsigned int pos = 0; pos < want.size(); ++pos) {
    std::vector<unsigned int> const got = {
        findCharNum(t.data(), n, pos), findNextCharNum(t.data(), n, pos),
        findCurPos(t.data(), n, pos), findNextPos(t.data(), n, pos)};
    EXPECT_EQ(want[pos], got) << testing::PrintToString(t) << " at " << pos;
  }
}

// Valid text is mapped against a model by the multibyte fuzz target.
TEST(MbNlsUtil, PositionMapping) {
  DTEST_MB(mb);
  // Below two bytes only character 1 exists, even in the empty text.
  EXPECT_EQ(1u, findBytePos("", 0, 1));
  EXPECT_EQ(1u, findBytePos("x", 1, 1));
  EXPECT_EQ(0u, findBytePos("x", 1, 2));
  EXPECT_EQ(0u, findCharNum("", 0, 1));
  // Past bad bytes nothing is found; character 2 starts at byte 2 whatever
  // it is, only measuring it fails.
  for (std::string const& bad : mb.invalid) {
    std::string const w = "a" + bad + "b";
    std::vector<std::vector<unsigned int>> want(len(w) + 1, {0, 0, 0, 0});
    want[1] = {1, 1, 1, 2};
    expectPositions(w, len(w), want);
    EXPECT_EQ(2u, findBytePos(w.data(), len(w), 2));
    EXPECT_EQ(0u, findBytePos(w.data(), len(w), 3));
  }
  // A lead cut short by the length is one more character, without a next.
  std::string const cut = "ab" + mb.truncated;
  std::vector<std::vector<unsigned int>> want(len(cut) + 1, {3, 0, 3, 0});
  want[0] = {0, 0, 0, 0};
  want[1] = {1, 1, 1, 2};
  want[2] = {2, 2, 2, 3};
  want[3] = {3, 3, 3, 0};
  expectPositions(cut, len(cut), want);
  EXPECT_EQ(3u, findBytePos(cut.data(), len(cut), 3));
  EXPECT_EQ(0u, findBytePos(cut.data(), len(cut), 4));
}

TEST(MbNlsUtil, Conversions) {
  DTEST_MB(mb);
  std::string const t =
      std::string("x\0", 2) + mb.narrow + mb.dbl + mb.longest + "y";
  DWBuffer const w(t.data(), len(t));
  EXPECT_EQ((std::wstring{L'x', L'\0', toWide(mb.narrow), toWide(mb.dbl),
                          toWide(mb.longest), L'y'}),
            wide(w));
  std::vector<char> out(t.size() + 3, '?');
  EXPECT_EQ(len(t), cvtWCS2MBS(w, out.data(), len(t) + 3, 0, '*'));
  EXPECT_EQ(t + "???", std::string(out.data(), out.size())); // no NUL
  EXPECT_EQ(len(t) + 3, cvtWCS2MBS(w, out.data(), len(t) + 3, 1, '*'));
  EXPECT_EQ(t + "***", std::string(out.data(), out.size()));
  std::mbstate_t state{};
  wchar_t wc = L'?';
  EXPECT_EQ(1u, cvtMB2WC("\0z", 2, &wc, &state));
  EXPECT_EQ(L'\0', wc);
  EXPECT_EQ(len(mb.longest),
            cvtMB2WC(mb.longest.data(), len(mb.longest), &wc, &state));
  EXPECT_EQ(toWide(mb.longest), wc);
  // A character that does not fit is never split: unwritten, or padded.
  wchar_t const v[] = {L'a', toWide(mb.dbl), L'b'};
  unsigned int const size = 1 + len(mb.dbl);
  char buf[16];
  std::memset(buf, '?', sizeof buf);
  EXPECT_EQ(0u, cvtWCS2MBS(v + 1, 2, buf, size - 2, 0, '*'));
  EXPECT_EQ(1u, cvtWCS2MBS(v, 2, buf, size - 1, 0, '*'));
  EXPECT_EQ("a?", std::string(buf, 2));
  EXPECT_EQ(size - 1, cvtWCS2MBS(v, 2, buf, size - 1, 1, '*'));
  EXPECT_EQ("a" + std::string(size - 2, '*') + "?", std::string(buf, size));
  EXPECT_EQ(size, cvtWCS2MBS(v, 3, buf, size, 1, '*')); // exact fit stops
  EXPECT_EQ("a" + mb.dbl + "?", std::string(buf, size + 1));
}

TEST(MbNlsUtil, InvalidSequencesRaise) {
  DTEST_MB(mb);
  dtest::RecordingTrace trace;
  wchar_t out[32];
  char bytes[32] = {};
  for (std::string const& bad : mb.invalid) {
    std::string const t = "a" + bad + "b";
    EXPECT_DEXCEPTION(cvtMBS2WCS(t.data(), len(t), out), DInvalidRequest, 1012,
                      false, "dnlsutil", 725);
    EXPECT_DEXCEPTION(DWBuffer(t.data(), len(t)), DInvalidRequest, 1012, false,
                      "dnlsutil", 725);
  }
  std::string const cut = "ab" + mb.truncated;
  EXPECT_DEXCEPTION(cvtMBS2WCS(cut.data(), len(cut), out), DInvalidRequest,
                    1012, false, "dnlsutil", 760);
  // With its terminator in reach the cut lead is plainly invalid.
  EXPECT_DEXCEPTION(DWBuffer w(cut.c_str()), DInvalidRequest, 1012, false,
                    "dnlsutil", 725);
  std::mbstate_t state{};
  EXPECT_DEXCEPTION(cvtMB2WC(mb.wide.data(), 1, out, &state), DInvalidRequest,
                    1012, false, "dnlsutil", 760);
  EXPECT_GE(trace.logged, 4); // each was reported before it was thrown
  wchar_t const w[] = {L'a', static_cast<wchar_t>(0xD800)};
  EXPECT_DEXCEPTION(cvtWCS2MBS(w, 2, bytes, 16, 1, '*'), DInvalidRequest, 0,
                    true, "dnlsutil", 880);
  EXPECT_EQ('a', bytes[0]); // what was written stays
  try {
    cvtWCS2MBS(w, 2, bytes, 16, 0, '*');
  } catch (DInvalidRequest const& e) {
    EXPECT_STREQ("cvtWCS2MBS", e.text());
  }
  // Bad bytes before the start: no character number, so all pad; after
  // it the conversion of the text raises.
  std::string const before = "a" + mb.invalid[0] + "bc";
  unsigned int const n = len(before);
  std::memset(bytes, '?', sizeof bytes);
  EXPECT_EQ(2u, getRemainString(before.data(), n, n - 1, '*', bytes));
  EXPECT_EQ("**?", std::string(bytes, 3));
  getSubString(before.data(), n, n - 1, '*', bytes, 3);
  EXPECT_EQ("***", std::string(bytes, 3));
  std::string const after = "ab" + mb.invalid[0];
  EXPECT_DEXCEPTION(getRemainString(after.data(), len(after), 1, '*', bytes),
                    DInvalidRequest, 1012, false, "dnlsutil", 725);
  EXPECT_DEXCEPTION(getSubString(cut.data(), len(cut), 2, '*', bytes, 4),
                    DInvalidRequest, 1012, false, "dnlsutil", 760);
}

TEST(MbNlsUtil, PaddedExtractionsWriteOnlyTheirField) {
  DTEST_MB(mb);
  std::string const t = "a" + mb.longest + "b";
  unsigned int const n = len(t), l = len(mb.longest);
  std::tuple<unsigned int, unsigned int, std::string> const cases[] = {
      {3, l - 2, std::string(l - 2, '*')}, {1, n + 2, t + "**"}, {1, 0, ""}};
  for (auto const& [pos, size, want] : cases) {
    std::vector<char> out(size + 1, '?');
    EXPECT_EQ(out.data(),
              getSubString(t.data(), n, pos, '*', out.data(), size));
    EXPECT_EQ(want + "?", std::string(out.data(), size + 1)) << pos << size;
  }
  char out[4] = "???";
  EXPECT_EQ(0u, getRemainString(t.data(), 0, 0, '*', out));
  EXPECT_EQ('?', out[0]);
}

} // namespace
