// The DString handle: construction, sharing, copy on write, the debug
// descriptions, comparison, conversions and the KOVRA_I18N switch.
#include "dstring.hpp"

#include "string/dstring_p.hpp"

#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

using dtest::bytes;

TEST(DStringConstruct, EmptyFormsShareTheDefaultBuffer) {
  DString a;
  DString b(static_cast<char const*>(nullptr));
  DString c("");
  EXPECT_EQ(DBuffer::defaultBuffer(), a.buffer());
  EXPECT_EQ(a.buffer(), b.buffer());
  EXPECT_EQ(a.buffer(), c.buffer());
  EXPECT_EQ(0u, a.length());
  EXPECT_STREQ("", a);
  EXPECT_EQ(DString::nullBuf(), DBuffer::defaultBuffer()->contents());
}

TEST(DStringConstruct, Numbers) {
  struct Case {
    DString value;
    char const* want;
  };
  Case const cases[] = {
      {DString(-5), "-5"},
      {DString(static_cast<unsigned short>(65535)), "65535"},
      {DString(static_cast<short>(-1)), "-1"},
      {DString(4294967295u), "4294967295"},
      {DString(LONG_MIN), "-9223372036854775808"},
      {DString(ULONG_MAX), "18446744073709551615"},
      {DString(0), "0"},
      {DString(2.0), "2"},
      {DString(1.0 / 3), "0.333333333333333"},
      {DString(0.1), "0.1"},
      {DString(1e20), "1e+20"},
      {DString(123456789012345678.0), "1.23456789012346e+17"},
      {DString(-0.5), "-0.5"},
  };
  for (auto const& c : cases)
    EXPECT_EQ(c.want, bytes(c.value));
}

TEST(DStringConstruct, CharactersAndTexts) {
  DString nul('\0');
  EXPECT_EQ(1u, nul.length());
  EXPECT_EQ(std::string(1, '\0'), bytes(nul));
  std::ostringstream out;
  out << nul;
  EXPECT_EQ("", out.str());

  EXPECT_EQ("\xE9", bytes(DString(static_cast<unsigned char>(0xE9))));
  EXPECT_EQ("x", bytes(DString(static_cast<signed char>('x'))));
  unsigned char const utext[] = {0xC3, 0xA9, 0};
  EXPECT_EQ("\xC3\xA9", bytes(DString(utext)));
  signed char const stext[] = {'a', 'b', 0};
  EXPECT_EQ("ab", bytes(DString(stext)));
  // A text is copied up to its first NUL only.
  EXPECT_EQ("ab", bytes(DString("ab\0cd")));
}

TEST(DStringConstruct, RawPiecesAndPad) {
  EXPECT_EQ("***", bytes(DString(static_cast<void const*>(nullptr), 3, '*')));
  EXPECT_EQ("ab--", bytes(DString("ab", 2, nullptr, 2, '-')));
  EXPECT_EQ("a..bc", bytes(DString("a", 1, nullptr, 2, "bc", 2, '.')));
  EXPECT_EQ(std::string("a\0b", 3), bytes(DString("a\0b", 3)));
  EXPECT_EQ("", bytes(DString("abc", 0)));
  std::string const view("x\0y", 3);
  EXPECT_EQ(view, bytes(DString(std::string_view(view))));
}

TEST(DStringShare, CopyAssignAndSelfAssign) {
  DString a("shared text");
  EXPECT_EQ(1u, a.buffer()->useCount());
  {
    DString b(a);
    EXPECT_EQ(a.buffer(), b.buffer());
    EXPECT_EQ(2u, a.buffer()->useCount());
    DString c("other");
    DBuffer* old = c.buffer();
    old->addRef(); // keep it observable after c lets go
    c = a;
    EXPECT_EQ(1u, old->useCount());
    old->removeRef();
    EXPECT_EQ(3u, a.buffer()->useCount());
  }
  EXPECT_EQ(1u, a.buffer()->useCount());
  DString& self = a;
  a = self;
  EXPECT_EQ(1u, a.buffer()->useCount());
  EXPECT_EQ("shared text", bytes(a));
}

TEST(DStringShare, AdoptKeepsTheCount) {
  DBuffer* made = DBuffer::defaultBuffer()->newBuffer("xyz", 3, nullptr, 0,
                                                      nullptr, 0, ' ');
  ASSERT_NE(nullptr, made);
  EXPECT_EQ(1u, made->useCount());
  DString adopted(made);
  EXPECT_EQ(made, adopted.buffer());
  EXPECT_EQ(1u, made->useCount());
  EXPECT_EQ("xyz", bytes(adopted));
}

