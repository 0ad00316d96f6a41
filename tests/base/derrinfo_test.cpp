// Error information and throw helpers: the class chosen by each exception
// type, error ids, severities, groups and reports, real C-library errors,
// and types outside the eight that make the helpers return.
#include "derrinfo.hpp"

#include "dtest_support.hpp"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <typeinfo>
#include <unistd.h>
#include <vector>

namespace {

char const testCatalogue[] = ZYN_BASE_TEST_CATALOG;
char const missingText[] = "Unable to load text from message file.";

// Everything observable about one throw: the exception, the handler that
// caught it, and the report written before it was thrown.
struct Caught {
  bool thrown = false;
  std::type_info const* type = nullptr;
  std::string name, handler, group, text, file;
  unsigned long id = 0, texts = 0, locations = 0, line = 0;
  bool recoverable = false;
  std::vector<std::string> report;
  int logged = 0;
};

Caught describe(DException const& e, char const* handler) {
  Caught c;
  c.thrown = true;
  c.type = &typeid(e);
  c.name = e.name();
  c.handler = handler;
  c.group = e.errorCodeGroup() != nullptr ? e.errorCodeGroup() : "(none)";
  c.text = e.text(0) != nullptr ? e.text(0) : "(none)";
  c.texts = e.textCount();
  c.id = e.errorId();
  c.recoverable = e.isRecoverable();
  c.locations = e.locationCount();
  if (c.locations > 0) {
    c.file = e.locationAtIndex(c.locations - 1)->fileName();
    c.line = e.locationAtIndex(c.locations - 1)->lineNumber();
  }
  return c;
}

template <class F>
Caught catchFrom(F&& statement) {
  dtest::RecordingTrace trace;
  Caught c;
  try {
    statement();
  } catch (DResourceExhausted const& e) {
    c = describe(e, "DResourceExhausted");
  } catch (DException const& e) {
    c = describe(e, "DException");
  }
  c.report = trace.lines;
  c.logged = trace.logged;
  return c;
}

struct TypeCase {
  DBaseErrorInfo::ExceptionType type;
  std::type_info const* cls;
  char const* name;
  char const* handler;
  DException::Severity severity;
};
TypeCase const typeCases[] = {
    {DBaseErrorInfo::accessError, &typeid(DAccessError), "DAccessError",
     "DException", DException::recoverable},
    {DBaseErrorInfo::deviceError, &typeid(DDeviceError), "DDeviceError",
     "DException", DException::unrecoverable},
    {DBaseErrorInfo::invalidParameter, &typeid(DInvalidParameter),
     "DInvalidParameter", "DException", DException::recoverable},
    {DBaseErrorInfo::invalidRequest, &typeid(DInvalidRequest),
     "DInvalidRequest", "DException", DException::unrecoverable},
    {DBaseErrorInfo::outOfSystemResource, &typeid(DOutOfSystemResource),
     "DOutOfSystemResource", "DResourceExhausted", DException::recoverable},
    {DBaseErrorInfo::outOfWindowResource, &typeid(DOutOfWindowResource),
     "DOutOfWindowResource", "DResourceExhausted", DException::unrecoverable},
    {DBaseErrorInfo::outOfMemory, &typeid(DOutOfMemory), "DOutOfMemory",
     "DResourceExhausted", DException::recoverable},
    {DBaseErrorInfo::resourceExhausted, &typeid(DResourceExhausted),
     "DResourceExhausted", "DResourceExhausted", DException::unrecoverable},
};

// The report of an exception with one location (no function) and one text.
std::vector<std::string> reportOf(Caught const& c) {
  return {c.name + " exception thrown.\n   function: Unknown\n   file: " +
              c.file + "\n   line: " + std::to_string(c.line),
          c.id != 0 ? "   Error Id is " + std::to_string(c.id)
                    : "   Error Id is unavailable.",
          "   Error Code group is " + c.group,
          "   Exception text is:", "      " + c.text};
}

void checkTypeCase(TypeCase const& tc, Caught const& c) {
  ASSERT_TRUE(c.thrown);
  EXPECT_EQ(*tc.cls, *c.type);
  EXPECT_EQ(tc.name, c.name);
  EXPECT_EQ(tc.handler, c.handler);
  EXPECT_EQ(tc.severity == DException::recoverable, c.recoverable);
  EXPECT_EQ(1ul, c.locations);
  EXPECT_EQ(1ul, c.texts);
  EXPECT_EQ(reportOf(c), c.report);
  EXPECT_EQ(1, c.logged);
}

} // namespace

