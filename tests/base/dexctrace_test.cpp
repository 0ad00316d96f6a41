// Exception tracing: the exact report lines, which trace function receives
// them, the library's own writers on standard error, and the fallback
// report when the line buffer cannot be had.
#include "dexctrace.hpp"

#include "base/dthrow_p.hpp"

#include "dbase.hpp"
#include "derrinfo.hpp"
#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <atomic>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

// A program's own exception class with a name of any length.
class NamedException : public DException {
public:
  explicit NamedException(std::string n)
      : DException(nullptr, 0, DException::recoverable), own(std::move(n)) {}
  char const* name() const override { return own.c_str(); }

private:
  std::string own;
};

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
// On its first line installs \p next; records what reaches it.
class SwitchingTrace : public DException::TraceFn {
public:
  explicit SwitchingTrace(DException::TraceFn& n) : next(n) {}
  void write(char const* line) override {
    lines.emplace_back(line);
    if (lines.size() == 1)
      DException::setTraceFunction(next);
  }
  void exceptionLogged() override { ++logged; }
  Lines lines;
  int logged = 0;

private:
  DException::TraceFn& next;
};

// Records whether the new-handler was removed while each line was written.
class HandlerProbe : public DException::TraceFn {
public:
  void write(char const*) override {
    handlerRemoved = handlerRemoved && std::get_new_handler() == nullptr;
    ++writes;
  }
  bool handlerRemoved = true;
  int writes = 0;
};

// The same for reports written on several threads at once.
class SharedHandlerProbe : public DException::TraceFn {
public:
  void write(char const*) override {
    if (std::get_new_handler() != nullptr)
      handlerSeen = true;
  }
  void exceptionLogged() override { ++logged; }
  std::atomic<bool> handlerSeen{false};
  std::atomic<int> logged{0};
};
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

} // namespace

// The report, one write per line group, and one exceptionLogged().
TEST(DExceptTrace, Reports) {
  DInvalidRequest one("boom", 1010, DException::recoverable);
  one.addLocation(DExceptionLocation("dbuffer0", nullptr, 561));
  DException none(nullptr, 0, DException::unrecoverable);
  DException ungrouped(nullptr, 0, DException::unrecoverable);
  ungrouped.setErrorCodeGroup(nullptr);
  DDeviceError texts(nullptr, 5, DException::recoverable);
  texts.setText("first").setText("second").setText("third");
  texts.setErrorCodeGroup(DException::operatingSystem);
  texts.addLocation(DExceptionLocation("f", "fn", 1));
  DException latest("x", 1, DException::recoverable);
  for (char const* file : {"a", "b", "c", "d", "e", "sixth"})
    latest.addLocation(DExceptionLocation(file, nullptr, 10));
  DException second("x", 1, DException::recoverable);
  second.addLocation(DExceptionLocation("first", nullptr, 1));
  second.addLocation(DExceptionLocation("second", "g", 2));
  std::string const library = "   Error Code group is Zorvane Class Library";
  struct Row {
    DException& e;
    Lines want;
  };
  Row const rows[] = {
      {one,
       {"DInvalidRequest exception thrown.\n   function: Unknown\n"
        "   file: dbuffer0\n   line: 561",
        "   Error Id is 1010", library, "   Exception text is:", "      boom"}},
      {none,
       {"\nDException exception thrown.\n"
        "   Location information is unavailable.",
        "   Error Id is unavailable.", library,
        "   Exception text is unavailable."}},
      {ungrouped, // four leading blanks
       {"\nDException exception thrown.\n"
        "   Location information is unavailable.",
        "   Error Id is unavailable.", "    Error Code group is unavailable.",
        "   Exception text is unavailable."}},
      {texts, // oldest text first
       {"DDeviceError exception thrown.\n   function: fn\n   file: f\n"
        "   line: 1",
        "   Error Id is 5", "   Error Code group is Operating System",
        "   Exception text is:", "      first", "      second", "      third"}},
      {latest,
       {"DException exception thrown.\n   function: Unknown\n"
        "   file: sixth\n   line: 10",
        "   Error Id is 1", library, "   Exception text is:", "      x"}},
      {second,
       {"DException exception thrown.\n   function: g\n   file: second\n"
        "   line: 2",
        "   Error Id is 1", library, "   Exception text is:", "      x"}},
  };
  for (Row const& r : rows) {
    dtest::RecordingTrace trace;
    EXPECT_EQ(&r.e, &r.e.logExceptionData());
    EXPECT_EQ(r.want, trace.lines);
    EXPECT_EQ(1, trace.logged);
  }
}

