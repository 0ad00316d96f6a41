// Copying, sharing and making strings: DString against std::string, the
// old-ABI reference-counted std::string and std::shared_ptr.
#include "bench_oldabi.hpp"
#include "bench_pairs.hpp"

#include "dstring.hpp"

#include <benchmark/benchmark.h>
#include <memory>
#include <string>
#include <thread>

namespace {

// libstdc++'s reference-counted string skips its atomic instructions while
// the process has never started a second thread. One thread started and
// joined before any benchmark makes the peer pay them in every run, in
// whatever order the benchmarks run (as in any program that has threads).
int const multiThreaded = [] {
  std::thread([] {}).join();
  return 0;
}();

std::string const kilobyte = zynbench::prose(1024);
std::string const sixtyFour = zynbench::prose(64);

// A copy shares the buffer (one count change under the lock) and the
// destructor gives the reference back (a second one).
void copyOurs(benchmark::State& state) {
  DString const source{std::string_view(kilobyte)};
  for (auto _ : state) {
    DString copy(source);
    benchmark::DoNotOptimize(copy);
  }
}

// A copy of the new-ABI string allocates and copies the text.
void copyPeer(benchmark::State& state) {
  std::string const source(kilobyte);
  for (auto _ : state) {
    std::string copy(source);
    benchmark::DoNotOptimize(copy);
  }
}

// Both sides cross one out-of-line call per copy: the library's exported
// copy constructor, and the old-ABI string's translation unit.
void sharedPeer(benchmark::State& state) {
  zynbench::OldAbiString* source =
      zynbench::oldAbiMake(kilobyte.data(), kilobyte.size());
  for (auto _ : state)
    benchmark::DoNotOptimize(zynbench::oldAbiCopyDestroy(source, 1));
  zynbench::oldAbiFree(source);
}

// Two threads copy and destroy handles of one buffer. Google Benchmark runs
// the code before the loop in every thread, then starts both loops together
// (and lets them finish together before the code after the loop).
DString const* threadSource = nullptr;
std::shared_ptr<std::string const> threadPeer;

void threadsOurs(benchmark::State& state) {
  if (state.thread_index() == 0)
    threadSource = new DString(std::string_view(kilobyte));
  for (auto _ : state) {
    DString copy(*threadSource);
    benchmark::DoNotOptimize(copy);
  }
  if (state.thread_index() == 0) {
    delete threadSource;
    threadSource = nullptr;
  }
}

void threadsPeer(benchmark::State& state) {
  if (state.thread_index() == 0)
    threadPeer = std::make_shared<std::string const>(kilobyte);
  for (auto _ : state) {
    std::shared_ptr<std::string const> copy(threadPeer);
    benchmark::DoNotOptimize(copy);
  }
  if (state.thread_index() == 0)
    threadPeer.reset();
}

// Two threads, each copying and destroying handles of a buffer of its own:
// no count is shared, but every count change of the library takes the one
// process-wide lock byte, so the two threads take turns at it; the old-ABI
// string's counts sit in their own strings.
void ownOurs(benchmark::State& state) {
  DString const source{std::string_view(kilobyte)};
  for (auto _ : state) {
    DString copy(source);
    benchmark::DoNotOptimize(copy);
  }
}

void ownPeer(benchmark::State& state) {
  zynbench::OldAbiString* source =
      zynbench::oldAbiMake(kilobyte.data(), kilobyte.size());
  for (auto _ : state)
    benchmark::DoNotOptimize(zynbench::oldAbiCopyDestroy(source, 1));
  zynbench::oldAbiFree(source);
}

void makeOurs(benchmark::State& state) {
  char const* text = sixtyFour.c_str();
  for (auto _ : state) {
    DString made(text);
    benchmark::DoNotOptimize(made);
  }
}

// 64 bytes are past the short-string buffer: std::string allocates too.
void makePeer(benchmark::State& state) {
  char const* text = sixtyFour.c_str();
  for (auto _ : state) {
    std::string made(text);
    benchmark::DoNotOptimize(made);
  }
}

} // namespace

BENCHMARK(copyOurs)->Name("copy + destroy/1 KiB/ours");
BENCHMARK(copyPeer)->Name("copy + destroy/1 KiB/peer");
BENCHMARK(copyOurs)->Name("copy shared, 1 thread/1 KiB/ours");
BENCHMARK(sharedPeer)->Name("copy shared, 1 thread/1 KiB/peer");
BENCHMARK(threadsOurs)
    ->Name("copy shared, 2 threads/1 KiB/ours")
    ->Threads(2)
    ->UseRealTime();
BENCHMARK(threadsPeer)
    ->Name("copy shared, 2 threads/1 KiB/peer")
    ->Threads(2)
    ->UseRealTime();
BENCHMARK(ownOurs)
    ->Name("copy own strings, 2 threads/1 KiB/ours")
    ->Threads(2)
    ->UseRealTime();
BENCHMARK(ownPeer)
    ->Name("copy own strings, 2 threads/1 KiB/peer")
    ->Threads(2)
    ->UseRealTime();
BENCHMARK(makeOurs)->Name("make from text/64 B/ours");
BENCHMARK(makePeer)->Name("make from text/64 B/peer");
