// The peer for sharing one string in one thread: libstdc++'s reference-
// counted std::string of the old ABI. CMake compiles this translation unit
// alone with -D_GLIBCXX_USE_CXX11_ABI=0.
#include "bench_oldabi.hpp"

#include <string>

#if _GLIBCXX_USE_CXX11_ABI
#error "bench_oldabi.cpp must be built with -D_GLIBCXX_USE_CXX11_ABI=0"
#endif

namespace zynbench {

struct OldAbiString {
  std::string text;
};

OldAbiString* oldAbiMake(char const* text, std::size_t length) {
  return new OldAbiString{std::string(text, length)};
}

void oldAbiFree(OldAbiString* s) {
  delete s;
}

std::size_t oldAbiCopyDestroy(OldAbiString const* s, int times) {
  std::size_t sum = 0;
  for (int i = 0; i < times; ++i) {
    std::string copy(s->text); // shares the representation: count + 1
    // Keeps the copy from being folded away, as DoNotOptimize would. Only
    // const access: the non-const data() of a reference-counted string
    // makes it private, that is, copies the text.
    std::string const& shared = copy;
    asm volatile("" : : "g"(shared.c_str()) : "memory");
    sum += copy.size();
  }
  return sum;
}

} // namespace zynbench