// Line numbers are reported as 32-bit signed values; a missing file name
// reports as empty.
TEST(DExceptTrace, LineNumberAs32BitSigned) {
  struct Case {
    unsigned long line;
    char const* want;
  };
  Case const cases[] = {{0, "0"},
                        {2147483647ul, "2147483647"},
                        {2147483648ul, "-2147483648"},
                        {4294967295ul, "-1"},
                        {4294967296ul + 561, "561"}};
  for (auto const& c : cases) {
    SCOPED_TRACE(c.want);
    dtest::RecordingTrace trace;
    DException e("x", 1, DException::recoverable);
    e.addLocation(DExceptionLocation("f", nullptr, c.line));
    e.logExceptionData();
    ASSERT_FALSE(trace.lines.empty());
    EXPECT_EQ(std::string("DException exception thrown.\n   function: "
                          "Unknown\n   file: f\n   line: ") +
                  c.want,
              trace.lines[0]);
  }
  dtest::RecordingTrace trace;
  DException e("x", 1, DException::recoverable);
  e.addLocation(DExceptionLocation(nullptr, nullptr, 3));
  e.logExceptionData();
  ASSERT_FALSE(trace.lines.empty());
  EXPECT_EQ("DException exception thrown.\n   function: Unknown\n"
            "   file: \n   line: 3",
            trace.lines[0]);
}

// No line is ever cut, however long its variable part: the group text,
// texts, file and function names, and a program's own class name.
TEST(DExceptTrace, LongPartsFitWhole) {
  std::string const group(1000, 'g');
  std::string const text(5000, 't');
  std::string const file(3000, 'f');
  std::string const function(3000, 'u');
  {
    dtest::RecordingTrace trace;
    DException e(text.c_str(), 2, DException::recoverable);
    e.setErrorCodeGroup(group.c_str());
    e.addLocation(DExceptionLocation(file.c_str(), function.c_str(), 4));
    e.logExceptionData();
    ASSERT_EQ(5u, trace.lines.size());
    EXPECT_EQ("DException exception thrown.\n   function: " + function +
                  "\n   file: " + file + "\n   line: 4",
              trace.lines[0]);
    EXPECT_EQ("   Error Code group is " + group, trace.lines[2]);
    EXPECT_EQ("      " + text, trace.lines[4]);
  }
  {
    // The group alone is the longest part.
    dtest::RecordingTrace trace;
    DException e("short", 2, DException::recoverable);
    e.setErrorCodeGroup(group.c_str());
    e.logExceptionData();
    ASSERT_EQ(5u, trace.lines.size());
    EXPECT_EQ("   Error Code group is " + group, trace.lines[2]);
  }
  {
    dtest::RecordingTrace trace;
    std::string const longName(700, 'N');
    NamedException e(longName);
    e.logExceptionData();
    ASSERT_EQ(4u, trace.lines.size());
    EXPECT_EQ("\n" + longName +
                  " exception thrown.\n   Location information is "
                  "unavailable.",
              trace.lines[0]);
  }
}

// Each line goes to the trace function current when it is written; the
// closing exceptionLogged() goes to the one whose logData ran.
TEST(DExceptTrace, EachLineLooksUpTheCurrentWriter) {
  dtest::RecordingTrace outer;
  dtest::RecordingTrace second;
  SwitchingTrace first(second);
  DException::setTraceFunction(first);
  DException e("x", 3, DException::recoverable);
  e.logExceptionData();
  ASSERT_EQ(1u, first.lines.size());
  EXPECT_EQ("\nDException exception thrown.\n"
            "   Location information is unavailable.",
            first.lines[0]);
  Lines const rest = {"   Error Id is 3",
                      "   Error Code group is Zorvane Class Library",
                      "   Exception text is:", "      x"};
  EXPECT_EQ(rest, second.lines);
  EXPECT_EQ(1, first.logged);
  EXPECT_EQ(0, second.logged);
  EXPECT_TRUE(outer.lines.empty());
}

TEST(DExceptTrace, NewHandlerRemovedWhileReporting) {
  HandlerProbe probe;
  DException::TraceFn* const previous = DException::setTraceFunction(probe);
  std::new_handler const before = std::get_new_handler();
  DException("x", 1, DException::recoverable).logExceptionData();
  DException::setTraceFunction(*previous);
  EXPECT_EQ(5, probe.writes);
  EXPECT_TRUE(probe.handlerRemoved);
  EXPECT_EQ(before, std::get_new_handler());
}

