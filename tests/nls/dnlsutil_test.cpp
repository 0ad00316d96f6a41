// Wide-character conversions, position mappings and padded extractions.
#include "dnlsutil.hpp"

#include "dmbsamples.hpp"
#include "dtest_support.hpp"

#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

namespace {

using dtest::MbSamples;

unsigned int len(std::string const& s) {
  return static_cast<unsigned int>(s.size());
}

std::wstring wide(DWBuffer const& w) {
  return std::wstring(w.data(), w.count());
}

// One wide character of the locale for the bytes of one character.
wchar_t toWide(std::string const& mb) {
  std::mbstate_t state = std::mbstate_t();
  wchar_t wc = 0;
  std::size_t const r = std::mbrtowc(&wc, mb.data(), mb.size(), &state);
  EXPECT_EQ(mb.size(), r) << "sample is not one character";
  return wc;
}

//===--- DWBuffer searches (locale-independent: plain ASCII) --------------===//

TEST(NlsWideBuffer, ConstructionCountsAndTerminates) {
  DWBuffer const empty("");
  EXPECT_EQ(0ul, empty.count());
  EXPECT_EQ(L'\0', empty.data()[0]);
  DWBuffer const none("xyz", 0);
  EXPECT_EQ(0ul, none.count());
  EXPECT_EQ(L'\0', none.data()[0]);
  DWBuffer const three("abc");
  EXPECT_EQ(L"abc", wide(three));
  EXPECT_EQ(L'\0', three.data()[3]);
  // Embedded NULs become wide NULs and conversion goes on past them.
  DWBuffer const withNul("a\0b", 3);
  EXPECT_EQ(std::wstring(L"a\0b", 3), wide(withNul));
}

TEST(NlsWideBuffer, ReverseAndHasWChar) {
  DWBuffer const w("abcd");
  w.reverse();
  EXPECT_EQ(L"dcba", wide(w));
  EXPECT_TRUE(w.hasWChar(L'a'));
  EXPECT_FALSE(w.hasWChar(L'\0')); // the uncounted terminator is not seen
  DWBuffer const one("x");
  one.reverse();
  EXPECT_EQ(L"x", wide(one));
}

TEST(NlsWideBuffer, SearchTables) {
  enum Op { pos, anyOf, anyBut, lastPos, lastAnyOf, lastAnyBut };
  struct Case {
    Op op;
    char const* text;
    char const* arg;
    unsigned int start, want;
  };
  Case const cases[] = {
      {pos, "abcabc", "bc", 1, 2},       {pos, "abcabc", "bc", 3, 5},
      {pos, "abcabc", "bc", 6, 0},       {pos, "abcabc", "bc", 0, 0},
      {pos, "abcabc", "", 1, 0},         {pos, "abc", "abcd", 1, 0},
      {pos, "abc", "c", 4, 0},           {pos, "abc", "abc", 1, 1},
      {anyOf, "abcabc", "xc", 1, 3},     {anyOf, "abcabc", "xc", 4, 6},
      {anyOf, "abc", "", 1, 0},          {anyOf, "abc", "a", 0, 0},
      {anyOf, "abc", "a", 4, 0},         {anyBut, "aab", "a", 1, 3},
      {anyBut, "aab", "", 2, 2},         {anyBut, "aab", "ab", 1, 0},
      {anyBut, "aab", "b", 0, 0},        {lastPos, "abcabc", "bc", 6, 5},
      {lastPos, "abcabc", "bc", 4, 2},   {lastPos, "abcabc", "bc", 99, 5},
      {lastPos, "abcabc", "bc", 1, 0},   {lastPos, "abc", "", 3, 0},
      {lastPos, "abc", "abcd", 3, 0},    {lastPos, "abc", "a", 0, 0},
      {lastAnyOf, "abcabc", "a", 99, 4}, {lastAnyOf, "abcabc", "a", 3, 1},
      {lastAnyOf, "abc", "", 3, 0},      {lastAnyOf, "abc", "x", 3, 0},
      {lastAnyBut, "abb", "b", 99, 1},   {lastAnyBut, "abb", "", 2, 2},
      {lastAnyBut, "abb", "", 99, 3},    {lastAnyBut, "bbb", "b", 3, 0},
      {lastAnyBut, "abb", "x", 0, 0},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(c.text) + " / " + c.arg + " op " +
                 std::to_string(c.op) + " start " + std::to_string(c.start));
    DWBuffer const text(c.text);
    DWBuffer arg(c.arg);
    unsigned int got = 0;
    switch (c.op) {
    case pos:
      got = text.positionOf(arg, c.start);
      break;
    case anyOf:
      got = text.positionOfAnyOf(arg, c.start);
      break;
    case anyBut:
      got = text.positionOfAnyBut(arg, c.start);
      break;
    case lastPos:
      got = text.lastPositionOf(arg, c.start);
      break;
    case lastAnyOf:
      got = text.lastPositionOfAnyOf(arg, c.start);
      break;
    case lastAnyBut:
      got = text.lastPositionOfAnyBut(arg, c.start);
      break;
    }
    EXPECT_EQ(c.want, got);
  }
}

