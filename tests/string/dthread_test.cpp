// Thread stress for the shared buffers: several threads copy, assign, edit
// (copy on write) and destroy handles that share buffers with each other
// and with handles owned by the main thread. Afterwards every count must be
// exactly where it started and the count lock free. Runs about a second,
// less under the sanitizers; the ThreadSanitizer lane runs it too.
#include "dstring.hpp"
#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <sys/single_threaded.h>
#include <thread>
#include <vector>

namespace {

constexpr bool underAnySanitizer() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
  return true;
#else
  return false;
#endif
#else
  return false;
#endif
}

std::chrono::milliseconds stressTime() {
  return std::chrono::milliseconds(underAnySanitizer() ? 300 : 1000);
}

constexpr int threadCount = 4;

std::string upper(std::string text) {
  for (char& c : text)
    if (c >= 'a' && c <= 'z')
      c = static_cast<char>(c - 32);
  return text;
}

// What one worker saw go wrong; the main thread reports it (gtest
// assertions are not meant to be raised on several threads at once).
struct WorkerLog {
  unsigned long operations = 0;
  std::vector<std::string> faults;
  void fault(std::string const& what) {
    if (faults.size() < 8)
      faults.push_back(what);
  }
};

} // namespace

// Handles shared between the main thread and the workers: each worker
// copies the shared strings, edits private copies (which must leave the
// originals alone), assigns handles across each other and destroys them.
TEST(DStringThreadStress, SharedBuffersKeepExactCounts) {
  // The first string is made before any other thread uses the library.
  DString const first("first");
  std::vector<DString> shared;
  std::vector<std::string> sharedText;
  for (int i = 0; i < 6; ++i) {
    std::string text = "shared text " + std::to_string(i) + " abcXYZ";
    text.push_back('\0');
    text += "\xE9tail";
    sharedText.push_back(text);
    shared.emplace_back(text.data(), static_cast<unsigned int>(text.size()));
  }
  shared.emplace_back(); // the default empty buffer, shared by every empty
  sharedText.emplace_back();
  std::vector<unsigned int> startCounts;
  for (DString const& s : shared)
    startCounts.push_back(s.buffer()->useCount());

  std::atomic<bool> stop{false};
  std::vector<WorkerLog> logs(threadCount);
  std::vector<std::thread> workers;
  for (int t = 0; t < threadCount; ++t) {
    workers.emplace_back([&, t] {
      WorkerLog& log = logs[static_cast<std::size_t>(t)];
      std::vector<DString> mine(8);
      std::size_t k = static_cast<std::size_t>(t);
      while (!stop.load(std::memory_order_relaxed)) {
        for (int round = 0; round < 64; ++round, ++k) {
          std::size_t const i = k % shared.size();
          std::string const& want = sharedText[i];
          DString copy(shared[i]); // count up
          DString& slot = mine[k % mine.size()];
          slot = copy; // assign: up and down
          DString edited(slot);
          edited.upperCase(); // copy on write
          if (dtest::bytes(edited) != upper(want))
            log.fault("upperCase gave " + dtest::bytes(edited));
          edited.insert("<>", 2, 1);
          edited.remove(2, 2);
          // Inserting behind byte 1 of an empty text pads it with a blank.
          if (dtest::bytes(edited) != (want.empty() ? " " : upper(want)))
            log.fault("insert/remove gave " + dtest::bytes(edited));
          if (dtest::bytes(copy) != want || dtest::bytes(slot) != want)
            log.fault("a shared copy changed: " + dtest::bytes(copy));
          DString joined = copy + slot; // a new buffer
          if (joined.length() != 2 * want.size())
            log.fault("concatenation length");
          mine[(k + 3) % mine.size()] = joined; // drops an old buffer
          copy = edited;                        // last owner may free
          log.operations += 8;
        }
      }
      // Handles of mine are destroyed on this thread as the lambda ends.
    });
  }
  std::this_thread::sleep_for(stressTime());
  stop = true;
  for (std::thread& w : workers)
    w.join();

  unsigned long total = 0;
  for (WorkerLog const& log : logs) {
    total += log.operations;
    for (std::string const& fault : log.faults)
      ADD_FAILURE() << fault;
  }
  EXPECT_GT(total, 0ul);
  std::printf("[ stress   ] %d threads, %lu handle operations\n", threadCount,
              total);
  for (std::size_t i = 0; i < shared.size(); ++i) {
    EXPECT_EQ(startCounts[i], shared[i].buffer()->useCount()) << "string " << i;
    EXPECT_EQ(sharedText[i], dtest::bytes(shared[i]));
  }
  EXPECT_EQ(0, __atomic_load_n(&DBuffer::refGuard, __ATOMIC_ACQUIRE));
}

