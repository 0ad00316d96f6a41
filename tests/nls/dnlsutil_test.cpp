// Conversion errors: where each raises 1012, what the padded extractions
// do around bad bytes, and the one error of the conversion back to bytes.
#include "dnlsutil.hpp"

#include "dmbtest.hpp"

using dtest::len;

TEST(MbNlsUtil, InvalidSequencesRaise) {
  DTEST_MB(c);
  dtest::RecordingTrace trace;
  wchar_t out[32];
  char bytes[32] = {};
  std::string const cut = "ab" + c.truncated;
  for (std::string const& bad : c.invalid) {
    std::string const t = "a" + bad + "b";
    EXPECT_DEXCEPTION(cvtMBS2WCS(t.data(), len(t), out), DInvalidRequest, 1012,
                      false, "dnlsutil", 725);
    EXPECT_DEXCEPTION(DWBuffer(t.data(), len(t)), DInvalidRequest, 1012, false,
                      "dnlsutil", 725);
  }
  EXPECT_DEXCEPTION(cvtMBS2WCS(cut.data(), len(cut), out), DInvalidRequest,
                    1012, false, "dnlsutil", 760);
  // With its terminator in reach the cut lead is plainly invalid.
  EXPECT_DEXCEPTION(DWBuffer w(cut.c_str()), DInvalidRequest, 1012, false,
                    "dnlsutil", 725);
  std::mbstate_t state{};
  EXPECT_DEXCEPTION(cvtMB2WC(c.wide.data(), 1, out, &state), DInvalidRequest,
                    1012, false, "dnlsutil", 760);
  state = std::mbstate_t{};
  EXPECT_EQ(1u, cvtMB2WC("\0z", 2, out, &state)); // a NUL is one byte
  EXPECT_GE(trace.logged, 4); // each was reported before it was thrown
  // Bad bytes before the start: no character number, so all pad; after it
  // the conversion of the text raises.
  std::string const before = "a" + c.invalid[0] + "bc";
  std::memset(bytes, '?', sizeof bytes);
  EXPECT_EQ(2u, getRemainString(before.data(), len(before), len(before) - 1,
                                '*', bytes));
  EXPECT_EQ("**?", std::string(bytes, 3));
  getSubString(before.data(), len(before), len(before) - 1, '*', bytes, 3);
  EXPECT_EQ("***", std::string(bytes, 3));
  std::string const after = "ab" + c.invalid[0];
  EXPECT_DEXCEPTION(getRemainString(after.data(), len(after), 1, '*', bytes),
                    DInvalidRequest, 1012, false, "dnlsutil", 725);
  EXPECT_DEXCEPTION(getSubString(cut.data(), len(cut), 2, '*', bytes, 4),
                    DInvalidRequest, 1012, false, "dnlsutil", 760);
  // A wide value with no bytes: recoverable, id 0, what was written stays.
  wchar_t const w[] = {L'a', static_cast<wchar_t>(0xD800)};
  EXPECT_DEXCEPTION(cvtWCS2MBS(w, 2, bytes, 16, 1, '*'), DInvalidRequest, 0,
                    true, "dnlsutil", 880);
  EXPECT_EQ('a', bytes[0]);
  try {
    cvtWCS2MBS(w, 2, bytes, 16, 0, '*');
  } catch (DInvalidRequest const& e) {
    EXPECT_STREQ("cvtWCS2MBS", e.text());
  }
  // Null arguments answer 0.
  EXPECT_EQ(0u, cvtMBS2WCS(nullptr, 3, out) + cvtMBS2WCS("abc", 3, nullptr) +
                    cvtWCS2MBS(nullptr, 1, bytes, 4, 1, '*') +
                    cvtWCS2MBS(L"a", 1, nullptr, 4, 1, '*') +
                    findBytePos(nullptr, 3, 1) + findCharNum(nullptr, 3, 1) +
                    findNextCharNum(nullptr, 3, 1) + findCurPos(nullptr, 3, 1) +
                    findNextPos(nullptr, 3, 1));
}