// Each helper throws the class of each type, with its own id, group and
// text: the library's message 1 filled in, an error information's text, or
// the message of a named catalogue without substitutions.
TEST(DThrowHelpers, EachTypeByEachHelper) {
  std::string const text = DBase::messageText(1, "boom").text();
  DSystemErrorInfo const info(77, "sys");
  static char const group[] = "Caller Group";
  for (auto const& tc : typeCases) {
    SCOPED_TRACE(tc.name);
    Caught const lib = catchFrom([&tc] {
      DExcept__throwLibraryError(1, DExceptionLocation("lib", nullptr, 10),
                                 tc.type, tc.severity, "boom");
    });
    checkTypeCase(tc, lib);
    EXPECT_EQ(1ul, lib.id);
    EXPECT_EQ("Zorvane Class Library", lib.group);
    EXPECT_EQ(text, lib.text);
    EXPECT_EQ("lib", lib.file);
    EXPECT_EQ(10ul, lib.line);
    Caught const byInfo = catchFrom([&] {
      info.throwError(DExceptionLocation("info", nullptr, 20), tc.type,
                      tc.severity, group);
    });
    checkTypeCase(tc, byInfo);
    EXPECT_EQ(77ul, byInfo.id);
    EXPECT_EQ(group, byInfo.group);
    EXPECT_EQ(info.text(), byInfo.text);
    Caught const named = catchFrom([&tc] {
      DExcept__throwError(1, DExceptionLocation("err", nullptr, 30), "unread",
                          "Given Group", tc.type, tc.severity, testCatalogue);
    });
    checkTypeCase(tc, named);
    EXPECT_EQ(1ul, named.id);
    EXPECT_EQ("Given Group", named.group);
    EXPECT_EQ("Bad %1 at %2", named.text);
  }
  Caught const none = catchFrom([] {
    DExcept__throwError(5, DExceptionLocation("err", nullptr, 31), nullptr, "G",
                        DBaseErrorInfo::deviceError, DException::recoverable,
                        nullptr);
  });
  EXPECT_EQ(missingText, none.text);
  EXPECT_EQ(5ul, none.id);
  Caught const crlf = catchFrom([] {
    DExcept__throwError(5, DExceptionLocation("err", nullptr, 32), nullptr, "G",
                        DBaseErrorInfo::deviceError, DException::recoverable,
                        testCatalogue);
  });
  EXPECT_EQ("crlf", crlf.text);
}

// Calls every helper with exception type \p type and returns how many
// threw.
static int throwsForType(DBaseErrorInfo::ExceptionType type) {
  DExceptionLocation const loc("none", nullptr, 1);
  DCLibErrorInfo const clib("c");
  DGUIErrorInfo const gui("g");
  DException::Severity const sev = DException::recoverable;
  int thrown = 0;
  // clang-format off
  try { DExcept__throwLibraryError(1, loc, type, sev, "t"); } catch (DException const&) { ++thrown; }
  try { DExcept__throwError(1, loc, nullptr, "G", type, sev, testCatalogue); } catch (DException const&) { ++thrown; }
  try { clib.throwError(loc, type, sev, "G"); } catch (DException const&) { ++thrown; }
  try { gui.throwError(loc, type, sev, "G"); } catch (DException const&) { ++thrown; }
  try { DCLibErrorInfo::throwCLibError("p", loc, type, sev); } catch (DException const&) { ++thrown; }
  try { DSystemErrorInfo::throwSystemError(3, "p", loc, type, sev); } catch (DException const&) { ++thrown; }
  try { DGUIErrorInfo::throwGUIError("p", loc, type, sev); } catch (DException const&) { ++thrown; }
  // clang-format on
  return thrown;
}

