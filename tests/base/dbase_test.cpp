// Root classes and the message catalogue: version, asString and debug
// texts, the catalogue name and its first use, loading and filling in
// messages from the tests' own catalogue, and the out-of-memory handler.
#include "dbase.hpp"

#include "dexctrace.hpp"
#include "dstring.hpp"
#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <cstdio>
#include <new>
#include <sstream>
#include <string>
#include <vector>

namespace {

char const testCatalogue[] = ZYN_BASE_TEST_CATALOG;
char const missingText[] = "Unable to load text from message file.";

// Points the library at another catalogue for one scope.
class MessageFileScope {
public:
  explicit MessageFileScope(char const* name) : saved(DBase::messageFile()) {
    DBase::setMessageFile(name);
  }
  ~MessageFileScope() { DBase::setMessageFile(saved.c_str()); }

private:
  std::string saved;
};

class Described : public DVBase {
public:
  DString asString() const override { return DString("described"); }
};

} // namespace

TEST(DBase, VersionAndTexts) {
  DBase::Version const v = DBase::version();
  EXPECT_EQ(310, v.major);
  EXPECT_EQ(1, v.minor);

  DBase const base;
  DVBase const vbase;
  EXPECT_STREQ("DBase object", base.asString());
  EXPECT_STREQ("DVBase object", vbase.asString());

  std::ostringstream out;
  Described const described;
  out << base << '|' << vbase << '|' << static_cast<DVBase const&>(described);
  EXPECT_EQ("DBase object|DVBase object|described", out.str());
}

// The address as the shortest big-endian bytes in upper-case hexadecimal.
TEST(DBase, DebugInfoShowsAddressInHex) {
  DString probe("65535");
  probe.d2c();
  if (dtest::bytes(probe) != "\xFF\xFF")
    GTEST_SKIP() << "the radix conversions are not in this build yet";
  auto hexOf = [](void const* p) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%lX",
                  reinterpret_cast<unsigned long>(p));
    std::string hex = digits;
    return hex.size() % 2 == 1 ? "0" + hex : hex;
  };
  DBase const base;
  DVBase const vbase;
  EXPECT_EQ("DBase(@" + hexOf(&base) + ")", dtest::bytes(base.asDebugInfo()));
  EXPECT_EQ("DVBase(@" + hexOf(&vbase) + ")",
            dtest::bytes(vbase.asDebugInfo()));
}

TEST(DBaseMessageFile, SetAndKeep) {
  std::string const before = DBase::messageFile();
  DBase::setMessageFile(nullptr);
  EXPECT_EQ(before, DBase::messageFile());
  {
    MessageFileScope const scope(testCatalogue);
    EXPECT_STREQ(testCatalogue, DBase::messageFile());
    // The name in force may be handed back in.
    DBase::setMessageFile(DBase::messageFile());
    EXPECT_STREQ(testCatalogue, DBase::messageFile());
    EXPECT_STREQ("Bad x at %2",
                 DBase::messageText(1, "x", nullptr, "z").text());
  }
  EXPECT_EQ(before, DBase::messageFile());
  EXPECT_STRNE(missingText, DBase::messageText(4).text());
}

// Run only as a fresh child process by the tests below: reports the state
// the library is in at its first use.
TEST(DBaseFreshProcess, Report) {
  char const* const mode = std::getenv("ZYN_FRESH_MSGFILE");
  if (mode == nullptr)
    GTEST_SKIP() << "runs only in a child started by DBaseMessageFile tests";
  if (std::string(mode) == "unset")
    unsetenv("KOVRA MSGFILE");
  else
    setenv("KOVRA MSGFILE", mode, 1);
  std::printf("fresh: file [%s]\n", DBase::messageFile());
  std::printf("fresh: handler %s\n",
              std::get_new_handler() == &DKOVR_Init::newHandler ? "library"
                                                                : "other");
  // The first program writer replaces the library's own.
  DException::TraceFn plain;
  DException::TraceFn* const first = DException::setTraceFunction(plain);
  std::printf("fresh: writer was %s\n",
              dynamic_cast<DKOVR_Init*>(first) != nullptr ? "library"
                                                          : "other");
  DException::setTraceFunction(*first);
}

TEST(DBaseMessageFile, FirstUseInFreshProcess) {
  struct Case {
    char const* mode;
    char const* file;
  };
  Case const cases[] = {{"unset", "zorvanecl.cat"},
                        {"", ""},
                        {"/some/where.cat", "/some/where.cat"}};
  for (auto const& c : cases) {
    SCOPED_TRACE(c.mode);
    dtest::ChildResult const child = dtest::runSelf(
        "DBaseFreshProcess.Report", {{"ZYN_FRESH_MSGFILE", c.mode}});
    EXPECT_EQ(0, child.exitCode) << child.output;
    std::vector<std::string> const want = {std::string("file [") + c.file + "]",
                                           "handler library",
                                           "writer was library"};
    EXPECT_EQ(want, dtest::linesWith(child.output, "fresh: "));
  }
}

