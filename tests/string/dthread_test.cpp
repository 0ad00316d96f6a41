// Threads sharing buffers (the ThreadSanitizer lane runs these too), and the
// fgI18NState that KOVRA_I18N gives a fresh process.
#include "dstring.hpp"
#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <atomic>
#include <cstdlib>
#include <sys/single_threaded.h>
#include <thread>

// Holders on other threads read their copies and let go, then the owner
// writes through operator[]. The flag between the threads is relaxed on
// purpose: only the count lock orders the owner's in-place write after the
// holders' reads (ThreadSanitizer reports the race otherwise).
TEST(DStringThreadCopyOnWrite, WriteAfterOtherThreadsLetGo) {
  std::string const text = "copy on write across threads";
  for (int round = 0; round < 100; ++round) {
    DString owner = dtest::make(text);
    std::atomic<int> released{0};
    std::string seen[2];
    std::vector<std::thread> holders;
    for (std::string& s : seen)
      holders.emplace_back([copy = new DString(owner), &released, &s] {
        s = dtest::bytes(DString(*copy));
        delete copy;
        released.fetch_add(1, std::memory_order_relaxed);
      });
    while (released.load(std::memory_order_relaxed) != 2)
      std::this_thread::yield();
    owner[1u] = 'X'; // count 1 by now: written in place
    for (std::thread& t : holders)
      t.join();
    EXPECT_EQ("X" + text.substr(1), dtest::bytes(owner));
    EXPECT_EQ(1u, owner.buffer()->useCount());
    EXPECT_EQ(text + text, seen[0] + seen[1]);
  }
}

// The switch from plain count changes to locked ones, in a fresh process:
// strings made before the first thread and shared with it while this thread
// copies, and a buffer made by a thread that has ended, freed here.
DTEST_CHILD(ThreadSwitchOver) {
  EXPECT_EQ(std::atoi(std::getenv("ZYN_EXPECT_I18N")), DString::fgI18NState);
  if (!__libc_single_threaded) {
#if defined(__SANITIZE_THREAD__)
    return; // ThreadSanitizer started a thread of its own
#else
    FAIL() << "a thread was started before the test";
#endif
  }
  DString const before("made before the first thread");
  std::vector<DString> copies(64, before); // plain count changes
  EXPECT_EQ(65u, before.buffer()->useCount());
  DBuffer* fromThread = nullptr;
  std::thread worker([&] {
    for (int i = 0; i < 200000; ++i) {
      DString copy(before);
      copies[0].length(); // read a handle this thread shares
      if (static_cast<char const*>(copy)[0] != 'm')
        break;
    }
    DString made("made by a thread that ends");
    fromThread = made.buffer();
    fromThread->addRef();
  });
  for (int i = 0; i < 200000; ++i)
    copies[static_cast<std::size_t>(1 + i % 63)] = DString(before);
  worker.join();
  EXPECT_EQ(65u, before.buffer()->useCount());
  ASSERT_NE(nullptr, fromThread);
  EXPECT_EQ(1u, fromThread->useCount());
  DString const adopted(fromThread);
  DString const second(adopted);
  EXPECT_EQ(2u, adopted.buffer()->useCount());
  EXPECT_EQ(0, __atomic_load_n(&DBuffer::refGuard, __ATOMIC_ACQUIRE));
}

// KOVRA_I18N "on" in any case, and nothing else, sets fgI18NState.
TEST(DStringThreadSwitchOver, FreshProcess) {
  std::pair<char const*, char const*> const runs[] = {
      {"oN", "1"}, {"ONE", "0"}, {"on ", "0"}, {"", "0"}, {nullptr, "0"}};
  for (auto const& [value, want] : runs) {
    std::vector<std::pair<std::string, std::string>> set = {
        {"ZYN_EXPECT_I18N", want}};
    if (value)
      set.emplace_back("KOVRA_I18N", value);
    dtest::ChildResult const r =
        dtest::runChild("ThreadSwitchOver", set,
                        std::vector<std::string>(value ? 0 : 1, "KOVRA_I18N"));
    EXPECT_EQ(0, r.exitCode) << (value ? value : "(unset)") << r.output;
  }
}