TEST(NlsWideBuffer, PatternComparisonStopsAtWideNul) {
  // Patterns compare with wcsncmp, which ends at a wide NUL: a pattern with
  // an embedded NUL matches whatever follows the NUL in the text.
  DWBuffer const text("xa\0y", 4);
  DWBuffer pattern("a\0z", 3);
  EXPECT_EQ(2u, text.positionOf(pattern, 1));
  EXPECT_EQ(2u, text.lastPositionOf(pattern, 4));
}

TEST(NlsWideBuffer, InsWCS2WCS) {
  wchar_t src[] = L"abcd";
  wchar_t ins[] = L"XY";
  struct Case {
    int srcLen, insLen, at;
    wchar_t const* want;
  };
  Case const cases[] = {{4, 2, 0, L"XYabcd"}, {4, 2, 2, L"abXYcd"},
                        {4, 2, 4, L"abcdXY"}, {4, 0, 2, L"abcd"},
                        {4, -1, 1, L"abcd"},  {4, 2, -3, L"XYabcd"},
                        {0, 2, 0, L"XY"}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.at);
    wchar_t out[16] = {};
    int const n = insWCS2WCS(src, c.srcLen, ins, c.insLen, c.at, out);
    EXPECT_EQ(std::wstring(c.want), std::wstring(out, n));
  }
}

TEST(NlsWideBuffer, NullArgumentsGiveZero) {
  wchar_t out[4];
  char bytes[4];
  EXPECT_EQ(0u, cvtMBS2WCS(nullptr, 3, out));
  EXPECT_EQ(0u, cvtMBS2WCS("abc", 3, nullptr));
  EXPECT_EQ(0u, cvtMBS2WCS("abc", 0, out));
  EXPECT_EQ(0u, cvtWCS2MBS(nullptr, 1, bytes, 4, 1, '*'));
  EXPECT_EQ(0u, cvtWCS2MBS(L"a", 1, nullptr, 4, 1, '*'));
  EXPECT_EQ(0u, cvtWCS2MBS(L"a", 1, bytes, 0, 1, '*'));
  EXPECT_EQ(0u, findBytePos(nullptr, 3, 1));
  EXPECT_EQ(0u, findCharNum(nullptr, 3, 1));
  EXPECT_EQ(0u, findNextCharNum(nullptr, 3, 1));
  EXPECT_EQ(0u, findCurPos(nullptr, 3, 1));
  EXPECT_EQ(0u, findNextPos(nullptr, 3, 1));
}

//===--- Position mapping
//--------------------------------------------------===//

TEST(MbNlsUtil, PositionsAroundATwoByteCharacter) {
  DTEST_MB_SAMPLES(mb);
  // a, a two-byte character, b: four bytes, three characters.
  std::string const t = "a" + mb->two + "b";
  char const* s = t.data();
  for (int state : {0, 1}) {
    dtest::I18NState const flag(state);
    EXPECT_EQ(1u, findBytePos(s, 4, 1));
    EXPECT_EQ(2u, findBytePos(s, 4, 2));
    EXPECT_EQ(4u, findBytePos(s, 4, 3));
    EXPECT_EQ(0u, findBytePos(s, 4, 4));
    EXPECT_EQ(0u, findBytePos(s, 4, 0));
    unsigned int const charNum[] = {0, 1, 2, 2, 3, 0};
    unsigned int const nextCharNum[] = {0, 1, 2, 3, 3, 0};
    unsigned int const curPos[] = {0, 1, 2, 2, 4, 0};
    unsigned int const nextPos[] = {0, 2, 4, 4, 0, 0};
    for (unsigned int pos = 0; pos <= 5; ++pos) {
      SCOPED_TRACE(pos);
      EXPECT_EQ(charNum[pos], findCharNum(s, 4, pos));
      EXPECT_EQ(nextCharNum[pos], findNextCharNum(s, 4, pos));
      EXPECT_EQ(curPos[pos], findCurPos(s, 4, pos));
      EXPECT_EQ(nextPos[pos], findNextPos(s, 4, pos));
    }
  }
}

