// Memory faults: while every allocation from 1 MiB on fails, each
// allocating operation raises DOutOfMemory (message 4, reported once) from
// the library's new-handler, the handle involved keeps its value and the
// process goes on working; compare() with collation answers 2 (before),
// without an exception or a report, when its copies cannot be made.
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
  std::string const big(L, 'B');
  std::string largeText(L, 'x');
  for (std::size_t i = 0; i < largeText.size(); i += 7)
    largeText[i] = ' '; // words for space() to join
  DString const large(largeText.data(), L), small("abc def");
  (void)DBase::messageText(4);
  for (auto const& [run, onLarge] : cases) {
    dtest::RecordingTrace trace;
    trace.lines.reserve(64);
    DString handle(onLarge ? large : small);
    dtest::failAllocationsFrom(MiB);
    std::string outcome = "returned";
    try {
      run(handle, big.c_str());
    } catch (DOutOfMemory const& e) {
      outcome = "DOutOfMemory " + std::to_string(e.errorId()) +
                (e.isRecoverable() ? " recoverable" : "");
    }
    dtest::failAllocationsFrom(0);
    EXPECT_EQ("DOutOfMemory 4", outcome);
    EXPECT_EQ(1, trace.logged);
    // Compared in place: a copy of the large text is not needed.
    char const* const text = onLarge ? largeText.data() : "abc def";
    EXPECT_TRUE(handle.length() == std::strlen(text) &&
                std::memcmp(static_cast<char const*>(handle), text,
                            handle.length()) == 0);
  }
  EXPECT_EQ(0,
            std::memcmp(static_cast<char const*>(large), largeText.data(), L));
  DString after("after");
  EXPECT_EQ("AFTER!", dtest::bytes(after.upperCase().insert("!", 1, 5)));
}

// With fgI18NState 1 compare() works on NUL-terminated copies (and, for
// multibyte text, wide arrays): the single-byte and the multibyte buffer.
void collationWithoutMemory() {
  if (!dtest::allocationsCanFail())
    GTEST_SKIP() << "another allocator replaced the test program's";
  dtest::I18NState const collation(1);
  std::string const tail(4000, 'x'); // the copies fail, a report would fit
  std::pair<std::string, std::string> const cases[] = {
      {"b" + tail, "a" + tail},
      {"a" + tail, "a" + tail + "y"},
      {"a" + std::string(1, '\0') + "b" + tail, std::string("a\0a", 3) + tail}};
  dtest::RecordingTrace trace;
  for (auto const& [mine, other] : cases) {
    DString const s = dtest::make(mine);
    unsigned int const normally =
        s.buffer()->compare(other.data(), dtest::len(other));
    unsigned int answer = 99;
    dtest::failAllocationsFrom(mine.size() / 2);
    try {
      answer = s.buffer()->compare(other.data(), dtest::len(other));
    } catch (...) {
    }
    dtest::failAllocationsFrom(0);
    EXPECT_EQ(2u, answer) << mine.substr(0, 3);
    EXPECT_EQ(normally, s.buffer()->compare(other.data(), dtest::len(other)));
  }
  EXPECT_EQ(0, trace.logged);
  EXPECT_TRUE(trace.lines.empty());
}

TEST(DBufferCompare, CollationWithoutMemory) {
  collationWithoutMemory();
}

TEST(MbBufferCompare, CollationWithoutMemory) {
  collationWithoutMemory();
}
