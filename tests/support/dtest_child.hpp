// Child-process fixtures: run a piece of a test in a forked child (for
// out-of-memory runs with large allocations failing, terminate() and
// reports on standard error), or run this test program afresh with a
// changed environment (for load-time and first-use state).
#ifndef D_TESTS_DTEST_CHILD_HPP
#define D_TESTS_DTEST_CHILD_HPP

#include "dexcept.hpp"
#include "dstring.hpp"

#include <cerrno>
#include <clocale>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <functional>
#include <new>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

extern char** environ;

namespace dtest {

/// How a child ended and everything it wrote on standard output and error.
struct ChildResult {
  int exitCode = -1; ///< -1 when it did not exit normally.
  int signal = 0;    ///< The signal that ended it, else 0.
  std::string output;
};

// Reads \p fd to its end.
inline std::string readAll(int fd) {
  std::string text;
  char chunk[65536];
  for (;;) {
    ssize_t const n = ::read(fd, chunk, sizeof chunk);
    if (n > 0)
      text.append(chunk, static_cast<std::size_t>(n));
    else if (n == 0 || errno != EINTR)
      break;
  }
  return text;
}

inline ChildResult waitFor(pid_t pid, int readEnd) {
  ChildResult result;
  result.output = readAll(readEnd);
  ::close(readEnd);
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status))
    result.exitCode = WEXITSTATUS(status);
  else if (WIFSIGNALED(status))
    result.signal = WTERMSIG(status);
  return result;
}

/// Forks with the child's standard output and error sent to a pipe, runs
/// \p child there (it must not return), and collects the result.
inline ChildResult forkPiped(std::function<void()> const& child) {
  std::fflush(nullptr);
  int fds[2];
  if (::pipe(fds) != 0)
    return ChildResult{};
  pid_t const pid = ::fork();
  if (pid == 0) {
    ::close(fds[0]);
    ::dup2(fds[1], 1);
    ::dup2(fds[1], 2);
    ::close(fds[1]);
    child();
    ::_exit(127);
  }
  ::close(fds[1]);
  return waitFor(pid, fds[0]);
}

/// Runs \p body in a forked child with standard output and error sent to
/// a pipe; the child exits with what \p body returns (99 if it throws).
inline ChildResult runInChild(std::function<int()> const& body) {
  return forkPiped([&body] {
    int code = 99;
    try {
      code = body();
    } catch (std::exception const& e) {
      std::printf("child: unexpected exception %s\n", e.what());
    } catch (...) {
      std::printf("child: unexpected exception\n");
    }
    std::fflush(nullptr);
    ::_exit(code);
  });
}

/// From now on every allocation through operator new of at least \p bytes
/// fails as on an exhausted heap (0: none fails). Defined with the test
/// program's allocation operators in dtest_alloc.cpp.
void failAllocationsFrom(std::size_t bytes);

/// Whether failAllocationsFrom() works: false when another allocator
/// (valgrind's) has replaced the test program's operators.
bool allocationsCanFail();

/// How work run with allocations failing ended.
enum class LimitedOutcome {
  returned = 0,
  overflow = 1,    ///< DInvalidRequest 1010
  outOfMemory = 2, ///< DOutOfMemory from the library's new-handler
  badAlloc = 3,    ///< std::bad_alloc
  other = 4
};

/// Runs \p work in a child where every allocation of \p failingBytes or
/// more fails, and tells how it ended.
inline LimitedOutcome runWithLimitedMemory(std::size_t failingBytes,
                                           std::function<void()> const& work) {
  ChildResult const r = runInChild([&] {
    failAllocationsFrom(failingBytes);
    try {
      work();
      return static_cast<int>(LimitedOutcome::returned);
    } catch (DInvalidRequest const& e) {
      return static_cast<int>(e.errorId() == 1010 ? LimitedOutcome::overflow
                                                  : LimitedOutcome::other);
    } catch (DOutOfMemory const&) {
      return static_cast<int>(LimitedOutcome::outOfMemory);
    } catch (std::bad_alloc const&) {
      return static_cast<int>(LimitedOutcome::badAlloc);
    }
  });
  return r.exitCode >= 0 && r.exitCode <= 3
             ? static_cast<LimitedOutcome>(r.exitCode)
             : LimitedOutcome::other;
}

/// Runs this test program again (a fresh process: no library state) with
/// only the tests matching \p filter, and with \p setVars set and
/// \p unsetVars removed in its environment.
inline ChildResult
runSelf(std::string const& filter,
        std::vector<std::pair<std::string, std::string>> const& setVars,
        std::vector<std::string> const& unsetVars = {}) {
  std::vector<std::string> env;
  for (char** e = environ; *e != nullptr; ++e) {
    std::string const entry(*e);
    std::string const name = entry.substr(0, entry.find('='));
    bool drop = false;
    for (auto const& u : unsetVars)
      drop = drop || name == u;
    for (auto const& s : setVars)
      drop = drop || name == s.first;
    if (!drop)
      env.push_back(entry);
  }
  for (auto const& s : setVars)
    env.push_back(s.first + "=" + s.second);
  std::vector<char*> envp;
  for (auto& entry : env)
    envp.push_back(&entry[0]);
  envp.push_back(nullptr);
  std::string filterArg = "--gtest_filter=" + filter;
  // The program's own path rather than /proc/self/exe, which names the
  // tool when the tests run under valgrind (the child then runs natively).
  char exe[4096] = "/proc/self/exe";
  ssize_t const got = ::readlink("/proc/self/exe", exe, sizeof exe - 1);
  exe[got > 0 ? got : 14] = '\0';
  char* argv[] = {exe, &filterArg[0], nullptr};
  return forkPiped([&] { ::execve(exe, argv, envp.data()); });
}

/// The lines of \p text that start with \p prefix, prefix removed.
inline std::vector<std::string> linesWith(std::string const& text,
                                          std::string const& prefix) {
  std::vector<std::string> found;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos)
      end = text.size();
    std::string const line = text.substr(start, end - start);
    if (line.compare(0, prefix.size(), prefix) == 0)
      found.push_back(line.substr(prefix.size()));
    start = end + 1;
  }
  return found;
}

/// The text \p format makes in a child whose time formats are those of
/// \p locale (the build tree's private locales come first) and where every
/// allocation of a mebibyte or more fails: "[text]", "overflow" for the
/// 1010 overflow, "skip" without the locale, else how the child ended.
inline std::string formatInChild(char const* locale,
                                 std::function<DString()> const& format) {
  ChildResult const r = runInChild([&] {
    ::setenv("LOCPATH", ZYN_TEST_LOCALE_DIR, 1);
    if (std::setlocale(LC_TIME, locale) == nullptr) {
      std::printf("child: skip\n");
      return 0;
    }
    failAllocationsFrom(std::size_t{1} << 20);
    try {
      DString const text = format();
      std::printf("child: [%s]\n", static_cast<char const*>(text));
    } catch (DInvalidRequest const& e) {
      std::printf("child: %s\n", e.errorId() == 1010 ? "overflow" : "other");
    }
    return 0;
  });
  std::vector<std::string> const lines = linesWith(r.output, "child: ");
  return r.exitCode == 0 && lines.size() == 1
             ? lines[0]
             : "exit " + std::to_string(r.exitCode) + ": " + r.output;
}

} // namespace dtest

#endif // D_TESTS_DTEST_CHILD_HPP