// Throws on several threads at once overlap their suspensions of the
// new-handler: each line is still written with it removed, and once all
// are done the library's handler is back, so running out of memory raises
// DOutOfMemory again.
TEST(DExceptTraceThread, OverlappingThrowsKeepTheNewHandler) {
  ASSERT_EQ(&DKOVR_Init::newHandler, std::get_new_handler());
  (void)DBase::messageText(1); // fixes the catalogue name beforehand
  SharedHandlerProbe probe;
  DException::TraceFn* const previous = DException::setTraceFunction(probe);
  // Several rounds, each checked: a lost handler shows in most of them.
  constexpr int rounds = 6;
  constexpr int threads = 4;
  constexpr int throwsEach = 200;
  std::atomic<int> caught{0};
  int lost = 0;
  for (int round = 0; round < rounds; ++round) {
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t)
      workers.emplace_back([&caught] {
        for (int i = 0; i < throwsEach; ++i) {
          try {
            DExcept__assertState("overlap",
                                 DExceptionLocation("f", nullptr, 1));
          } catch (DInvalidRequest const&) {
            ++caught;
          }
        }
      });
    for (std::thread& w : workers)
      w.join();
    if (std::get_new_handler() != &DKOVR_Init::newHandler) {
      ++lost;
      std::set_new_handler(&DKOVR_Init::newHandler);
    }
  }
  DException::setTraceFunction(*previous);
  EXPECT_EQ(rounds * threads * throwsEach, caught.load());
  EXPECT_EQ(rounds * threads * throwsEach, probe.logged.load());
  EXPECT_FALSE(probe.handlerSeen.load());
  EXPECT_EQ(0, lost) << "rounds that lost the library's new-handler";
  if (dtest::allocationsCanFail()) {
    EXPECT_EQ(dtest::LimitedOutcome::outOfMemory,
              dtest::runWithLimitedMemory(1u << 20, [] {
                std::unique_ptr<char[]> const used(new char[2u << 20]);
                static_cast<char volatile*>(used.get())[0] = 1;
              }));
  }
}

TEST(DExceptTrace, SetTraceFunctionReturnsPrevious) {
  HandlerProbe a, b;
  DException::TraceFn* const library = DException::setTraceFunction(a);
  // With no program writer installed, the current one is the library's.
  EXPECT_NE(nullptr, dynamic_cast<DKOVR_Init*>(library));
  EXPECT_EQ(&a, DExceptStaticPtr::traceFunction());
  EXPECT_EQ(&a, DException::setTraceFunction(b));
  EXPECT_EQ(&b, DExceptStaticPtr::install(*library));
  EXPECT_EQ(library, DExceptStaticPtr::traceFunction());
}

// The library's writers print each line with "%s\n" on standard error:
// the typical report of a buffer-layer overflow.
TEST(DExceptTrace, LibraryWriterPrintsReportOnStderr) {
  std::string const text1010 = DBase::messageText(1010).text();
  dtest::ChildResult const child = dtest::runInChild([] {
    try {
      dinternal::throwMessage<DInvalidRequest>(1010, DException::recoverable,
                                               "dbuffer0", 561);
    } catch (DInvalidRequest const&) {
    }
    DException::TraceFn base;
    base.write("base %s line");
    DExceptTraceFn fallback;
    fallback.write("default writer");
    base.exceptionLogged();
    return 0;
  });
  EXPECT_EQ(0, child.exitCode);
  EXPECT_EQ("DInvalidRequest exception thrown.\n"
            "   function: Unknown\n"
            "   file: dbuffer0\n"
            "   line: 561\n"
            "   Error Id is 1010\n"
            "   Error Code group is Zorvane Class Library\n"
            "   Exception text is:\n"
            "      " +
                text1010 +
                "\n"
                "base %s line\n"
                "default writer\n",
            child.output);
}

// Without a line buffer the report goes straight to standard error with
// the second set of texts, and no writer sees any of it.
TEST(DExceptTrace, FallbackReportWhenBufferMissing) {
  if (!dtest::allocationsCanFail())
    GTEST_SKIP() << "allocations cannot be made to fail here (valgrind)";
  std::string const big(8u << 20, 'B');
  auto const run = [&big](bool full) {
    return dtest::runInChild([&big, full] {
      dtest::RecordingTrace trace;
      if (full) {
        DInvalidRequest e("small", 33, DException::recoverable);
        e.setText(big.c_str());
        e.addLocation(DExceptionLocation("f", "fn", 4294967295ul));
        dtest::failAllocationsFrom(2u << 20);
        e.logExceptionData();
      } else {
        NamedException e(big);
        e.setErrorCodeGroup(nullptr);
        dtest::failAllocationsFrom(2u << 20);
        e.logExceptionData();
      }
      std::fprintf(stderr, "lines %zu logged %d\n", trace.lines.size(),
                   trace.logged);
      return 0;
    });
  };
  dtest::ChildResult const full = run(true);
  EXPECT_EQ(0, full.exitCode);
  std::string const wantFull = "DInvalidRequest exception thrown.\n"
                               "   function: fn\n"
                               "   file: f\n"
                               "   line: 4294967295.\n"
                               "   Error ID is 33\n"
                               " Error Code group is Zorvane Class Library\n"
                               "   Exception text is:\n"
                               "      small\n"
                               "      " +
                               big + "\nlines 0 logged 0\n";
  EXPECT_TRUE(wantFull == full.output) << full.output.substr(0, 400);

  dtest::ChildResult const bare = run(false);
  EXPECT_EQ(0, bare.exitCode);
  std::string const wantBare = "\n" + big +
                               " exception thrown.\n"
                               "   Location information is unavailable.\n"
                               "   Error ID is unavailable.\n"
                               "   Error Code group is unavailable.\n"
                               "   Exception text is unavailable.\n"
                               "lines 0 logged 0\n";
  EXPECT_TRUE(wantBare == bare.output) << bare.output.substr(0, 400);
}
