// Internal: the one throw sequence of the library. Builds the exception
// with its text, error id and severity, adds the location, logs it through
// the current trace function and throws a copy.
#ifndef D_BASE_DTHROW_P_HPP
#define D_BASE_DTHROW_P_HPP

#include "dbase.hpp"
#include "dexcept.hpp"

#include <cstdio>

namespace dinternal {

/// The end of every throw: adds \p location to the built \p exception,
/// logs it and throws a copy.
template <class Exception>
[[noreturn]] void raise(Exception& exception,
                        DExceptionLocation const& location) {
  exception.addLocation(location);
  exception.logExceptionData();
  throw exception;
}

/// Throws \p Exception with literal \p text (no catalogue lookup).
template <class Exception>
[[noreturn]] void throwText(char const* text, unsigned long errorId,
                            DException::Severity severity, char const* file,
                            unsigned long line) {
  Exception exception(text, errorId, severity);
  raise(exception, DExceptionLocation(file, nullptr, line));
}

/// Throws \p Exception whose text is catalogue message \p id (also its
/// error id).
template <class Exception>
[[noreturn]] void throwMessage(unsigned long id, DException::Severity severity,
                               char const* file, unsigned long line) {
  DMessageText const text = DBase::messageText(id);
  throwText<Exception>(text.text(), id, severity, file, line);
}

/// Throws DInvalidRequest for a C-library call that set errno: the text is
/// "<function> errno = <error>" and a newline, the error id \p error.
[[noreturn]] inline void throwErrno(char const* function, int error,
                                    char const* file, unsigned long line) {
  char text[64];
  std::snprintf(text, sizeof text, "%s errno = %d\n", function, error);
  throwText<DInvalidRequest>(text, static_cast<unsigned long>(error),
                             DException::recoverable, file, line);
}

} // namespace dinternal

#endif // D_BASE_DTHROW_P_HPP
