// Memory faults, in a forked child where every allocation from 1 MiB on
// fails: each allocating operation raises DOutOfMemory (message 4, reported
// once) from the library's new-handler, the handle involved keeps its
// value and the process goes on working. (The texts of exceptions and
// messages, allocated without that handler, are the base tests' concern.)
#include "dstring.hpp"
#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <cstring>

namespace {

constexpr std::size_t MiB = std::size_t(1) << 20;
constexpr unsigned int L = 24u << 20; // far above the failing size

// An operation on a handle, which may use a large text.
#define RUN(...)                                                               \
  [](DString& s, char const* big) { (void)big, (void)s, __VA_ARGS__; }

} // namespace

TEST(DStringMemFault, EditsRaiseOutOfMemoryAndKeepTheHandle) {
  if (!dtest::allocationsCanFail())
    GTEST_SKIP() << "allocations cannot be made to fail here (valgrind)";
  // The operation, and whether the handle holds the large text (shared
  // with a second handle) rather than a short private one.
  std::pair<void (*)(DString&, char const*), bool> const cases[] = {
      {RUN(DString(big, L)), false},
      {RUN(s.insert(big, L, 1)), false},
      {RUN(s.overlayWith(big, L, 2)), false},
      {RUN(s.change("b", 1, big, L)), false},
      {RUN(s.copy(16u << 20)), false},
      {RUN(s.center(L)), false},
      {RUN(s.subString(1, L, '.')), false},
      {RUN(s + s), true},
      {RUN(s += s), true},
      {RUN(s.upperCase()), true},
      {RUN(s.reverse()), true},
      {RUN(s.translate("x", 1, "y", 1)), true},
      {RUN(s[1u] = 'q'), true},
      {RUN(s.space(2)), true},
  };
  dtest::ChildResult const child = dtest::runInChild([&cases] {
    std::string const big(L, 'B');
    std::string largeText(L, 'x');
    for (std::size_t i = 0; i < largeText.size(); i += 7)
      largeText[i] = ' '; // words for space() to join
    DString const large(largeText.data(), L), small("abc def");
    (void)DBase::messageText(4);
    dtest::failAllocationsFrom(MiB);
    for (auto const& [run, onLarge] : cases) {
      dtest::RecordingTrace trace;
      trace.lines.reserve(64);
      DString handle(onLarge ? large : small);
      char const* outcome = "returned";
      try {
        run(handle, big.c_str());
      } catch (DOutOfMemory const& e) {
        outcome = e.errorId() == 4 && !e.isRecoverable() ? "DOutOfMemory 4"
                                                         : "DOutOfMemory";
      } catch (...) {
        outcome = "other";
      }
      // Compared in place: a copy of the large text would not fit.
      DString const& original = onLarge ? large : small;
      char const* const text = onLarge ? largeText.data() : "abc def";
      std::size_t const size = original.length();
      bool const kept =
          handle.length() == size &&
          std::memcmp(static_cast<char const*>(handle), text, size) == 0 &&
          std::memcmp(static_cast<char const*>(original), text, size) == 0;
      DString after("after");
      after.upperCase().insert("!", 1, 5);
      std::printf("child: %s logged %d %s %s\n", outcome, trace.logged,
                  kept ? "kept" : "lost", static_cast<char const*>(after));
    }
    return 0;
  });
  EXPECT_EQ(0, child.exitCode) << child.output;
  std::vector<std::string> const lines =
      dtest::linesWith(child.output, "child: ");
  EXPECT_EQ(std::vector<std::string>(std::size(cases),
                                     "DOutOfMemory 4 logged 1 kept AFTER!"),
            lines);
}
