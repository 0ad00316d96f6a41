// The multibyte suites, run in each multibyte test locale, for what
// generated inputs do not reach (fuzz_mb checks searches, edits, classes,
// the walk, the collation of valid text and stream input against models):
// the buffer classes, where bad bytes raise 1012, which buffer an edit
// leaves, throwing predicates and the comparison of bad bytes.
#include "ddbcsb.hpp"
#include "dnlsutil.hpp"
#include "dtest_support.hpp"

#include <functional>
#include <malloc.h>

using dtest::bytes;
using dtest::len;
using dtest::make;
using Edit = std::function<void(DString&)>;

namespace {

struct Mb {
  std::string wide;      // a character of three or four bytes
  std::string truncated; // a lead cut short (valid only at the text's end)
  std::vector<std::string> invalid; // sequences that start no character
};

// The samples of the current locale (codeset, wide, truncated, then the
// invalid sequences), or null outside the test locales.
Mb const* mbSamples() {
  static Mb samples;
  for (std::string const row :
       {"UTF-8|\xF0\x9F\x98\x80|\xE3\x81|\x80|\xC0\xAF|\xFF|\xED\xA0\x80",
        "EUC-JP|\x8F\xB0\xA1|\x8F\xB0|\xFF|\xA4\x41|\x8E\x41",
        "GB18030|\x81\x30\x86\x38|\x81\x30\x81|\x80|\xFF|\x81\x30\x20"}) {
    std::vector<std::string> f(1);
    for (char c : row)
      c == '|' ? f.emplace_back() : (f.back() += c);
    if (MB_CUR_MAX > 1 && dtest::localeIs(f[0].c_str()))
      return &(samples = {f[1], f[2], {f.begin() + 3, f.end()}});
  }
  return nullptr;
}

DStringTest const star([](int c) { return int(c == '*'); });

} // namespace

/// Skips the test outside the multibyte test locales; else binds \p name.
#define DTEST_MB(name)                                                         \
  Mb const* const name##p = mbSamples();                                       \
  if (name##p == nullptr)                                                      \
    GTEST_SKIP() << "not a multibyte test locale";                             \
  [[maybe_unused]] Mb const& name = *name##p

// The multibyte class makes its own kind whatever the locale; the
// single-byte one asks MB_CUR_MAX at each call.
TEST(MbFactory, BufferClassesAndAllocate) {
  DTEST_MB(c);
  DString const text("abc");
  DBuffer const* const mb = text.buffer();
  EXPECT_EQ(DBuffer::defaultBuffer(), mb->null());
  std::string const saved = std::setlocale(LC_CTYPE, nullptr);
  for (char const* locale : {saved.c_str(), "C"})
    for (DBuffer const* b :
         {static_cast<DBuffer const*>(DBuffer::nullDBuffer), mb}) {
      std::setlocale(LC_CTYPE, locale);
      DBuffer* const made = b->allocate(3);
      bool const single = b == DBuffer::nullDBuffer && locale != saved.c_str();
      EXPECT_STREQ(single ? "DBuffer" : "DDBCSBuffer", made->className());
      EXPECT_EQ(3u, made->length() * made->useCount());
      EXPECT_EQ(b->null(),
                b->newBuffer(nullptr, 0, nullptr, 0, nullptr, 0, ' '));
      made->removeRef(), b->null()->removeRef();
    }
  std::setlocale(LC_CTYPE, saved.c_str());
  dtest::RecordingTrace trace;
  EXPECT_DEXCEPTION(DBuffer::defaultBuffer()->allocate(0xFFFFFFE7u),
                    DInvalidRequest, 1010, true, "dbuffer0", 561);
}

// Segments holding bytes that are no characters compare by their bytes,
// without a report.
TEST(MbCompare, BadBytesCompareAsBytes) {
  DTEST_MB(c);
  std::string const bad = c.invalid[0], cut = "ab" + c.truncated;
  std::tuple<std::string, std::string, unsigned int> const rows[] = {
      {"a" + bad + "a", "a" + bad + "b", 2},
      {bad, bad, 0},
      {"a" + bad + "b", "a" + bad + "a", 1},
      {cut, cut + "x", 2}};
  dtest::RecordingTrace trace;
  dtest::I18NState const flag(1);
  for (auto const& [a, b, want] : rows)
    EXPECT_EQ(want, make(a).buffer()->compare(b.data(), len(b)))
        << testing::PrintToString(a) << " " << testing::PrintToString(b);
  EXPECT_EQ(0, trace.logged);
}

// Where each conversion raises 1012, what the padded extractions do around
// bad bytes, and the one error of the conversion back to bytes.
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

// Which buffer an edit leaves; flag 1 edits wide text, so bad bytes (in
// the text or the argument) raise. (Flag 0 never raises: fuzz_mb.)
TEST(MbEdit, ResultBuffersAndBadBytes) {
  DTEST_MB(c);
  std::string const w = c.wide, bad = "ab\xFF" + w + "cd";
  enum { raises, fresh, kept };
  std::tuple<int, std::string, Edit, int> const rows[] = {
      {0, "ab" + w, [](DString& s) { s.upperCase(); }, kept}, // in place
      {0, w, [](DString& s) { s.upperCase(); }, kept},        // no letter
      {1, w, [](DString& s) { s.upperCase(); }, fresh},
      {0, w, [](DString& s) { s.translate("a", 1, "X", 1); }, fresh},
      {0, "a" + w, [](DString& s) { s.strip(star); }, kept},
      {1, bad, [](DString& s) { s.leftJustify(4, '*'); }, raises},
      {1, bad, [](DString& s) { s.center(3, '*'); }, raises},
      {1, bad, [](DString& s) { s.insert("X", 1, 2, '*'); }, raises},
      {1, bad, [](DString& s) { s.overlayWith("X", 1, 2, '*'); }, raises},
      {1, bad, [](DString& s) { s.reverse(); }, raises},
      {1, bad, [](DString& s) { s.upperCase(); }, raises},
      {1, bad, [](DString& s) { s.strip("a", 1, DStringEnum::both); }, raises},
      {1, bad, [](DString& s) { s.strip(star, DStringEnum::both); }, raises},
      {1, bad, [](DString& s) { s.translate("a", 1, "b", 1, '*'); }, raises},
      {1, bad, [](DString& s) { s = s.subString(1, 3, '*'); }, raises},
      {1, bad, [](DString& s) { s.indexOfAnyOf(star, 1); }, raises},
      {1, "abc", [](DString& s) { s.insert("\xFF", 1, 1, '*'); }, raises}};
  dtest::RecordingTrace trace;
  for (auto const& [flag, text, edit, outcome] : rows) {
    dtest::I18NState const state(flag);
    DString s = make(text);
    DBuffer const* const before = s.buffer();
    if (outcome == raises) {
      EXPECT_DEXCEPTION(edit(s), DInvalidRequest, 1012, false, "dnlsutil", 725);
    } else {
      edit(s);
      EXPECT_EQ(outcome == kept, s.buffer() == before) << text;
    }
  }
  // Backwards, the character number is looked up first; with a bad byte
  // before the start there is none: 0, no conversion.
  dtest::I18NState const flag(1);
  EXPECT_EQ(0u, make(bad).lastIndexOfAnyBut(star, ~0u));
  // Everything stripped: the shared empty buffer, except trailing only
  // with flag 0, which makes a new empty one.
  for (int flag : {0, 1})
    for (auto mode :
         {DStringEnum::leading, DStringEnum::both, DStringEnum::trailing}) {
      dtest::I18NState const state(flag);
      DString s = make(w + w);
      s.strip(w.data(), len(w), mode);
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
