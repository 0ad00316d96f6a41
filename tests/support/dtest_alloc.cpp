// The test program's main() and its operator new and delete, which replace
// the standard ones for the library as well (libstdc++'s array and nothrow
// forms call them): malloc and free, with a switch that makes every
// allocation from a given size on fail as on an exhausted heap. Valgrind
// and the sanitizers keep their own array forms: there nothing can fail.
#include "dtest_child.hpp"

#include <atomic>
#include <clocale>
#include <gtest/gtest.h>

namespace {

std::atomic<std::size_t> failFrom{0}; // 0: no allocation fails
std::atomic<unsigned long> served{0};

} // namespace

void dtest::failAllocationsFrom(std::size_t bytes) {
  failFrom = bytes;
}

bool dtest::allocationsCanFail() {
  // Through pointers, as the library calls them: valgrind's operators take
  // the calls at these addresses.
  void* (*volatile const allocateArray)(std::size_t) = &::operator new[];
  void (*volatile const releaseArray)(void*) noexcept = &::operator delete[];
  unsigned long const before = served;
  releaseArray(allocateArray(1));
  return served != before;
}

void* operator new(std::size_t size) {
  ++served;
  for (;;) {
    if (failFrom != 0 && size >= failFrom)
      errno = ENOMEM; // as an exhausted malloc leaves it
    else if (void* p = std::malloc(size == 0 ? 1 : size))
      return p;
    if (std::new_handler const handler = std::get_new_handler())
      handler();
    else
      throw std::bad_alloc();
  }
}

// Ours too where valgrind or a sanitizer would pair its own with our delete.
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
  try {
    return ::operator new(size);
  } catch (...) {
    return nullptr;
  }
}

void operator delete(void* p) noexcept {
  std::free(p);
}

void operator delete(void* p, std::size_t) noexcept {
  std::free(p);
}

// The locale of ZYN_TEST_LOCALE is set before any string exists (the first
// fixes the buffer class); UTC, as date formats normalise through mktime.
// With ZYN_TEST_CHILD set, that DTEST_CHILD runs instead of the tests.
int main(int argc, char** argv) {
  char const* name = std::getenv("ZYN_TEST_LOCALE");
  if (name != nullptr && std::setlocale(LC_ALL, name) == nullptr)
    std::fprintf(stderr, "locale %s is not available; its tests skip\n", name);
  setenv("KOVRA MSGFILE", ZYN_TEST_CATALOG, 0);
  setenv("TZ", "UTC0", 1);
  testing::InitGoogleTest(&argc, argv);
  char const* child = std::getenv("ZYN_TEST_CHILD");
  if (child == nullptr)
    return RUN_ALL_TESTS();
  auto const entry = dtest::children().find(child);
  if (entry != dtest::children().end())
    entry->second();
  return entry == dtest::children().end() ||
         testing::UnitTest::GetInstance()->Failed();
}
