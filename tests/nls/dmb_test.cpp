// The multibyte suites, run in each multibyte test locale: where bad bytes
// raise 1012 (fuzz_mb checks the rest against models).
#include "ddbcsb.hpp"
#include "dnlsutil.hpp"
#include "dtest_support.hpp"

#include <cwchar>
#include <functional>
#include <sstream>

using dtest::bytes;
using dtest::len;
using dtest::make;
using namespace std::string_literals;

// Bad bytes raise 1012 where they are found (725: a sequence that starts
// no character, 760: one cut off by the end); flag 1 edits wide text, so
// they raise from edits too (in the text or the argument; fuzz_mb checks
// the edits of the whole text, and that flag 0 never raises).
TEST(MbNlsUtil, BadBytesRaiseWhereFound) {
  // The locale's codeset, a character of three or four bytes, a lead cut
  // short (valid at the text's end only), sequences that start no character.
  std::vector<std::string> f;
  for (std::string const row :
       {"UTF-8|\xF0\x9F\x98\x80|\xE3\x81|\x80|\xC0\xAF|\xFF|\xED\xA0\x80",
        "EUC-JP|\x8F\xB0\xA1|\x8F\xB0|\xFF|\xA4\x41|\x8E\x41",
        "GB18030|\x81\x30\x86\x38|\x81\x30\x81|\x80|\xFF|\x81\x30\x20"}) {
    f.assign(1, "");
    for (char ch : row)
      ch == '|' ? f.emplace_back() : (f.back() += ch);
    if (MB_CUR_MAX > 1 && dtest::localeIs(f[0].c_str()))
      break;
    f.clear();
  }
  if (f.empty())
    GTEST_SKIP() << "not a multibyte test locale";
  std::string const &wide = f[1], &truncated = f[2];
  std::vector<std::string> const invalid(f.begin() + 3, f.end());
  std::string const bad = "ab\xFF" + wide + "cd", cut = "ab" + truncated;
  std::string const tail = "ab" + invalid[0];
  wchar_t out[32];
  char bytes[32] = {};
  std::mbstate_t state{};
  static DStringTest const star([](int ch) { return int(ch == '*'); });
  dtest::RecordingTrace trace;
  auto const raises = [](int line, std::function<void()> const& call) {
    EXPECT_DEXCEPTION(call(), DInvalidRequest, 1012, false, "dnlsutil", line);
  };
  raises(760, [&] { cvtMBS2WCS(cut.data(), len(cut), out); });
  raises(725, [&] { DWBuffer w(cut.c_str()); }); // NUL in reach
  raises(760, [&] { cvtMB2WC(wide.data(), 1, out, &state); });
  raises(725, [&] { getRemainString(tail.data(), len(tail), 1, '*', bytes); });
  raises(760, [&] { getSubString(cut.data(), len(cut), 2, '*', bytes, 4); });
  for (std::string const& seq : invalid) {
    std::string const t = "a" + seq + "b";
    raises(725, [&] { cvtMBS2WCS(t.data(), len(t), out); });
    raises(725, [&] { DWBuffer(t.data(), len(t)); });
  }
  dtest::I18NState const flag(1);
  // Edits of a string holding bad, or of a bad argument.
  raises(725, [&] { make(bad).leftJustify(4, '*'); });
  raises(725, [&] { make(bad).center(3, '*'); });
  raises(725, [&] { make(bad).insert("X", 1, 2, '*'); });
  raises(725, [&] { make(bad).overlayWith("X", 1, 2, '*'); });
  raises(725, [&] { make(bad).strip(star, DStringEnum::both); });
  raises(725, [&] { make(bad).subString(1, 3, '*'); });
  raises(725, [&] { make(bad).indexOfAnyOf(star, 1); });
  raises(725, [&] { make("abc").insert("\xFF", 1, 1, '*'); });
  EXPECT_GE(trace.logged, 5 + 2 * int(invalid.size()) + 8); // then thrown
  state = std::mbstate_t{};
  EXPECT_EQ(1u, cvtMB2WC("\0z", 2, out, &state)); // a NUL is one byte
  // Backwards, the character number is looked up first; with a bad byte
  // before the start there is none: 0, no conversion.
  EXPECT_EQ(0u, make(bad).lastIndexOfAnyBut(star, ~0u));
  // Bad bytes before an extraction's start: no character number, all pad.
  std::string const before = "a" + invalid[0] + "bc";
  std::memset(bytes, '?', sizeof bytes);
  EXPECT_EQ(2u, getRemainString(before.data(), len(before), len(before) - 1,
                                '*', bytes));
  EXPECT_EQ("**?", std::string(bytes, 3));
  getSubString(before.data(), len(before), len(before) - 1, '*', bytes, 3);
  EXPECT_EQ("***", std::string(bytes, 3));
  // A wide value with no bytes: recoverable, id 0, what was written stays.
  wchar_t const w[] = {L'a', static_cast<wchar_t>(0xD800)};
  for (int padded : {1, 0})
    EXPECT_DEXCEPTION(cvtWCS2MBS(w, 2, bytes, 16, padded, '*'), DInvalidRequest,
                      0, true, "dnlsutil", 880);
  EXPECT_EQ('a', bytes[0]);
  // Null arguments answer 0.
  EXPECT_EQ(0u, cvtMBS2WCS(nullptr, 3, out) + cvtMBS2WCS("abc", 3, nullptr) +
                    cvtWCS2MBS(nullptr, 1, bytes, 4, 1, '*') +
                    cvtWCS2MBS(L"a", 1, nullptr, 4, 1, '*') +
                    findBytePos(nullptr, 3, 1) + findCharNum(nullptr, 3, 1) +
                    findNextCharNum(nullptr, 3, 1) + findCurPos(nullptr, 3, 1) +
                    findNextPos(nullptr, 3, 1));
}

