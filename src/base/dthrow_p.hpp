// Internal: the one throw sequence of the library. Builds the exception
// with its text, error id and severity, adds the location, logs it through
// the current trace function and throws a copy.
#ifndef D_BASE_DTHROW_P_HPP
#define D_BASE_DTHROW_P_HPP

#include "dbase.hpp"
#include "dexcept.hpp"

namespace dinternal {

/// Throws \p Exception with literal \p text (no catalogue lookup).
template <class Exception>
[[noreturn]] void throwText(char const* text, unsigned long errorId,
                            DException::Severity severity, char const* file,
                            unsigned long line) {
  Exception exception(text, errorId, severity);
  exception.addLocation(DExceptionLocation(file, nullptr, line));
  exception.logExceptionData();
  throw exception;
}

/// Throws \p Exception whose text is catalogue message \p id (also its
/// error id).
template <class Exception>
[[noreturn]] void throwMessage(unsigned long id, DException::Severity severity,
                               char const* file, unsigned long line) {
  DMessageText const text = DBase::messageText(id);
  throwText<Exception>(text.text(), id, severity, file, line);
}

} // namespace dinternal

#endif // D_BASE_DTHROW_P_HPP