TEST(DMessageText, Substitution) {
  struct Case {
    unsigned long id;
    char const* values[9];
    char const* want;
  };
  Case const cases[] = {
      {1, {"x", nullptr, "z"}, "Bad x at %2"}, // counting stops at none
      {1, {"x", "y"}, "Bad x at y"},
      {1, {nullptr, "y"}, "Bad %1 at %2"},
      {1, {"%2", "X"}, "Bad %2 at X"}, // substituted text is not rescanned
      {1, {"x", "\r\n"}, "Bad x at "}, // CR LF dropped after substitution
      {2, {"a"}, "100%% a"},           // "%%" is kept whole
      {3, {"a", "b", "c"}, "a2"},      // placeholders are one digit
      {4, {"a"}, "%0 %a 50% and %"},
      {5, {}, "crlf"},
      {6, {}, "lf\n"},
      {7, {}, "cr\r"},
      {8, {"1", "2", "3", "4", "5", "6", "7", "8", "9"}, "123456789"},
      {8, {"1", "2", "3"}, "123%4%5%6%7%8%9"},
      {9, {"a"}, "%9 then a"},
      {10, {"a"}, ""},
      {11, {}, "twice\r\n"}, // only the last pair goes
      {12, {}, ""},
      {13, {"a"}, "%%1 %%a"},
      {14, {"a"}, "a and a"},
      {14, {""}, " and "},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::Message() << c.id << " -> " << c.want);
    auto const* v = c.values;
    DMessageText const m(c.id, testCatalogue, v[0], v[1], v[2], v[3], v[4],
                         v[5], v[6], v[7], v[8]);
    EXPECT_STREQ(c.want, m.text());
    EXPECT_EQ(m.text(), static_cast<char const*>(m));
  }
}

TEST(DMessageText, MissingTextsAndDefaults) {
  struct Case {
    char const* catalogue;
    unsigned long id;
  };
  Case const cases[] = {{testCatalogue, 999},      // no such message
                        {testCatalogue, 15},       // only in set 2
                        {"/nonexistent/x.cat", 1}, // no catalogue
                        {nullptr, 1}};             // no lookup at all
  for (auto const& c : cases) {
    SCOPED_TRACE(c.id);
    DMessageText m(c.id, c.catalogue, "x");
    EXPECT_STREQ(missingText, m.text());
    m.setDefaultText(nullptr);
    EXPECT_STREQ(missingText, m.text());
    DMessageText& back = m.setDefaultText("t");
    EXPECT_EQ(&m, &back);
    EXPECT_STREQ("t", m.text());
    m.setDefaultText("u");
    EXPECT_STREQ("u", m.text());
  }
  // A found text, even an empty one, is never replaced.
  for (unsigned long id : {6ul, 10ul}) {
    DMessageText m(id, testCatalogue);
    std::string const found = m.text();
    m.setDefaultText("t");
    EXPECT_EQ(found, m.text());
  }
}

TEST(DMessageText, CopiesKeepTextAndLoadedFlag) {
  DMessageText const found(2, testCatalogue, "a");
  DMessageText const missing(999, testCatalogue);

  DMessageText copy(found);
  EXPECT_STREQ("100%% a", copy.text());
  EXPECT_NE(found.text(), copy.text());
  copy.setDefaultText("t"); // still marked as loaded
  EXPECT_STREQ("100%% a", copy.text());

  copy = missing;
  EXPECT_STREQ(missingText, copy.text());
  copy.setDefaultText("t"); // now marked as not loaded
  EXPECT_STREQ("t", copy.text());
  EXPECT_STREQ(missingText, missing.text());

  DMessageText& self = copy;
  copy = self;
  EXPECT_STREQ("t", copy.text());
  copy = found;
  EXPECT_STREQ("100%% a", copy.text());
}

