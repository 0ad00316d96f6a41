// Child processes for tests: a forked child, or this program run afresh
// with a changed environment to run a DTEST_CHILD entry instead of tests.
#ifndef D_TESTS_DTEST_CHILD_HPP
#define D_TESTS_DTEST_CHILD_HPP

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace dtest {

/// How a child ended (-1 / 0 when it did not exit / no signal ended it)
/// and all it wrote on standard output and error.
struct ChildResult {
  int exitCode = -1, signal = 0;
  std::string output;
};

/// Runs \p body in a forked child, which exits with what \p body returns.
inline ChildResult runInChild(std::function<int()> const& body) {
  std::fflush(nullptr);
  std::FILE* const out = std::tmpfile();
  pid_t const pid = ::fork();
  if (pid == 0) {
    ::dup2(::fileno(out), 1);
    ::dup2(::fileno(out), 2);
    int const code = body();
    std::fflush(nullptr);
    ::_exit(code);
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  ChildResult result{WIFEXITED(status) ? WEXITSTATUS(status) : -1,
                     WIFSIGNALED(status) ? WTERMSIG(status) : 0, ""};
  std::rewind(out);
  for (int c; (c = std::fgetc(out)) != EOF;)
    result.output += static_cast<char>(c);
  std::fclose(out);
  return result;
}

/// From now on every operator new of \p bytes or more fails (0: none does).
void failAllocationsFrom(std::size_t bytes);
/// Whether failAllocationsFrom() works: not under valgrind's operators.
bool allocationsCanFail();

/// The child entry points by name (DTEST_CHILD registers them).
inline std::map<std::string, void (*)()>& children() {
  static std::map<std::string, void (*)()> table;
  return table;
}

/// Runs the DTEST_CHILD \p name in a fresh process of this program, with
/// \p setVars set and \p unsetVars removed from its environment.
inline ChildResult
runChild(std::string const& name,
         std::vector<std::pair<std::string, std::string>> const& setVars,
         std::vector<std::string> const& unsetVars = {}) {
  return runInChild([&] {
    for (auto const& var : unsetVars)
      ::unsetenv(var.c_str());
    for (auto const& var : setVars)
      ::setenv(var.first.c_str(), var.second.c_str(), 1);
    ::setenv("ZYN_TEST_CHILD", name.c_str(), 1);
    // Not /proc/self/exe, which names the tool under valgrind.
    char arg[] = "--gtest_brief=1";
    char* argv[] = {program_invocation_name, arg, nullptr};
    ::execv(argv[0], argv);
    return 127;
  });
}

/// The lines of \p text that start with \p prefix, prefix removed.
inline std::vector<std::string> linesWith(std::string const& text,
                                          std::string const& prefix) {
  std::vector<std::string> found;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    if (line.compare(0, prefix.size(), prefix) == 0)
      found.push_back(line.substr(prefix.size()));
  return found;
}

} // namespace dtest

/// A child entry point: run by dtest::runChild("Name", ...), never as a test.
#define DTEST_CHILD(Name)                                                      \
  static void dtestChild##Name();                                              \
  [[maybe_unused]] static bool const dtestChildAdded##Name =                   \
      dtest::children().emplace(#Name, &dtestChild##Name).second;              \
  static void dtestChild##Name()

#endif // D_TESTS_DTEST_CHILD_HPP
