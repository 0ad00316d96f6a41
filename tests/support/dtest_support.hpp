// Shared test fixtures: a trace function that records report lines, a
// macro that checks a thrown library exception whole, buffer checks after
// edits, and locale helpers for the multibyte suites.
#ifndef D_TESTS_DTEST_SUPPORT_HPP
#define D_TESTS_DTEST_SUPPORT_HPP

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>
#include <string>
#include <vector>

#include "dexcept.hpp"
#include "dstring.hpp"

namespace dtest {

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
/// Records every report line and every exceptionLogged() call; installs
/// itself for its lifetime and puts the previous trace function back.
class RecordingTrace : public DException::TraceFn {
public:
  RecordingTrace() : previous(DException::setTraceFunction(*this)) {}
  ~RecordingTrace() { DException::setTraceFunction(*previous); }
  void write(char const* line) override { lines.emplace_back(line); }
  void exceptionLogged() override { ++logged; }
  std::vector<std::string> lines;
  int logged = 0;

private:
  DException::TraceFn* previous;
};
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

/// All bytes of a string, NULs included.
inline std::string bytes(DString const& s) {
  return std::string(static_cast<char const*>(s), s.length());
}

/// True when the process runs in a locale whose codeset name contains
/// \p codeset (e.g. "UTF-8", "EUC-JP", "GB18030"). The codeset comes from
/// nl_langinfo: locale names spell it differently (ja_JP.eucJP).
inline bool localeIs(char const* codeset) {
  char const* name = nl_langinfo(CODESET);
  return name != nullptr && std::strstr(name, codeset) != nullptr;
}

/// Sets DString::fgI18NState for one scope and restores it afterwards.
class I18NState {
public:
  explicit I18NState(int value) : saved(DString::fgI18NState) {
    DString::fgI18NState = value;
  }
  ~I18NState() { DString::fgI18NState = saved; }

private:
  int saved;
};

} // namespace dtest

/// Runs \p statement, expects it to throw \p Type, and checks error id,
/// recoverability, the reported (last) location's file and line.
#define EXPECT_DEXCEPTION(statement, Type, id, isRecov, file, line)            \
  do {                                                                         \
    bool thrown_ = false;                                                      \
    try {                                                                      \
      statement;                                                               \
    } catch (Type const& e_) {                                                 \
      thrown_ = true;                                                          \
      EXPECT_STREQ(#Type, e_.name());                                          \
      EXPECT_EQ(static_cast<unsigned long>(id), e_.errorId());                 \
      EXPECT_EQ(isRecov, e_.isRecoverable());                                  \
      ASSERT_GE(e_.locationCount(), 1ul);                                      \
      auto const* loc_ = e_.locationAtIndex(e_.locationCount() - 1);           \
      EXPECT_STREQ(file, loc_->fileName());                                    \
      EXPECT_EQ(static_cast<unsigned long>(line), loc_->lineNumber());         \
    }                                                                          \
    EXPECT_TRUE(thrown_) << "expected " #Type " from " #statement;             \
  } while (0)

#endif // D_TESTS_DTEST_SUPPORT_HPP