TEST(DStringShare, PrepareToChangeCopiesOnlyShared) {
  DString a("abc");
  DBuffer* first = a.buffer();
  a.prepareToChange();
  EXPECT_EQ(first, a.buffer()); // unshared: nothing to do
  DString b(a);
  b.prepareToChange();
  EXPECT_NE(first, b.buffer());
  EXPECT_EQ(1u, b.buffer()->useCount());
  EXPECT_EQ(1u, a.buffer()->useCount());
  EXPECT_EQ("abc", bytes(b));
  EXPECT_EQ('\0', static_cast<char const*>(b)[3]);
}

//===--- Length overflow --------------------------------------------------===//

TEST(DBufferOverflow, NewBufferChecksBeforeAllocating) {
  DBuffer* base = DBuffer::defaultBuffer();
  struct Case {
    unsigned int l1, l2, l3;
  };
  Case const failing[] = {{0xFFFFFFFFu, 0, 0},
                          {0, 0xFFFFFFFFu, 0},
                          {1, 0xFFFFFFFDu, 1},
                          {0x80000000u, 0x7FFFFFFFu, 0},
                          {0x7FFFFFFFu, 0x7FFFFFFFu, 1}};
  dtest::RecordingTrace trace;
  for (auto const& c : failing) {
    SCOPED_TRACE(c.l1);
    EXPECT_DEXCEPTION(
        base->newBuffer(nullptr, c.l1, nullptr, c.l2, nullptr, c.l3, ' '),
        DInvalidRequest, 1010, true, "dbuffer0", 561);
  }
  // Passing the sum check still meets allocate()'s narrower bound.
  EXPECT_DEXCEPTION(
      base->newBuffer(nullptr, 0xFFFFFFFEu, nullptr, 0, nullptr, 0, ' '),
      DInvalidRequest, 1010, true, "dbuffer0", 561);
  EXPECT_DEXCEPTION(base->allocate(4294967271u), DInvalidRequest, 1010, true,
                    "dbuffer0", 561);
}

// The length arithmetic every length-changing operation goes through, at
// its exact bounds: a length is at most 0xFFFFFFFE, a buffer at most
// 4294967270 bytes. Nothing here allocates.
TEST(DBufferOverflow, CheckedLengthArithmetic) {
  struct Case {
    unsigned int a, b;
    bool sumFits, productFits;
  };
  constexpr Case cases[] = {
      {0, 0, true, true},
      {0xFFFFFFFEu, 0, true, true},
      {0, 0xFFFFFFFEu, true, true},
      {0xFFFFFFFFu, 0, false, true},
      {0, 0xFFFFFFFFu, false, true},
      {0xFFFFFFFDu, 1, true, true},
      {1, 0xFFFFFFFEu, false, true},
      {0x7FFFFFFFu, 0x7FFFFFFFu, true, false},
      {0x80000000u, 0x7FFFFFFFu, false, false},
      {0x80000000u, 0x7FFFFFFEu, true, false},
      {0xFFFFFFFFu, 1, false, false},
      {0xFFFFFFFFu, 0xFFFFFFFFu, false, false},
      {0x7FFFFFFFu, 2, true, true},  // 0xFFFFFFFE
      {0x80000000u, 2, true, false}, // 2^32
      {0x55555555u, 3, true, false}, // 0xFFFFFFFF: no length
      {0x10000u, 0xFFFFu, true, true},
      {0x10000u, 0x10000u, true, false}};
  dtest::RecordingTrace trace;
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::Message() << c.a << " " << c.b);
    if (c.sumFits)
      EXPECT_EQ(c.a + c.b, dinternal::checkedAdd(c.a, c.b));
    else
      EXPECT_DEXCEPTION(dinternal::checkedAdd(c.a, c.b), DInvalidRequest, 1010,
                        true, "dbuffer0", 561);
    if (c.productFits)
      EXPECT_EQ(c.a * c.b, dinternal::checkedMultiply(c.a, c.b));
    else
      EXPECT_DEXCEPTION(dinternal::checkedMultiply(c.a, c.b), DInvalidRequest,
                        1010, true, "dbuffer0", 561);
  }
  EXPECT_EQ(0xFFFFFFFEu, dinternal::checkedLength(0xFFFFFFFEu));
  EXPECT_DEXCEPTION(dinternal::checkedLength(0xFFFFFFFFu), DInvalidRequest,
                    1010, true, "dbuffer0", 561);
  EXPECT_DEXCEPTION(dinternal::checkedLength(std::size_t{1} << 32),
                    DInvalidRequest, 1010, true, "dbuffer0", 561);
  dinternal::checkAllocatable(4294967270u);
  EXPECT_DEXCEPTION(dinternal::checkAllocatable(4294967271u), DInvalidRequest,
                    1010, true, "dbuffer0", 561);
  EXPECT_DEXCEPTION(dinternal::checkAllocatable(1ull << 40), DInvalidRequest,
                    1010, true, "dbuffer0", 561);
}