TEST(MbNlsUtil, PositionsInsideTheLongestCharacter) {
  DTEST_MB_SAMPLES(mb);
  std::string const t = "a" + mb->longest + "b";
  unsigned int const n = len(t);
  unsigned int const last = n - 1; // last byte of the long character
  EXPECT_EQ(n, findBytePos(t.data(), n, 3));
  for (unsigned int pos = 3; pos <= last; ++pos) {
    SCOPED_TRACE(pos);
    EXPECT_EQ(2u, findCharNum(t.data(), n, pos));
    EXPECT_EQ(3u, findNextCharNum(t.data(), n, pos));
    EXPECT_EQ(2u, findCurPos(t.data(), n, pos));
    EXPECT_EQ(n, findNextPos(t.data(), n, pos));
  }
  // Without the b there is no next character within the length.
  EXPECT_EQ(0u, findNextCharNum(t.data(), last, 3));
  EXPECT_EQ(0u, findNextPos(t.data(), last, 3));
  EXPECT_EQ(2u, findCurPos(t.data(), last, last));
}

TEST(MbNlsUtil, ShortTextsAndEmbeddedNul) {
  DTEST_MB_SAMPLES(mb);
  // Below two bytes only character 1 exists, even in the empty text.
  EXPECT_EQ(1u, findBytePos("", 0, 1));
  EXPECT_EQ(1u, findBytePos("x", 1, 1));
  EXPECT_EQ(0u, findBytePos("x", 1, 2));
  EXPECT_EQ(0u, findCharNum("", 0, 1));
  // A NUL is a character of one byte.
  std::string const t = std::string("a\0", 2) + mb->wide + "b";
  unsigned int const n = len(t);
  EXPECT_EQ(3u, findBytePos(t.data(), n, 3));
  EXPECT_EQ(n, findBytePos(t.data(), n, 4));
  EXPECT_EQ(2u, findCharNum(t.data(), n, 2));
  EXPECT_EQ(4u, findCharNum(t.data(), n, n));
}

TEST(MbNlsUtil, InvalidSequencesAnswerZero) {
  DTEST_MB_SAMPLES(mb);
  for (std::string const& bad : mb->invalid) {
    std::string const t = "a" + bad + "b";
    unsigned int const n = len(t);
    SCOPED_TRACE(dtest::bytes(DString(t)));
    // Byte 1 is reached without meeting the bad bytes.
    EXPECT_EQ(1u, findCharNum(t.data(), n, 1));
    EXPECT_EQ(1u, findCurPos(t.data(), n, 1));
    for (unsigned int pos = 2; pos <= n; ++pos) {
      SCOPED_TRACE(pos);
      EXPECT_EQ(0u, findCharNum(t.data(), n, pos));
      EXPECT_EQ(0u, findNextCharNum(t.data(), n, pos));
      EXPECT_EQ(0u, findCurPos(t.data(), n, pos));
      EXPECT_EQ(0u, findNextPos(t.data(), n, pos));
    }
    // Character 2 starts at byte 2 whatever it is; only measuring it fails.
    EXPECT_EQ(2u, findNextPos(t.data(), n, 1));
    EXPECT_EQ(2u, findBytePos(t.data(), n, 2));
    EXPECT_EQ(0u, findBytePos(t.data(), n, 3));
  }
}

TEST(MbNlsUtil, TruncatedLeadJoinsTheNextCharacter) {
  DTEST_MB_SAMPLES(mb);
  // mbrlen sees no more than the text has: the cut lead is an incomplete
  // sequence, counted as one more character that has no successor.
  std::string const t = "ab" + mb->truncated;
  unsigned int const n = len(t);
  for (unsigned int pos = 3; pos <= n; ++pos) {
    SCOPED_TRACE(pos);
    EXPECT_EQ(3u, findCharNum(t.data(), n, pos));
    EXPECT_EQ(3u, findCurPos(t.data(), n, pos));
    EXPECT_EQ(0u, findNextPos(t.data(), n, pos));
  }
  EXPECT_EQ(3u, findNextCharNum(t.data(), n, 3));
  EXPECT_EQ(3u, findBytePos(t.data(), n, 3));
  EXPECT_EQ(0u, findBytePos(t.data(), n, 4));
  EXPECT_EQ(3u, findNextPos(t.data(), n, 2));
}

