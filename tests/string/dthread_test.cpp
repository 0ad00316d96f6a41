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

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
// Counts reports written on several threads at once.
class CountingTrace : public DException::TraceFn {
public:
  void write(char const*) override {}
  void exceptionLogged() override { ++logged; }
  std::atomic<int> logged{0};
};
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

std::string upper(std::string text) {
  for (char& c : text)
    if (c >= 'a' && c <= 'z')
      c = static_cast<char>(c - 32);
  return text;
}

} // namespace

TEST(DStringThreadStress, SharedBuffersKeepExactCounts) {
  std::vector<DString> shared;
  std::vector<std::string> texts;
  for (int i = 0; i < 6; ++i) {
    texts.push_back("shared " + std::to_string(i) + std::string(1, '\0') +
                    "\xE9tail");
    shared.push_back(dtest::make(texts.back()));
  }
  shared.emplace_back(); // the default empty buffer, shared by every empty
  texts.emplace_back();
  std::vector<unsigned int> counts;
  for (DString const& s : shared)
    counts.push_back(s.buffer()->useCount());
  std::new_handler const handler = std::get_new_handler();
  CountingTrace trace;
  DException::TraceFn* const previous = DException::setTraceFunction(trace);
  std::vector<std::atomic<DBuffer*>> mailbox(16);
  std::atomic<bool> stop{false};
  std::atomic<int> faults{0}, caught{0};
  std::vector<std::thread> workers;
  for (unsigned int t = 0; t < 4; ++t)
    workers.emplace_back([&, t] {
      std::vector<DString> mine(8);
      for (std::size_t k = t; !stop.load(std::memory_order_relaxed); ++k) {
        std::size_t const i = k % shared.size();
        std::string const& want = texts[i];
        DString copy(shared[i]);
        DString& slot = mine[k % mine.size()];
        slot = copy;
        DString edited(slot);
        edited.upperCase(); // copy on write
        bool bad = dtest::bytes(edited) != upper(want);
        edited.insert("<>", 2, 1).remove(2, 2);
        // Inserting behind byte 1 of an empty text pads it with a blank.
        bad |= dtest::bytes(edited) != (want.empty() ? " " : upper(want));
        bad |= dtest::bytes(copy) != want || dtest::bytes(slot) != want;
        mine[(k + 3) % mine.size()] = copy + slot; // drops an old buffer
        copy = edited;                             // the last owner frees
        // A buffer made here, freed by whichever thread takes it next.
        DString made(shared[i]);
        made.insert("#", 1, 0);
        made.buffer()->addRef();
        if (DBuffer* taken = mailbox[k % 16].exchange(made.buffer())) {
          bad |= taken->contents()[0] != '#';
          taken->removeRef();
        }
        if (k % 64 == 0)
          try {
            (void)static_cast<DString const&>(shared[0])[100u];
          } catch (DInvalidRequest const&) {
            ++caught;
          }
        faults += bad;
      }
    });
  std::this_thread::sleep_for(std::chrono::milliseconds(600));
  stop = true;
  for (std::thread& w : workers)
    w.join();
  DException::setTraceFunction(*previous);
  for (auto& m : mailbox)
    if (DBuffer* left = m.exchange(nullptr))
      left->removeRef();
  EXPECT_EQ(0, faults.load());
  EXPECT_GT(caught.load(), 0);
  EXPECT_EQ(caught.load(), trace.logged.load());
  EXPECT_EQ(handler, std::get_new_handler());
  for (std::size_t i = 0; i < shared.size(); ++i) {
    EXPECT_EQ(counts[i], shared[i].buffer()->useCount()) << i;
    EXPECT_EQ(texts[i], dtest::bytes(shared[i]));
  }
  EXPECT_EQ(0, __atomic_load_n(&DBuffer::refGuard, __ATOMIC_ACQUIRE));
}

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
    for (std::string& s : seen) {
      auto* copy = new DString(owner);
      holders.emplace_back([copy, &released, &s] {
        DString again(*copy);
        s = dtest::bytes(again);
        delete copy;
        released.fetch_add(1, std::memory_order_relaxed);
      });
    }
    while (released.load(std::memory_order_relaxed) != 2)
      std::this_thread::yield();
    owner[1u] = 'X'; // count 1 by now: written in place
    for (std::thread& t : holders)
      t.join();
    EXPECT_EQ("X" + text.substr(1), dtest::bytes(owner));
    EXPECT_EQ(1u, owner.buffer()->useCount());
    EXPECT_EQ(text, seen[0]);
    EXPECT_EQ(text, seen[1]);
  }
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