// A type outside the eight selects nothing: every helper returns normally
// and nothing is reported. The last valid type throws from all seven.
TEST(DThrowHelpers, TypeOutOfRangeReturns) {
  struct Case {
    int type;
    int thrown;
  };
  Case const cases[] = {{7, 7}, {8, 0}, {1000, 0}, {-1, 0}};
  for (auto const& c : cases) {
    SCOPED_TRACE(c.type);
    dtest::RecordingTrace trace;
    EXPECT_EQ(
        c.thrown,
        throwsForType(static_cast<DBaseErrorInfo::ExceptionType>(c.type)));
    EXPECT_EQ(static_cast<std::size_t>(c.thrown) * 5, trace.lines.size());
    EXPECT_EQ(c.thrown, trace.logged);
  }
}

TEST(DThrowHelpers, AssertStateAndParameter) {
  struct Case {
    void (*helper)(char const*, DExceptionLocation const&);
    std::type_info const* cls;
    char const* name;
  };
  Case const cases[] = {
      {&DExcept__assertState, &typeid(DInvalidRequest), "DInvalidRequest"},
      {&DExcept__assertParameter, &typeid(DInvalidParameter),
       "DInvalidParameter"}};
  std::string const text = DBase::messageText(1, "s").text();
  for (auto const& tc : cases) {
    SCOPED_TRACE(tc.name);
    Caught const c = catchFrom(
        [&tc] { tc.helper("s", DExceptionLocation("st", "fn", 40)); });
    ASSERT_TRUE(c.thrown);
    EXPECT_EQ(*tc.cls, *c.type);
    EXPECT_EQ(1ul, c.id);
    EXPECT_TRUE(c.recoverable);
    EXPECT_EQ("Other Error Group", c.group);
    EXPECT_EQ(1ul, c.locations);
    EXPECT_EQ(text, c.text);
    ASSERT_EQ(5u, c.report.size());
    EXPECT_EQ(std::string(tc.name) + " exception thrown.\n   function: fn\n"
                                     "   file: st\n   line: 40",
              c.report[0]);

    // These read the class variable `other` when they throw.
    static char const changed[] = "Changed Other";
    char const* const saved = DException::other;
    DException::other = changed;
    Caught const moved = catchFrom(
        [&tc] { tc.helper("s", DExceptionLocation("st", nullptr, 41)); });
    DException::other = saved;
    EXPECT_EQ(changed, moved.group);
  }
}

TEST(DCLibErrorInfo, CapturesRealErrno) {
  ASSERT_EQ(-1, ::open("/nonexistent-dir/zyn-test", O_RDONLY));
  DCLibErrorInfo const withPrefix("open");
  EXPECT_EQ(static_cast<unsigned long>(ENOENT), withPrefix.errorId());
  EXPECT_TRUE(withPrefix.isAvailable());
  EXPECT_EQ(std::string("open:") + std::strerror(ENOENT), withPrefix.text());
  EXPECT_EQ(withPrefix.text(), static_cast<char const*>(withPrefix));

  ASSERT_EQ(-1, ::close(-1));
  DCLibErrorInfo const plain(nullptr);
  EXPECT_EQ(static_cast<unsigned long>(EBADF), plain.errorId());
  EXPECT_STREQ(std::strerror(EBADF), plain.text());

  DCLibErrorInfo const empty("");
  EXPECT_EQ(std::string(":") + std::strerror(EBADF), empty.text());
  EXPECT_STREQ("DVBase object", empty.asString());
}