// Regressions: stream input stores the bytes read into a target that held a
// character; a segment cut off inside a character collates by its bytes.
TEST(MbRegressions, StreamInputAndCutCollation) {
  DString target("\xE6\x97\xA5");
  std::istringstream("\xE6 rest") >> target;
  EXPECT_EQ("\xE6", bytes(target));
  dtest::I18NState const wide(1);
  std::string const a(40, 'a'), cut = a + "\x81\x30";
  DString const s = make(a + "zz");
  for (wchar_t* block : {new wchar_t[43], new wchar_t[43]}) // both, then
    delete[] std::wmemset(block, 1, 43); // freed for the arrays to reuse
  EXPECT_EQ(2u, s.buffer()->compare(cut.data(), 42));
}

// In these three codesets words are runs of bytes: the byte scan agrees with
// the character walk and the byte model, on pieces of all three codesets.
TEST(MbWords, ByteScanAgreesWithTheCharacterWalk) {
  if (MB_CUR_MAX < 2)
    GTEST_SKIP() << "not a multibyte locale";
  // Its words come through the search slots.
  struct SlotWords : DDBCSBuffer {
    using DDBCSBuffer::DDBCSBuffer;
  };
  std::vector<std::string> pieces(1);
  for (char ch : " |\t|\n\v\f\r|ab|\0|\xC3\xA9|\xE3\x81\x82|\xF0\x9F\x98\x80|"
                 "\xE3\x81|\x80|\xFF|\xA4\xA2|\x8E\xB1|\x8F\xB0\xA1|\x8E|\x8F|"
                 "\xA4|\x81\x30\x86\x38|\x81\x30|\x81|\xB0\xA1"s)
    ch == '|' ? pieces.emplace_back() : (pieces.back() += ch);
  std::uint32_t seed = 7;
  auto const next = [&seed](std::uint32_t bound) {
    seed = seed * 1103515245u + 12345u;
    return (seed >> 16) % bound;
  };
  for (int round = 0; round < 3000; ++round) {
    std::string t;
    for (std::uint32_t k = next(40); k-- > 0;)
      t += pieces[next(std::uint32_t(pieces.size()))];
    SCOPED_TRACE(testing::PrintToString(t));
    DString const fast = make(t), walked = dtest::makeIn<SlotWords>(t);
    ASSERT_STREQ("DDBCSBuffer", fast.buffer()->className());
    std::vector<dmodel::Word> const words = dmodel::words(t);
    EXPECT_EQ(words.size(), fast.numWords());
    EXPECT_EQ(words.size(), walked.numWords());
    // The second word from any byte on, inside a character too.
    std::uint32_t const from = next(std::uint32_t(t.size()) + 2);
    EXPECT_EQ(walked.indexOfWord(2, from, 0), fast.indexOfWord(2, from, 0));
    std::string spaced;
    for (dmodel::Word const& w : words)
      spaced += (spaced.empty() ? "" : "_") + t.substr(w.pos - 1, w.length);
    EXPECT_EQ(spaced, bytes(DString(fast).space(1, '_')));
    if (!words.empty()) {
      EXPECT_EQ(words[words.size() / 2].pos,
                fast.indexOfWord(dmodel::u32(words.size() / 2 + 1), 1, 0));
    }
  }
}
