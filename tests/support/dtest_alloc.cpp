// The test program's allocation operators, replacing the standard ones for
// the library too: malloc and free, plus a switch that makes every
// allocation from a given size on fail as on an exhausted heap (the
// new-handler is called while one is installed, else std::bad_alloc).
// Each block starts with a header naming the form that made it, so that a
// delete of the other form still stops the program (also under ASan, whose
// operators these replace).
#include "dtest_child.hpp"

#include <atomic>
#include <cstdint>

namespace {

std::atomic<std::size_t> failFrom{0}; // 0: no allocation fails
std::atomic<unsigned long> served{0};
enum class Form : std::size_t { single = 0x5D1E, array = 0xA77A };
constexpr std::size_t headerSize = 16; // keeps malloc's alignment

void* allocate(std::size_t size, Form form) {
  served.fetch_add(1, std::memory_order_relaxed);
  for (;;) {
    std::size_t const limit = failFrom.load(std::memory_order_relaxed);
    if (limit != 0 && size >= limit)
      errno = ENOMEM; // as an exhausted malloc leaves it
    else if (size <= SIZE_MAX - headerSize)
      if (void* p = std::malloc(headerSize + size)) {
        *static_cast<Form*>(p) = form;
        return static_cast<char*>(p) + headerSize;
      }
    if (std::new_handler const handler = std::get_new_handler())
      handler();
    else
      throw std::bad_alloc();
  }
}

void* allocateOrNull(std::size_t size, Form form) noexcept {
  try {
    return allocate(size, form);
  } catch (...) {
    return nullptr;
  }
}

void release(void* p, Form form) noexcept {
  void* const block = static_cast<char*>(p) - headerSize;
  if (p != nullptr && *static_cast<Form*>(block) != form) {
    std::fputs("dtest_alloc: delete does not match the new of the block\n",
               stderr);
    std::abort();
  }
  std::free(p != nullptr ? block : nullptr);
}

} // namespace

void dtest::failAllocationsFrom(std::size_t bytes) {
  failFrom = bytes;
}

bool dtest::allocationsCanFail() {
  // Called through pointers, as the library calls them: a replacement
  // (valgrind's) takes the calls at the operators' addresses.
  void* (*volatile const allocateArray)(std::size_t) = &::operator new[];
  void (*volatile const releaseArray)(void*) noexcept = &::operator delete[];
  unsigned long const before = served;
  releaseArray(allocateArray(1));
  return served != before;
}

void* operator new(std::size_t size) {
  return allocate(size, Form::single);
}
void* operator new[](std::size_t size) {
  return allocate(size, Form::array);
}
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
  return allocateOrNull(size, Form::single);
}
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
  return allocateOrNull(size, Form::array);
}
void operator delete(void* p) noexcept {
  release(p, Form::single);
}
void operator delete[](void* p) noexcept {
  release(p, Form::array);
}
void operator delete(void* p, std::size_t) noexcept {
  release(p, Form::single);
}
void operator delete[](void* p, std::size_t) noexcept {
  release(p, Form::array);
}