//===--- Conversions
//-------------------------------------------------------===//

TEST(MbNlsUtil, ConversionRoundTrip) {
  DTEST_MB_SAMPLES(mb);
  std::string const t =
      std::string("x\0", 2) + mb->narrow + mb->wide + mb->longest + "y";
  DWBuffer const w(t.data(), len(t));
  std::wstring const want = {
      L'x', L'\0', toWide(mb->narrow), toWide(mb->wide), toWide(mb->longest),
      L'y'};
  EXPECT_EQ(want, wide(w));
  std::vector<char> out(t.size() + 3, '?');
  EXPECT_EQ(len(t), cvtWCS2MBS(w, out.data(), len(t) + 3, 0, '*'));
  EXPECT_EQ(t, std::string(out.data(), t.size()));
  EXPECT_EQ('?', out[t.size()]); // never NUL-terminated
  EXPECT_EQ(len(t) + 3, cvtWCS2MBS(w, out.data(), len(t) + 3, 1, '*'));
  EXPECT_EQ(t + "***", std::string(out.data(), out.size()));

  // One character at a time: the bytes used, a NUL using one.
  std::mbstate_t state = std::mbstate_t();
  wchar_t wc = L'?';
  EXPECT_EQ(1u, cvtMB2WC("\0z", 2, &wc, &state));
  EXPECT_EQ(L'\0', wc);
  EXPECT_EQ(len(mb->longest),
            cvtMB2WC(mb->longest.data(), len(mb->longest), &wc, &state));
  EXPECT_EQ(toWide(mb->longest), wc);
}

TEST(MbNlsUtil, CharacterThatDoesNotFitIsNeverSplit) {
  DTEST_MB_SAMPLES(mb);
  wchar_t const w[] = {L'a', toWide(mb->wide), L'b'};
  unsigned int const size = 1 + len(mb->wide); // room for a and the wide one
  char out[16];
  // The wide character misses the last byte: unwritten, or padded.
  std::memset(out, '?', sizeof out);
  EXPECT_EQ(0u, cvtWCS2MBS(w + 1, 2, out, size - 2, 0, '*'));
  EXPECT_EQ('?', out[0]);
  std::memset(out, '?', sizeof out);
  EXPECT_EQ(1u, cvtWCS2MBS(w, 2, out, size - 1, 0, '*'));
  EXPECT_EQ("a", std::string(out, 1));
  EXPECT_EQ('?', out[1]);
  EXPECT_EQ(size - 1, cvtWCS2MBS(w, 2, out, size - 1, 1, '*'));
  EXPECT_EQ("a" + std::string(size - 2, '*'), std::string(out, size - 1));
  // An exact fit stops there, the rest of the characters untouched.
  std::memset(out, '?', sizeof out);
  EXPECT_EQ(size, cvtWCS2MBS(w, 3, out, size, 1, '*'));
  EXPECT_EQ("a" + mb->wide, std::string(out, size));
  EXPECT_EQ('?', out[size]);
}

TEST(MbNlsUtil, InvalidAndIncompleteSequencesRaise1012) {
  DTEST_MB_SAMPLES(mb);
  dtest::RecordingTrace trace;
  wchar_t out[32];
  for (std::string const& bad : mb->invalid) {
    std::string const t = "a" + bad + "b";
    SCOPED_TRACE(dtest::bytes(DString(t)));
    EXPECT_DEXCEPTION(cvtMBS2WCS(t.data(), len(t), out), DInvalidRequest, 1012,
                      false, "dnlsutil", 725);
    EXPECT_DEXCEPTION(DWBuffer(t.data(), len(t)), DInvalidRequest, 1012, false,
                      "dnlsutil", 725);
    EXPECT_DEXCEPTION(DWBuffer w(t.c_str()), DInvalidRequest, 1012, false,
                      "dnlsutil", 725);
  }
  std::string const cut = "ab" + mb->truncated;
  EXPECT_DEXCEPTION(cvtMBS2WCS(cut.data(), len(cut), out), DInvalidRequest,
                    1012, false, "dnlsutil", 760);
  // With its terminator in reach the cut lead is plainly invalid.
  EXPECT_DEXCEPTION(DWBuffer w(cut.c_str()), DInvalidRequest, 1012, false,
                    "dnlsutil", 725);
  std::mbstate_t state = std::mbstate_t();
  EXPECT_DEXCEPTION(cvtMB2WC(mb->wide.data(), 1, out, &state), DInvalidRequest,
                    1012, false, "dnlsutil", 760);
  EXPECT_GE(trace.logged, 6); // each was reported before it was thrown
}

