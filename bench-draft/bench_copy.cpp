// Copying, sharing and making strings: DString against std::string, the
// old-ABI reference-counted std::string and std::shared_ptr.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "bench_oldabi.hpp"
#include "dstring.hpp"

namespace {

std::string const kilobyte(1024, 'k');
std::string const sixtyFour(64, 's');

void copyOurs(benchmark::State& state) {
  DString const source{std::string_view(kilobyte)};
  for (auto _ : state) {
    DString copy(source);
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(copyOurs)->Name("copy 1 KiB/1024/ours");

void copyPeer(benchmark::State& state) {
  std::string const source(kilobyte);
  for (auto _ : state) {
    std::string copy(source);
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(copyPeer)->Name("copy 1 KiB/1024/peer");

void sharedOurs(benchmark::State& state) {
  DString const source{std::string_view(kilobyte)};
  for (auto _ : state) {
    DString copy(source);
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(sharedOurs)->Name("copy shared, 1 thread/1024/ours");

void sharedPeer(benchmark::State& state) {
  zynbench::OldAbiString* source =
      zynbench::oldAbiMake(kilobyte.data(), kilobyte.size());
  for (auto _ : state)
    benchmark::DoNotOptimize(zynbench::oldAbiCopyDestroy(source, 1));
  zynbench::oldAbiFree(source);
}
BENCHMARK(sharedPeer)->Name("copy shared, 1 thread/1024/peer");

DString const* threadSource = nullptr;
std::shared_ptr<std::string const> threadPeer;

void threadsOurs(benchmark::State& state) {
  if (state.thread_index() == 0)
    threadSource = new DString(std::string_view(kilobyte));
  // Google Benchmark starts every thread's loop together after setup.
  for (auto _ : state) {
    DString copy(*threadSource);
    benchmark::DoNotOptimize(copy);
  }
  if (state.thread_index() == 0) {
    delete threadSource;
    threadSource = nullptr;
  }
}
BENCHMARK(threadsOurs)->Name("copy shared, 2 threads/1024/ours")->Threads(2)->UseRealTime();

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
BENCHMARK(threadsPeer)->Name("copy shared, 2 threads/1024/peer")->Threads(2)->UseRealTime();

void makeOurs(benchmark::State& state) {
  char const* text = sixtyFour.c_str();
  for (auto _ : state) {
    DString made(text);
    benchmark::DoNotOptimize(made);
  }
}
BENCHMARK(makeOurs)->Name("make from text/64/ours");

void makePeer(benchmark::State& state) {
  char const* text = sixtyFour.c_str();
  for (auto _ : state) {
    std::string made(text);
    benchmark::DoNotOptimize(made);
  }
}
BENCHMARK(makePeer)->Name("make from text/64/peer");

} // namespace
