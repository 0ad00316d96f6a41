// Memory faults: every allocating path runs in a forked child where every
// allocation from a set size on fails. Each allocation either
// succeeds or fails the library's way: DOutOfMemory (message 4, reported
// once through the trace function) from the process new-handler, or
// std::bad_alloc where the library removes that handler on purpose
// (exception and message texts). The handle involved keeps its value and
// the process goes on working afterwards.
#include "dbase.hpp"
#include "dexcept.hpp"
#include "dstring.hpp"
#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <cstdio>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <vector>

namespace {

constexpr std::size_t MiB = std::size_t(1) << 20;

// Once a child is set up, allocations of this size or more fail: the
// library's own exceptions and reports stay far below it, every large edit
// is far above it.
constexpr std::size_t failingSize = 1 * MiB;

// A large text, made before allocations start failing.
constexpr unsigned int largeLength = 24u << 20;

struct Case {
  char const* name;
  // Performs the allocating operation on the handle; the handle is a
  // private copy of a short text or of the large text (shared with
  // another handle when `shared` is set).
  std::function<void(DString&, std::string const&)> run;
  bool large; // the handle holds the large text
};

std::vector<Case> cases() {
  auto const L = largeLength;
  return {
      {"construct",
       [L](DString&, std::string const& big) { DString made(big.data(), L); },
       false},
      {"construct padded",
       [L](DString&, std::string const&) {
         DString made(nullptr, 0, nullptr, L, nullptr, 0, '-');
       },
       false},
      {"insert",
       [L](DString& s, std::string const& big) { s.insert(big.data(), L, 1); },
       false},
      {"overlayWith",
       [L](DString& s, std::string const& big) {
         s.overlayWith(big.data(), L, 2);
       },
       false},
      {"change",
       [L](DString& s, std::string const& big) {
         s.change("b", 1, big.data(), L);
       },
       false},
      {"copy", [](DString& s, std::string const&) { s.copy(16u << 20); },
       false},
      {"center", [L](DString& s, std::string const&) { s.center(L); }, false},
      {"leftJustify", [L](DString& s, std::string const&) { s.leftJustify(L); },
       false},
      {"rightJustify",
       [L](DString& s, std::string const&) { s.rightJustify(L, '0'); }, false},
      {"subString",
       [L](DString& s, std::string const&) {
         DString part = s.subString(1, L, '.');
       },
       false},
      {"operator+", [](DString& s, std::string const&) { DString sum = s + s; },
       true},
      {"operator+=", [](DString& s, std::string const&) { s += s; }, true},
      {"upperCase shared",
       [](DString& s, std::string const&) { s.upperCase(); }, true},
      {"lowerCase shared",
       [](DString& s, std::string const&) { s.lowerCase(); }, true},
      {"reverse shared", [](DString& s, std::string const&) { s.reverse(); },
       true},
      {"translate shared",
       [](DString& s, std::string const&) { s.translate("x", 1, "y", 1); },
       true},
      {"index shared", [](DString& s, std::string const&) { s[1u] = 'q'; },
       true},
      {"space", [](DString& s, std::string const&) { s.space(2); }, true},
  };
}

// The child's report, one line per case: how it ended and whether the
// handle kept its value.
std::string runCase(Case const& c, std::string const& big,
                    std::string const& largeText,
                    DString const& largeOriginal) {
  dtest::RecordingTrace trace;
  trace.lines.reserve(64);
  DString const shortOriginal("abc def");
  DString handle(c.large ? largeOriginal : shortOriginal);
  std::string outcome;
  try {
    c.run(handle, big);
    outcome = "ok";
  } catch (DOutOfMemory const& e) {
    outcome = "DOutOfMemory id " + std::to_string(e.errorId()) +
              (e.isRecoverable() ? " recoverable" : " unrecoverable");
  } catch (std::bad_alloc const&) {
    outcome = "bad_alloc";
  } catch (DException const& e) {
    outcome = std::string("other ") + e.name();
  }
  DString const& original = c.large ? largeOriginal : shortOriginal;
  static std::string const shortText("abc def");
  std::string const& text = c.large ? largeText : shortText;
  // Compared in place: a copy of the large text would not fit.
  bool const kept =
      handle.length() == text.size() && original.length() == text.size() &&
      std::memcmp(static_cast<char const*>(handle), text.data(), text.size()) ==
          0 &&
      std::memcmp(static_cast<char const*>(original), text.data(),
                  text.size()) == 0;
  // Still working: a small edit on a fresh string.
  DString after("after");
  after.upperCase().insert("!", 1, 5);
  return outcome + " logged " + std::to_string(trace.logged) +
         (kept || outcome == "ok" ? " kept" : " lost") + " " +
         dtest::bytes(after);
}

} // namespace

