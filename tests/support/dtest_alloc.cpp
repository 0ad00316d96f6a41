// The test program's own allocation operators: plain malloc and free, plus
// a switch that makes every allocation from a given size on fail the way
// an exhausted heap does (the new-handler is called while one is
// installed, else std::bad_alloc). Memory-fault tests use it instead of an
// address-space limit, whose outcome depends on what the heap happens to
// have mapped already. Defined in the program, these replace the standard
// operators for the library too.
#include "dtest_child.hpp"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

// 0: no allocation fails.
std::atomic<std::size_t> failFrom{0};

bool fails(std::size_t size) {
  std::size_t const limit = failFrom.load(std::memory_order_relaxed);
  return limit != 0 && size >= limit;
}

void* allocate(std::size_t size) {
  for (;;) {
    if (!fails(size))
      if (void* p = std::malloc(size == 0 ? 1 : size))
        return p;
    std::new_handler const handler = std::get_new_handler();
    if (handler == nullptr)
      throw std::bad_alloc();
    handler();
  }
}

// The standard nothrow forms: whatever the handler throws becomes null.
void* allocateOrNull(std::size_t size) noexcept {
  try {
    return allocate(size);
  } catch (...) {
    return nullptr;
  }
}

} // namespace

void dtest::failAllocationsFrom(std::size_t bytes) {
  failFrom.store(bytes, std::memory_order_relaxed);
}

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
void operator delete(void* p, std::nothrow_t const&) noexcept {
  std::free(p);
}
void operator delete[](void* p, std::nothrow_t const&) noexcept {
  std::free(p);
}