TEST(MbNlsUtil, UnconvertibleWideCharacterRaises) {
  DTEST_MB_SAMPLES(mb);
  dtest::RecordingTrace trace;
  wchar_t const w[] = {L'a', static_cast<wchar_t>(0xD800)};
  char out[16] = {};
  EXPECT_DEXCEPTION(cvtWCS2MBS(w, 2, out, 16, 1, '*'), DInvalidRequest, 0, true,
                    "dnlsutil", 880);
  EXPECT_EQ('a', out[0]); // what was written stays
  try {
    cvtWCS2MBS(w, 2, out, 16, 0, '*');
  } catch (DInvalidRequest const& e) {
    EXPECT_STREQ("cvtWCS2MBS", e.text());
  }
}

//===--- Padded extractions -----------------------------------------------===//

TEST(MbNlsUtil, GetSubStringPadsCutCharacters) {
  DTEST_MB_SAMPLES(mb);
  std::string const t = "a" + mb->longest + "b";
  unsigned int const n = len(t);
  unsigned int const l = len(mb->longest);
  struct Case {
    unsigned int pos, outLen;
    std::string want;
  };
  std::vector<Case> const cases = {
      {3, l + 1, std::string(l - 1, '*') + "b*"}, // cut character: pads
      {3, l - 2, std::string(l - 2, '*')},        // field within the gap
      {0, n, t},
      {1, n + 2, t + "**"},
      {1, l, "a" + std::string(l - 1, '*')}, // never split at the end
      {2, l, mb->longest},
      {n, 3, "b**"},
      {n + 1, 3, "***"},
  };
  for (int state : {0, 1}) {
    dtest::I18NState const flag(state);
    for (Case const& c : cases) {
      SCOPED_TRACE(std::to_string(c.pos) + "," + std::to_string(c.outLen));
      std::vector<char> out(c.outLen + 1, '?');
      EXPECT_EQ(out.data(),
                getSubString(t.data(), n, c.pos, '*', out.data(), c.outLen));
      EXPECT_EQ(c.want, std::string(out.data(), c.outLen));
      EXPECT_EQ('?', out[c.outLen]);
    }
  }
  char untouched = '?';
  getSubString(t.data(), n, 1, '*', &untouched, 0);
  EXPECT_EQ('?', untouched);
}

TEST(MbNlsUtil, GetRemainStringKeepsTheByteLength) {
  DTEST_MB_SAMPLES(mb);
  std::string const t = "a" + mb->two + "b";
  char out[16];
  std::memset(out, '?', sizeof out);
  EXPECT_EQ(2u, getRemainString(t.data(), 4, 3, '*', out));
  EXPECT_EQ("*b?", std::string(out, 3));
  EXPECT_EQ(4u, getRemainString(t.data(), 4, 0, '*', out));
  EXPECT_EQ(t, std::string(out, 4));
  EXPECT_EQ(1u, getRemainString(t.data(), 4, 4, '*', out));
  EXPECT_EQ(0u, getRemainString(t.data(), 4, 5, '*', out));
  EXPECT_EQ(0u, getRemainString(t.data(), 0, 0, '*', out));
}

TEST(MbNlsUtil, ExtractionsOverBadBytes) {
  DTEST_MB_SAMPLES(mb);
  char out[16];
  // Bad bytes before the start: no character number, so all pad.
  std::string const before = "a" + mb->invalid[0] + "bc";
  unsigned int const n = len(before);
  std::memset(out, '?', sizeof out);
  EXPECT_EQ(2u, getRemainString(before.data(), n, n - 1, '*', out));
  EXPECT_EQ("**", std::string(out, 2));
  getSubString(before.data(), n, n - 1, '*', out, 3);
  EXPECT_EQ("***", std::string(out, 3));
  // Bad bytes after the start: the conversion of the text raises.
  std::string const after = "ab" + mb->invalid[0];
  EXPECT_DEXCEPTION(getRemainString(after.data(), len(after), 1, '*', out),
                    DInvalidRequest, 1012, false, "dnlsutil", 725);
  std::string const cut = "ab" + mb->truncated;
  EXPECT_DEXCEPTION(getSubString(cut.data(), len(cut), 2, '*', out, 4),
                    DInvalidRequest, 1012, false, "dnlsutil", 760);
}

} // namespace
