// The peer for sharing one string in one thread: libstdc++'s reference-
// counted std::string of the old ABI, built in this translation unit only.
#define _GLIBCXX_USE_CXX11_ABI 0
#include <string>

#include "bench_oldabi.hpp"

namespace zynbench {

struct OldAbiString {
  std::string text;
};

OldAbiString* oldAbiMake(char const* text, std::size_t length) {
  return new OldAbiString{std::string(text, length)};
}

void oldAbiFree(OldAbiString* s) { delete s; }

std::size_t oldAbiCopyDestroy(OldAbiString const* s, int times) {
  std::size_t sum = 0;
  for (int i = 0; i < times; ++i) {
    std::string copy(s->text); // shares the representation: count + 1
    sum += copy.size();
  }
  return sum;
}

} // namespace zynbench