TEST(DMessageText, ReplaceVarsDirectly) {
  DMessageText m(999, nullptr);
  char a[] = "A";
  char b[] = "B";
  char* values[] = {a, b};
  struct Case {
    char const* text;
    unsigned long count;
    char const* want;
  };
  Case const cases[] = {{"", 2, ""},
                        {"%1%2", 2, "AB"},
                        {"%1%2", 1, "A%2"},
                        {"%1%2", 0, "%1%2"},
                        {"%%%%2", 2, "%%%%2"},
                        {"%", 2, "%"},
                        {"x%%", 2, "x%%"},
                        {"%21", 2, "B1"},
                        {"\xE9%1\xFF", 1,
                         "\xE9"
                         "A\xFF"},
                        {"end\r\n", 0, "end\r\n"}}; // stripping is not here
  for (auto const& c : cases) {
    SCOPED_TRACE(c.text);
    char* const result = m.replaceVars(c.text, values, c.count);
    EXPECT_STREQ(c.want, result);
    delete[] result;
  }
}

TEST(DBaseMessageFile, MessageTextUsesNameInForce) {
  DMessageText const before = DBase::messageText(14, "a");
  {
    MessageFileScope const scope(testCatalogue);
    EXPECT_STREQ("a and a", DBase::messageText(14, "a").text());
    EXPECT_STREQ("123456789", DBase::messageText(8, "1", "2", "3", "4", "5",
                                                 "6", "7", "8", "9")
                                  .text());
    DBase::setMessageFile("/nonexistent/x.cat");
    EXPECT_STREQ(missingText, DBase::messageText(14, "a").text());
  }
  EXPECT_STREQ(before.text(), DBase::messageText(14, "a").text());
}

// Running out of memory anywhere raises DOutOfMemory with message 4,
// reported from file dbase, line 175.
TEST(DKOVR_Init, OutOfMemoryThrowsDOutOfMemory) {
  if (!dtest::allocationsCanFail())
    GTEST_SKIP() << "allocations cannot be made to fail here (valgrind)";
  std::string const text4 = DBase::messageText(4).text();
  ASSERT_STRNE(missingText, text4.c_str());
  dtest::ChildResult const child = dtest::runInChild([] {
    dtest::RecordingTrace trace;
    trace.lines.reserve(16);
    if (std::get_new_handler() != &DKOVR_Init::newHandler)
      return 3;
    dtest::failAllocationsFrom(4u << 20);
    try {
      char* volatile lost = new char[256u << 20];
      lost[0] = 1;
      return 4;
    } catch (DOutOfMemory const& e) {
      std::printf("child: caught %s id %lu recoverable %d texts %lu\n",
                  e.name(), e.errorId(), e.isRecoverable() ? 1 : 0,
                  e.textCount());
      std::printf("child: text %s\n", e.text(0));
    }
    for (auto const& line : trace.lines) {
      std::istringstream parts(line);
      for (std::string part; std::getline(parts, part);)
        std::printf("child: trace %s\n", part.c_str());
    }
    std::printf("child: logged %d\n", trace.logged);
    return 0;
  });
  EXPECT_EQ(0, child.exitCode) << child.output;
  std::vector<std::string> const want = {
      "caught DOutOfMemory id 4 recoverable 0 texts 1",
      "text " + text4,
      "trace DOutOfMemory exception thrown.",
      "trace    function: Unknown",
      "trace    file: dbase",
      "trace    line: 175",
      "trace    Error Id is 4",
      "trace    Error Code group is Zorvane Class Library",
      "trace    Exception text is:",
      "trace       " + text4,
      "logged 1"};
  EXPECT_EQ(want, dtest::linesWith(child.output, "child: "));
}

// Message texts are allocated with the new-handler removed: running out of
// memory while filling one in raises std::bad_alloc, never DOutOfMemory
// (whose own text would be loaded the same way).
TEST(DMessageText, AllocationBypassesNewHandler) {
  if (!dtest::allocationsCanFail())
    GTEST_SKIP() << "allocations cannot be made to fail here (valgrind)";
  dtest::ChildResult const child = dtest::runInChild([] {
    std::string const big(64u << 20, 'x');
    dtest::failAllocationsFrom(8u << 20);
    try {
      DMessageText const m(14, testCatalogue, big.c_str());
      return 3;
    } catch (std::bad_alloc const&) {
      std::printf("child: bad_alloc\n");
    } catch (DException const& e) {
      std::printf("child: %s\n", e.name());
    }
    try {
      DBase::setMessageFile(big.c_str());
      return 4;
    } catch (std::bad_alloc const&) {
      std::printf("child: bad_alloc\n");
    } catch (DException const& e) {
      std::printf("child: %s\n", e.name());
    }
    std::printf("child: file %s\n",
                DBase::messageFile() == big ? "big" : "kept");
    return 0;
  });
  EXPECT_EQ(0, child.exitCode) << child.output;
  std::vector<std::string> const want = {"bad_alloc", "bad_alloc", "file kept"};
  EXPECT_EQ(want, dtest::linesWith(child.output, "child: "));
}
