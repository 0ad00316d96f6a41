// Copying and making strings in a process that never starts a thread: the
// library then changes counts without its lock, and libstdc++'s reference-
// counted string of the old ABI skips its atomic instructions. A program of
// its own, since one started thread makes a process multi-threaded for
// good; every benchmark checks that no thread has been started.
#include "bench_oldabi.hpp"
#include "bench_pairs.hpp"

#include "dstring.hpp"

#include <benchmark/benchmark.h>
#include <string>
#include <sys/single_threaded.h>

namespace {

std::string const kilobyte = zynbench::prose(1024);
std::string const sixtyFour = zynbench::prose(64);

bool stillSingleThreaded(benchmark::State& state) {
  if (__libc_single_threaded)
    return true;
  state.SkipWithError("a thread was started: the process is multi-threaded");
  return false;
}

void copyOurs(benchmark::State& state) {
  DString const source{std::string_view(kilobyte)};
  for (auto _ : state) {
    DString copy(source);
    benchmark::DoNotOptimize(copy);
  }
  stillSingleThreaded(state);
}

void copyPeer(benchmark::State& state) {
  zynbench::OldAbiString* source =
      zynbench::oldAbiMake(kilobyte.data(), kilobyte.size());
  for (auto _ : state)
    benchmark::DoNotOptimize(zynbench::oldAbiCopyDestroy(source, 1));
  zynbench::oldAbiFree(source);
  stillSingleThreaded(state);
}

void makeOurs(benchmark::State& state) {
  char const* text = sixtyFour.c_str();
  for (auto _ : state) {
    DString made(text);
    benchmark::DoNotOptimize(made);
  }
  stillSingleThreaded(state);
}

void makePeer(benchmark::State& state) {
  char const* text = sixtyFour.c_str();
  for (auto _ : state) {
    std::string made(text);
    benchmark::DoNotOptimize(made);
  }
  stillSingleThreaded(state);
}

} // namespace

BENCHMARK(copyOurs)->Name("copy + destroy, no thread started/1 KiB/ours");
BENCHMARK(copyPeer)->Name("copy + destroy, no thread started/1 KiB/peer");
BENCHMARK(makeOurs)->Name("make from text, no thread started/64 B/ours");
BENCHMARK(makePeer)->Name("make from text, no thread started/64 B/peer");