// Each case fails for want of memory and
// reports DOutOfMemory through the new-handler; the receiving handle and
// its originals are unchanged and the process carries on.
TEST(DStringMemFault, EditsRaiseOutOfMemoryAndKeepTheHandle) {
  if (!dtest::allocationsCanFail())
    GTEST_SKIP() << "allocations cannot be made to fail here (valgrind)";
  for (Case const& c : cases()) {
    dtest::ChildResult const child = dtest::runInChild([&c] {
      std::string const big(largeLength, 'B');
      std::string largeText(largeLength, 'x');
      for (std::size_t i = 0; i < largeText.size(); i += 7)
        largeText[i] = ' ';
      for (std::size_t i = 3; i < largeText.size(); i += 11)
        largeText[i] = 'X';
      DString const largeOriginal(largeText.data(), largeLength);
      (void)DBase::messageText(4);
      dtest::failAllocationsFrom(failingSize);
      std::printf("child: %s\n",
                  runCase(c, big, largeText, largeOriginal).c_str());
      return 0;
    });
    EXPECT_EQ(0, child.exitCode) << c.name << "\n" << child.output;
    std::vector<std::string> const lines =
        dtest::linesWith(child.output, "child: ");
    ASSERT_EQ(1u, lines.size()) << c.name << "\n" << child.output;
    EXPECT_EQ("DOutOfMemory id 4 unrecoverable logged 1 kept AFTER!", lines[0])
        << c.name;
  }
}

// Allocations of growing size: the small ones succeed, the large ones
// raise DOutOfMemory, and a failure leaves nothing half made: the next
// small allocation still works.
TEST(DStringMemFault, GrowingAllocationsSucceedOrRaise) {
  if (!dtest::allocationsCanFail())
    GTEST_SKIP() << "allocations cannot be made to fail here (valgrind)";
  dtest::ChildResult const child = dtest::runInChild([] {
    dtest::RecordingTrace trace;
    trace.lines.reserve(256);
    DString const warm("warm");
    (void)DBase::messageText(4);
    dtest::failAllocationsFrom(failingSize);
    int succeeded = 0;
    int failed = 0;
    for (unsigned int size = 1u << 10; size <= (256u << 20); size *= 2) {
      DString keep("k");
      try {
        DString made(nullptr, 0, nullptr, size, nullptr, 0, 'z');
        if (made.length() != size || made[size - 1] != 'z')
          return 3;
        ++succeeded;
      } catch (DOutOfMemory const& e) {
        if (e.errorId() != 4)
          return 4;
        ++failed;
      }
      if (dtest::bytes(keep) != "k")
        return 5;
    }
    std::printf("child: mixed %d logged %s\n",
                succeeded > 0 && failed > 0 ? 1 : 0,
                trace.logged == failed ? "once each" : "wrong");
    return 0;
  });
  EXPECT_EQ(0, child.exitCode) << child.output;
  EXPECT_EQ(std::vector<std::string>{"mixed 1 logged once each"},
            dtest::linesWith(child.output, "child: "));
}

// Exception and message texts are allocated with the new-handler removed:
// their failure is a plain std::bad_alloc, the exception keeps its old
// texts, the library's handler is back afterwards, and the trace report of
// an exception whose text no longer fits in memory still comes out (on
// standard error, without the line buffer) instead of failing.
TEST(DStringMemFault, TextsAndTraceWithoutTheHandler) {
  if (!dtest::allocationsCanFail())
    GTEST_SKIP() << "allocations cannot be made to fail here (valgrind)";
  dtest::ChildResult const child = dtest::runInChild([] {
    std::string const big(largeLength, 'T');
    DInvalidRequest e("kept", 7, DException::recoverable);
    DInvalidRequest large("head", 8, DException::recoverable);
    large.setText(std::string(8 * MiB, 'L').c_str());
    (void)DBase::messageText(4);
    dtest::failAllocationsFrom(failingSize);
    try {
      e.setText(big.c_str());
      std::printf("child: setText ok\n");
    } catch (std::bad_alloc const&) {
      std::printf("child: setText bad_alloc\n");
    }
    try {
      e.appendText(big.c_str());
      std::printf("child: appendText ok\n");
    } catch (std::bad_alloc const&) {
      std::printf("child: appendText bad_alloc\n");
    }
    try {
      DMessageText text = DBase::messageText(1, big.c_str());
      std::printf("child: messageText ok %zu\n", std::strlen(text.text()));
    } catch (std::bad_alloc const&) {
      std::printf("child: messageText bad_alloc\n");
    }
    std::printf("child: count %lu text %s handler %s\n", e.textCount(),
                e.text(0),
                std::get_new_handler() == &DKOVR_Init::newHandler ? "library"
                                                                  : "other");
    std::fflush(stdout);
    // No recording trace here: the library's own writer and its fallback.
    large.logExceptionData();
    std::fprintf(stderr, "\nchild: logged\n");
    DString after("still");
    after += " working";
    std::printf("child: %s\n", static_cast<char const*>(after));
    return 0;
  });
  EXPECT_EQ(0, child.exitCode) << child.output.substr(0, 2000);
  std::vector<std::string> const want = {"setText bad_alloc",
                                         "appendText bad_alloc",
                                         "messageText bad_alloc",
                                         "count 1 text kept handler library",
                                         "logged",
                                         "still working"};
  EXPECT_EQ(want, dtest::linesWith(child.output, "child: "));
  EXPECT_NE(std::string::npos, child.output.find(std::string(8 * MiB, 'L')))
      << "the report lost the exception text";
}
