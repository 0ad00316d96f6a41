// For the multibyte fuzz target (its models are in fuzz_mb.cpp): argument
// copies that end right before an unreadable page, so that a read past an
// argument's stated length ends the run with SIGSEGV, also inside the C
// library, where sanitizers see nothing.
#ifndef D_TESTS_DMBMODELS_HPP
#define D_TESTS_DMBMODELS_HPP

#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace dmodel {

/// Copies \p bytes to the end of page slot \p slot (0 or 1), made once and
/// kept; the copy is valid until the slot's next use.
inline char const* guardedCopy(int slot, std::string const& bytes) {
  static char* pages[2] = {nullptr, nullptr};
  static std::size_t const page = std::size_t(sysconf(_SC_PAGESIZE));
  if (pages[slot] == nullptr) {
    void* const m = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE,
                         MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m == MAP_FAILED ||
        mprotect(static_cast<char*>(m) + page, page, PROT_NONE) != 0)
      std::abort();
    pages[slot] = static_cast<char*>(m);
  }
  char* const start = pages[slot] + page - bytes.size();
  std::memcpy(start, bytes.data(), bytes.size());
  return start;
}

} // namespace dmodel

#endif // D_TESTS_DMBMODELS_HPP