TEST(DBufferOverflow, ReportLinesAndReceiverUnchanged) {
  DString s("keep me");
  DBuffer* before = s.buffer();
  dtest::RecordingTrace trace;
  try {
    s = DString(nullptr, 0xFFFFFFFFu, ' ');
    FAIL() << "no exception";
  } catch (DInvalidRequest const& e) {
    EXPECT_EQ(1ul, e.textCount());
    EXPECT_STREQ(DBase::messageText(1010).text(), e.text(0));
  }
  EXPECT_EQ(before, s.buffer());
  EXPECT_EQ("keep me", bytes(s));
  ASSERT_EQ(5u, trace.lines.size());
  EXPECT_EQ("DInvalidRequest exception thrown.\n   function: Unknown\n"
            "   file: dbuffer0\n   line: 561",
            trace.lines[0]);
  EXPECT_EQ("   Error Id is 1010", trace.lines[1]);
  EXPECT_EQ("   Error Code group is Zorvane Class Library", trace.lines[2]);
  EXPECT_EQ("   Exception text is:", trace.lines[3]);
  EXPECT_EQ(std::string("      ") + DBase::messageText(1010).text(),
            trace.lines[4]);
  EXPECT_EQ(1, trace.logged);
}

// Every length-growing operation at its bound: it raises 1010 (reported
// once) before changing anything, whether the handle holds its buffer
// alone or shares it, in both values of fgI18NState.
TEST(DStringBound, GrowingOperationsRaise1010AndChangeNothing) {
  char const r[] = "r";
  struct Row {
    char const* text;
    std::function<void(DString&)> grow;
  };
  Row const rows[] = {
      {"ab", [](DString& s) { s.copy(0x80000000u); }},
      {"ab", [](DString& s) { s.copy(0xFFFFFFFFu); }},
      // A one-byte text passes copy's own check and meets allocate()'s.
      {"x", [](DString& s) { s.copy(0xFFFFFFFFu); }},
      {"x", [](DString& s) { s.copy(4294967271u); }},
      // The replacement is never read: the lengths are checked first.
      {"ab", [&r](DString& s) { s.change("a", 1, r, 0xFFFFFFFEu, 1, 9); }},
      {"ab", [&r](DString& s) { s.change("a", 1, r, 0xFFFFFFF1u, 1, 9); }},
      {"aa", [&r](DString& s) { s.change("a", 1, r, 0x80000000u, 1, 9); }},
      {"aa", [&r](DString& s) { s.change("a", 1, r, 0xFFFFFFFEu, 1, 9); }},
      {"ab", [&r](DString& s) { s.insert(r, 0xFFFFFFFEu, 1); }},
      {"abc", [](DString& s) { s[0xFFFFFFFFu]; }},
      {"abc", [](DString& s) { s[0xFFFFFFF0u]; }},
      {"a b", [](DString& s) { s.space(0xFFFFFFFFu, '-'); }},   // first gap
      {"a b", [](DString& s) { s.space(0xFFFFFFFEu, '-'); }},   // second word
      {"a b", [](DString& s) { s.space(0xFFFFFFFDu, '-'); }},   // the factory
      {"a b c", [](DString& s) { s.space(0x80000000u, '-'); }}, // second gap
  };
  dtest::RecordingTrace trace;
  int raised = 0;
  for (int state : {0, 1}) {
    dtest::I18NState i18n(state);
    for (bool shared : {false, true}) {
      for (auto const& row : rows) {
        SCOPED_TRACE(std::string(row.text) + " row " +
                     std::to_string(&row - rows) + " shared " +
                     std::to_string(shared) + " i18n " + std::to_string(state));
        DString s(row.text);
        DString other;
        if (shared)
          other = s;
        DBuffer const* const before = s.buffer();
        EXPECT_DEXCEPTION(row.grow(s), DInvalidRequest, 1010, true, "dbuffer0",
                          561);
        EXPECT_EQ(++raised, trace.logged);
        EXPECT_EQ(before, s.buffer());
        EXPECT_EQ(shared ? 2u : 1u, before->useCount());
        EXPECT_STREQ(row.text, s);
        EXPECT_EQ(std::strlen(row.text), s.length());
        if (shared) {
          EXPECT_STREQ(row.text, other);
        }
      }
    }
  }
}

