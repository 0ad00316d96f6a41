// The lock-byte wait of libzynosse: spin briefly with a pause instruction,
// then yield the processor, then back off with short sleeps.
#include "oss/doss.hpp"

#include <sched.h>
#include <time.h>

namespace {

inline void cpuPause() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#elif defined(__aarch64__)
  asm volatile("yield");
#endif
}

// One attempt: read first so waiting cores do not bounce the cache line
// with writes, then exchange.
inline bool tryTake(char* lock) {
  return __atomic_load_n(lock, __ATOMIC_RELAXED) == 0 &&
         __atomic_exchange_n(lock, 1, __ATOMIC_ACQUIRE) == 0;
}

} // namespace

extern "C" void ossLockGetConflict(char* lock) {
  // The holder keeps the byte for a few instructions, so most waits end
  // while spinning; yielding and sleeping cover a preempted holder.
  for (int spin = 0; spin < 128; ++spin) {
    if (tryTake(lock))
      return;
    cpuPause();
  }
  for (int round = 0; round < 16; ++round) {
    if (tryTake(lock))
      return;
    sched_yield();
  }
  struct timespec pause = {0, 50000};
  while (!tryTake(lock)) {
    nanosleep(&pause, nullptr);
    if (pause.tv_nsec < 1000000)
      pause.tv_nsec *= 2;
  }
}