// One handle per pair of threads: ownership of buffers moves between the
// threads through assignment under a mutex-free handoff, so the last
// reference to a buffer is often dropped on another thread than the one
// that made it. Buffers made here are freed; the leak lanes see any that
// are not.
TEST(DStringThreadStress, BuffersFreedOnOtherThreads) {
  DString const first("first");
  DString const seed("seed text for handoff");
  unsigned int const seedCount = seed.buffer()->useCount();
  constexpr int slots = 16;
  std::vector<std::atomic<DBuffer*>> mailbox(slots);
  for (auto& m : mailbox)
    m.store(nullptr);
  std::atomic<bool> stop{false};
  std::vector<WorkerLog> logs(threadCount);
  std::vector<std::thread> workers;
  for (int t = 0; t < threadCount; ++t) {
    workers.emplace_back([&, t] {
      WorkerLog& log = logs[static_cast<std::size_t>(t)];
      unsigned k = static_cast<unsigned>(t) * 7u;
      while (!stop.load(std::memory_order_relaxed)) {
        for (int round = 0; round < 64; ++round, ++k) {
          // Make a private buffer, hand one reference to the mailbox.
          DString made(seed);
          made.insert("#", 1, 0).reverse();
          DBuffer* give = made.buffer();
          give->addRef();
          DBuffer* taken = mailbox[k % slots].exchange(give);
          if (taken != nullptr) {
            // Another thread's buffer: check it, then release it here.
            if (taken->length() != seed.length() + 1 ||
                taken->contents()[taken->length() - 1] != '#')
              log.fault("a handed-over buffer changed");
            taken->removeRef();
          }
          log.operations += 4;
        }
      }
    });
  }
  std::this_thread::sleep_for(stressTime());
  stop = true;
  for (std::thread& w : workers)
    w.join();
  for (auto& m : mailbox)
    if (DBuffer* left = m.exchange(nullptr))
      left->removeRef();
  unsigned long total = 0;
  for (WorkerLog const& log : logs) {
    total += log.operations;
    for (std::string const& fault : log.faults)
      ADD_FAILURE() << fault;
  }
  EXPECT_GT(total, 0ul);
  std::printf("[ stress   ] %d threads, %lu handoff operations\n", threadCount,
              total);
  EXPECT_EQ(seedCount, seed.buffer()->useCount());
  EXPECT_EQ(0, __atomic_load_n(&DBuffer::refGuard, __ATOMIC_ACQUIRE));
}

// Copy on write against holders on other threads: each holder reads its
// copy and lets it go, then the owner writes through operator[]. The flag
// between the threads is relaxed on purpose, so only the count lock orders
// the owner's in-place write after the holders' reads; ThreadSanitizer
// reports the race when the count is read without the lock.
TEST(DStringThreadCopyOnWrite, WriteAfterOtherThreadsLetGo) {
  std::string const text = "copy on write across threads";
  for (int round = 0; round < 100; ++round) {
    DString owner(text.data(), static_cast<unsigned int>(text.size()));
    std::atomic<int> released{0};
    std::vector<std::string> seen(2);
    std::vector<std::thread> holders;
    for (std::size_t h = 0; h < seen.size(); ++h) {
      auto* copy = new DString(owner);
      holders.emplace_back([copy, &released, &seen, h] {
        DString again(*copy); // copy and drop on this thread too
        seen[h] = dtest::bytes(again);
        delete copy;
        released.fetch_add(1, std::memory_order_relaxed);
      });
    }
    while (released.load(std::memory_order_relaxed) != 2)
      std::this_thread::yield();
    owner[1u] = 'X'; // count 1 by now: written in place (1-based)
    for (std::thread& t : holders)
      t.join();
    EXPECT_EQ("Xopy on write across threads", dtest::bytes(owner));
    EXPECT_EQ(1u, owner.buffer()->useCount());
    for (std::string const& s : seen)
      EXPECT_EQ(text, s);
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

// Everything at once: each thread copies strings it shares with the others,
// writes through the non-const operator[] of its own copy (copy on write out
// of a shared buffer) and raises index errors (catalogue text, trace report,
// new-handler suspension). Afterwards the shared texts, their counts and the
// library's new-handler are as before.
TEST(DStringThreadMixed, ThrowCopyAndWriteAtOnce) {
  std::string const text = "shared by every thread";
  DString const shared(text.data(), static_cast<unsigned int>(text.size()));
  std::new_handler const handler = std::get_new_handler();
  CountingTrace trace;
  DException::TraceFn* const previous = DException::setTraceFunction(trace);
  constexpr int threads = 3;
  constexpr int rounds = 200;
  std::atomic<int> caught{0};
  std::atomic<int> wrong{0};
  std::vector<std::thread> workers;
  for (int t = 0; t < threads; ++t)
    workers.emplace_back([&, t] {
      for (int i = 0; i < rounds; ++i) {
        DString mine(shared);
        DString again(mine);
        mine[1u] = static_cast<char>('A' + t);
        if (dtest::bytes(again) != text || mine.length() != text.size() ||
            dtest::bytes(mine).substr(1) != text.substr(1))
          ++wrong;
        try {
          (void)shared[static_cast<unsigned int>(text.size() +
                                                 1)]; // past the end
        } catch (DInvalidRequest const&) {
          ++caught;
        }
      }
    });
  for (std::thread& w : workers)
    w.join();
  DException::setTraceFunction(*previous);
  EXPECT_EQ(0, wrong.load());
  EXPECT_EQ(threads * rounds, caught.load());
  EXPECT_EQ(threads * rounds, trace.logged.load());
  EXPECT_EQ(text, dtest::bytes(shared));
  EXPECT_EQ(1u, shared.buffer()->useCount());
  EXPECT_EQ(handler, std::get_new_handler());
}