// allocate(4294967270) passes the length check; proving it without 4 GiB
// of memory: in a child where large allocations fail, the allocation itself
// fails instead (the library's new-handler raises DOutOfMemory).
TEST(DBufferOverflow, LargestLengthPassesTheCheck) {
  if (!dtest::allocationsCanFail())
    GTEST_SKIP() << "allocations cannot be made to fail here (valgrind)";
  using dtest::LimitedOutcome;
  LimitedOutcome const outcome =
      dtest::runWithLimitedMemory(std::size_t{256} << 20, [] {
        DBuffer::defaultBuffer()->allocate(4294967270u);
      });
  EXPECT_EQ(LimitedOutcome::outOfMemory, outcome)
      << "child exit " << static_cast<int>(outcome);
}

//===--- Debug descriptions -----------------------------------------------===//

TEST(DStringDebug, BufferShowsShortTextsWholeAndLongOnesCut) {
  DString const text23("abcdefghijklmnopqrstuvw");
  DString const text24("abcdefghijklmnopqrstuvwx");
  auto expect = [](DString const& s, char const* data) {
    return "DBuffer(@" +
           std::to_string(reinterpret_cast<unsigned long>(s.buffer())) +
           ",refs=1,len=" + std::to_string(s.length()) + ",data=[" + data +
           "])";
  };
  EXPECT_EQ(expect(text23, "abcdefghijklmnopqrstuvw"),
            bytes(text23.buffer()->asDebugInfo()));
  EXPECT_EQ(expect(text24, "abcdefghij...opqrstuvwx"),
            bytes(text24.buffer()->asDebugInfo()));
  std::string const handle =
      "DString(@" + std::to_string(reinterpret_cast<unsigned long>(&text23)) +
      ",pBuffer->" + bytes(text23.buffer()->asDebugInfo()) + ")";
  EXPECT_EQ(handle, bytes(text23.asDebugInfo()));
}

//===--- Comparison and conversions ---------------------------------------===//

TEST(DStringCompare, OperatorsFollowByteOrder) {
  struct Case {
    char const* a;
    char const* b;
    int order; // -1, 0, 1
  };
  Case const cases[] = {
      {"abc", "abd", -1}, {"abd", "abc", 1}, {"ab", "abc", -1},
      {"abc", "ab", 1},   {"", "", 0},       {"", "x", -1},
      {"x", "", 1},       {"\xE9", "e", 1},  {"same", "same", 0}};
  dtest::I18NState bytesMode(0);
  for (auto const& c : cases) {
    SCOPED_TRACE(std::string(c.a) + " vs " + c.b);
    DString const a(c.a), b(c.b);
    EXPECT_EQ(c.order == 0, a == b);
    EXPECT_EQ(c.order != 0, a != b);
    EXPECT_EQ(c.order < 0, a < b);
    EXPECT_EQ(c.order <= 0, a <= b);
    EXPECT_EQ(c.order > 0, a > b);
    EXPECT_EQ(c.order >= 0, a >= b);
    EXPECT_EQ(c.order == 0, a == c.b);
    EXPECT_EQ(c.order < 0, a < c.b);
    EXPECT_EQ(c.order == 0, c.a == b);
    EXPECT_EQ(c.order < 0, c.a < b);
    EXPECT_EQ(c.order > 0, c.a > b);
  }
  EXPECT_TRUE(DString("x") > static_cast<char const*>(nullptr));
}

TEST(DStringConvert, ViewsStringsAndHash) {
  std::string const raw("a\0b", 3);
  DString const s{std::string_view(raw)};
  EXPECT_EQ(raw, static_cast<std::string>(s));
  EXPECT_EQ(std::string_view(raw), static_cast<std::string_view>(s));
  EXPECT_EQ(std::hash<std::string_view>()(raw), std::hash<DString>()(s));
  EXPECT_EQ(3u, s.size());
}

//===--- KOVRA_I18N -------------------------------------------------------===//

// Runs in a child process started by the test below with KOVRA_I18N set.
DTEST_CHILD(I18NState) {
  EXPECT_EQ(std::atoi(std::getenv("ZYN_EXPECT_I18N")), DString::fgI18NState);
}

TEST(DStringI18N, EnvironmentValues) {
  struct Case {
    char const* value; // null: unset
    int want;
  };
  Case const cases[] = {{"ON", 1},  {"on", 1},   {"oN", 1}, {"On", 1},
                        {"ONE", 0}, {"", 0},     {"1", 0},  {"on ", 0},
                        {"of", 0},  {nullptr, 0}};
  for (auto const& c : cases) {
    SCOPED_TRACE(c.value ? c.value : "(unset)");
    std::vector<std::pair<std::string, std::string>> set = {
        {"ZYN_EXPECT_I18N", c.want ? "1" : "0"}};
    std::vector<std::string> unset;
    if (c.value)
      set.emplace_back("KOVRA_I18N", c.value);
    else
      unset.emplace_back("KOVRA_I18N");
    dtest::ChildResult const r = dtest::runChild("I18NState", set, unset);
    EXPECT_EQ(0, r.exitCode) << r.output;
  }
}
