// Threads sharing buffers: copies, assignments, copy-on-write edits, buffers
// handed to and freed on other threads, and index errors raised (catalogue
// text, trace report, new-handler suspension) all at once; afterwards every
// count is where it started and the count lock is free. The ThreadSanitizer
// lane runs these too.
#include "dstring.hpp"
#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <atomic>
#include <chrono>
#include <sys/single_threaded.h>
#include <thread>

namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
// Counts reports written on several threads at once.
class CountingTrace : public DException::TraceFn {
public:
  void write(char const*) override {}
  void exceptionLogged() override { ++logged; }
  std::atomic<int> logged{0};
};
#pragma GCC diagnostic pop

} // namespace

TEST(DStringThreadStress, SharedBuffersKeepExactCounts) {
  std::string const text = std::string("shared\0\xE9tail", 12);
  DString const shared[] = {dtest::make(text), DString()};
  unsigned int const counts[] = {shared[0].buffer()->useCount(),
                                 shared[1].buffer()->useCount()};
  std::new_handler const handler = std::get_new_handler();
  CountingTrace trace;
  DException::TraceFn* const previous = DException::setTraceFunction(trace);
  std::atomic<bool> stop{false};
  std::atomic<int> faults{0}, caught{0};
  std::vector<std::thread> workers;
  for (unsigned int t = 0; t < 4; ++t)
    workers.emplace_back([&, t] {
      std::vector<DString> mine(8);
      for (std::size_t k = t; !stop.load(std::memory_order_relaxed); ++k) {
        DString const& from = shared[k % 2];
        DString& slot = mine[k % mine.size()];
        slot = from;
        DString edited(slot);
        edited.upperCase().lowerCase();              // copy on write
        mine[(k + 3) % mine.size()] = edited + slot; // drops an old buffer
        faults += dtest::bytes(edited) != dtest::bytes(from) ||
                  dtest::bytes(slot) != dtest::bytes(from);
        if (k % 64 == 0)
          try {
            (void)shared[0][100u];
          } catch (DInvalidRequest const&) {
            ++caught;
          }
      }
    });
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  stop = true;
  for (std::thread& w : workers)
    w.join();
  DException::setTraceFunction(*previous);
  EXPECT_EQ(0, faults.load());
  EXPECT_GT(caught.load(), 0);
  EXPECT_EQ(caught.load(), trace.logged.load());
  EXPECT_EQ(handler, std::get_new_handler());
  for (int i : {0, 1})
    EXPECT_EQ(counts[i], shared[i].buffer()->useCount()) << i;
  EXPECT_EQ(text, dtest::bytes(shared[0]));
  EXPECT_EQ(0, __atomic_load_n(&DBuffer::refGuard, __ATOMIC_ACQUIRE));
}

// The switch from plain count changes to the locked ones: strings made
// before the first thread is started and shared with it while this thread
// keeps copying, and a buffer made by a thread that has ended and freed
// here. Runs in a fresh process, which has not started a thread yet.
DTEST_CHILD(ThreadSwitchOver) {
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

TEST(DStringThreadSwitchOver, FreshProcess) {
  dtest::ChildResult const r = dtest::runChild("ThreadSwitchOver", {});
  EXPECT_EQ(0, r.exitCode) << r.output;
}
