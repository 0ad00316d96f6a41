// Releasing the count lock is a full fence and a store of 0. The library
// fences with a locked no-op on the stack, then stores; the peers are the
// other full fences of x86-64: mfence then the store, and an exchange of 0
// (the fence and the store in one locked instruction). Each runs a whole
// uncontended lock cycle on DBuffer::refGuard (take, one count change,
// release); the report keeps the faster peer, so a ratio of 1 or below says
// the library's way is the cheapest.
#include "string/dbufcount_p.hpp"

#include <benchmark/benchmark.h>

#if defined(__x86_64__)
namespace {

using dinternal::BufferCount;

unsigned int count = 0;

void lockedNoOpOurs(benchmark::State& state) {
  for (auto _ : state) {
    BufferCount::lock();
    benchmark::DoNotOptimize(++count);
    BufferCount::unlock();
  }
}

void mfencePeer(benchmark::State& state) {
  for (auto _ : state) {
    BufferCount::lock();
    benchmark::DoNotOptimize(++count);
    asm volatile("mfence" ::: "memory");
    __atomic_store_n(&DBuffer::refGuard, 0, __ATOMIC_RELAXED);
  }
}

void exchangePeer(benchmark::State& state) {
  for (auto _ : state) {
    BufferCount::lock();
    benchmark::DoNotOptimize(++count);
    (void)__atomic_exchange_n(&DBuffer::refGuard, 0, __ATOMIC_SEQ_CST);
  }
}

} // namespace

BENCHMARK(lockedNoOpOurs)->Name("count lock cycle/1 change/ours");
BENCHMARK(mfencePeer)->Name("count lock cycle/1 change/peer-mfence");
BENCHMARK(exchangePeer)->Name("count lock cycle/1 change/peer-exchange");
#endif
