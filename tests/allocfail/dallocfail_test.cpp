// Allocation failures made on purpose, independent of the process's size:
// this program replaces the global allocation functions with ones that,
// while a FailingAllocations guard lives, fail every request of at least a
// given size the way an exhausted heap does (malloc's null with ENOMEM,
// then the new-handler, then std::bad_alloc). It is its own program so the
// other tests keep the C++ library's and the sanitizers' allocators.
#include "dbuffer.hpp"
#include "dexcept.hpp"
#include "dstring.hpp"
#include "dtest_support.hpp"

#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>
#include <new>
#include <string>

namespace {

bool failing = false;
std::size_t failFrom = 0;

void* allocate(std::size_t size) {
  for (;;) {
    void* p = nullptr;
    if (failing && size >= failFrom)
      errno = ENOMEM; // as malloc leaves it
    else
      p = std::malloc(size == 0 ? 1 : size);
    if (p != nullptr)
      return p;
    std::new_handler const handler = std::get_new_handler();
    if (handler == nullptr)
      throw std::bad_alloc();
    handler();
  }
}

void* allocateOrNull(std::size_t size) noexcept {
  try {
    return allocate(size);
  } catch (...) {
    return nullptr;
  }
}

/// Requests of \p from bytes or more fail for the guard's lifetime.
class FailingAllocations {
public:
  explicit FailingAllocations(std::size_t from) {
    failFrom = from;
    failing = true;
  }
  ~FailingAllocations() { failing = false; }
  FailingAllocations(FailingAllocations const&) = delete;
  FailingAllocations& operator=(FailingAllocations const&) = delete;
};

} // namespace

void* operator new(std::size_t size) {
  return allocate(size);
}
void* operator new[](std::size_t size) {
  return allocate(size);
}
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
  return allocateOrNull(size);
}
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
  return allocateOrNull(size);
}
void operator delete(void* p) noexcept {
  std::free(p);
}
void operator delete[](void* p) noexcept {
  std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
  std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
  std::free(p);
}

namespace {

// With internationalised mode on, compare() works on NUL-terminated copies
// (and, for multibyte text, wide arrays). When they cannot be allocated the
// answer is 2 (before): no exception, no errno taken for a collation
// error, and no out-of-memory report, as nothing failed for the caller.
TEST(DStringCollationMemory, CopiesThatCannotBeMadeAnswerBefore) {
  dtest::I18NState const collation(1);
  struct Case {
    std::string mine, other;
    unsigned int normally;
  };
  // Long enough that the copies fail while a report would still fit.
  std::string const tail(4000, 'x');
  Case const cases[] = {
      {"b" + tail, "a" + tail, 1},
      {"a" + tail, "b" + tail, 2},
      {"a" + tail, "a" + tail + "y", 2},
      {std::string("a\0b", 3) + tail, std::string("a\0a", 3) + tail, 1},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.mine.substr(0, 3));
    DString const s(c.mine.data(), static_cast<unsigned int>(c.mine.size()));
    unsigned int const otherLength = static_cast<unsigned int>(c.other.size());
    EXPECT_EQ(c.normally, s.buffer()->compare(c.other.data(), otherLength));
    dtest::RecordingTrace trace;
    unsigned int answer = 99;
    bool raised = false;
    {
      FailingAllocations const exhausted(c.mine.size() / 2);
      try {
        answer = s.buffer()->compare(c.other.data(), otherLength);
      } catch (...) {
        raised = true;
      }
    }
    EXPECT_FALSE(raised);
    EXPECT_EQ(2u, answer);
    EXPECT_EQ(0, trace.logged);
    EXPECT_TRUE(trace.lines.empty());
    // Allocation works again: the usual answer.
    EXPECT_EQ(c.normally, s.buffer()->compare(c.other.data(), otherLength));
  }
}

// The library's own out-of-memory path still runs where memory is needed
// for the caller's result.
TEST(DStringCollationMemory, ResultsThatCannotBeMadeStillRaise) {
  std::string const text(4096, 'a');
  DString s(text.c_str());
  dtest::RecordingTrace trace;
  bool outOfMemory = false;
  {
    FailingAllocations const exhausted(text.size() / 2);
    try {
      s.insert("b", 1, 1);
    } catch (DOutOfMemory const&) {
      outOfMemory = true;
    }
  }
  EXPECT_TRUE(outOfMemory);
  EXPECT_EQ(1, trace.logged);
  EXPECT_EQ(text, dtest::bytes(s));
}

} // namespace
