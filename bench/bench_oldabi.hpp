// Old-ABI std::string peer, hidden behind an opaque type so that the two
// string ABIs never meet in one translation unit.
#ifndef ZYN_BENCH_OLDABI_HPP
#define ZYN_BENCH_OLDABI_HPP

#include <cstddef>

namespace zynbench {
struct OldAbiString;
OldAbiString* oldAbiMake(char const* text, std::size_t length);
void oldAbiFree(OldAbiString* s);
/// Copies and destroys \p s \p times times; returns the summed sizes.
std::size_t oldAbiCopyDestroy(OldAbiString const* s, int times);
} // namespace zynbench

#endif