TEST(DCLibErrorInfo, ThrowFollowsTheGroupVariable) {
  auto const throwNow = [] {
    ASSERT_EQ(-1, ::chdir("/nonexistent-dir/zyn-test"));
    DCLibErrorInfo::throwCLibError(
        "chdir", DExceptionLocation("c", nullptr, 50),
        DBaseErrorInfo::accessError, DException::unrecoverable);
  };
  Caught const c = catchFrom(throwNow);
  ASSERT_TRUE(c.thrown);
  EXPECT_EQ("DAccessError", c.name);
  EXPECT_EQ(static_cast<unsigned long>(ENOENT), c.id);
  EXPECT_FALSE(c.recoverable);
  EXPECT_EQ("Standard C Library", c.group);
  EXPECT_EQ(std::string("chdir:") + std::strerror(ENOENT), c.text);
  EXPECT_EQ(reportOf(c), c.report);

  static char const changed[] = "Changed C Group";
  char const* const saved = DException::CLibrary;
  DException::CLibrary = changed;
  Caught const later = catchFrom(throwNow);
  DException::CLibrary = saved;
  EXPECT_EQ(changed, later.group);
}

TEST(DSystemErrorInfo, TextIsMessage186) {
  std::string const text186 = DBase::messageText(186).text();
  ASSERT_NE(missingText, text186);
  DSystemErrorInfo const plain(5, nullptr);
  EXPECT_EQ(text186, plain.text());
  EXPECT_EQ(5ul, plain.errorId());
  EXPECT_TRUE(plain.isAvailable());
  DSystemErrorInfo const withPrefix(0, "p");
  EXPECT_EQ("p:" + text186, withPrefix.text());
  EXPECT_EQ(0ul, withPrefix.errorId());
  EXPECT_TRUE(withPrefix.isAvailable());
  EXPECT_EQ(withPrefix.text(), static_cast<char const*>(withPrefix));

  Caught const c = catchFrom([] {
    DSystemErrorInfo::throwSystemError(
        13, "p", DExceptionLocation("s", nullptr, 60),
        DBaseErrorInfo::outOfSystemResource, DBase::unrecoverable);
  });
  ASSERT_TRUE(c.thrown);
  EXPECT_EQ(typeid(DOutOfSystemResource), *c.type);
  EXPECT_EQ("DResourceExhausted", c.handler);
  EXPECT_EQ(13ul, c.id);
  EXPECT_FALSE(c.recoverable);
  EXPECT_EQ("Operating System", c.group);
  EXPECT_EQ("p:" + text186, c.text);
  EXPECT_EQ(reportOf(c), c.report);
}

TEST(DGUIErrorInfo, TextIsMessage185WithoutId) {
  std::string const text185 = DBase::messageText(185).text();
  ASSERT_NE(missingText, text185);
  DGUIErrorInfo const withPrefix("x");
  EXPECT_EQ(0ul, withPrefix.errorId());
  EXPECT_FALSE(withPrefix.isAvailable());
  EXPECT_EQ("x:" + text185, withPrefix.text());
  EXPECT_EQ(withPrefix.text(), static_cast<char const*>(withPrefix));
  EXPECT_EQ(text185, DGUIErrorInfo().text());

  Caught const c = catchFrom([] {
    DGUIErrorInfo::throwGUIError("g", DExceptionLocation("g", nullptr, 70),
                                 DBaseErrorInfo::deviceError,
                                 DBase::recoverable);
  });
  ASSERT_TRUE(c.thrown);
  EXPECT_EQ("DDeviceError", c.name);
  EXPECT_EQ(0ul, c.id);
  EXPECT_TRUE(c.recoverable);
  EXPECT_EQ("Presentation System", c.group);
  EXPECT_EQ("g:" + text185, c.text);
  EXPECT_EQ(reportOf(c), c.report); // "Error Id is unavailable."
}
