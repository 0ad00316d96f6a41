// Shared test fixtures: a recording trace function, the fgI18NState and
// locale helpers, and a macro that checks a thrown library exception.
#ifndef D_TESTS_DTEST_SUPPORT_HPP
#define D_TESTS_DTEST_SUPPORT_HPP

#include "dexcept.hpp"
#include "dmodels.hpp"
#include "dstring.hpp"

#include <cstring>
#include <gtest/gtest.h>
#include <langinfo.h>
#include <string>
#include <vector>

namespace dtest {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
/// Records every report line and exceptionLogged() call; installed for its
/// lifetime, then the previous trace function is put back.
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
#pragma GCC diagnostic pop

/// True when the process's character set is \p codeset ("UTF-8", "EUC-JP",
/// "GB18030": the names the test locales' charmaps give).
inline bool localeIs(char const* codeset) {
  return std::strcmp(nl_langinfo(CODESET), codeset) == 0;
}

/// Sets DString::fgI18NState for one scope.
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
