// Exception tracing: the library's default trace writer and the
// process-wide choice of trace function. Both statics are constant
// initialised, so they are ready before any load-time code throws.
#ifndef D_BASE_DEXCTRACE_HPP
/// \file
#define D_BASE_DEXCTRACE_HPP

#include "ddefs.hpp"
#include "dexcept.hpp"

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
/// The default writer: every line to standard error with "%s\n".
class D_EXPORT DExceptTraceFn : public DException::TraceFn {
public:
  constexpr DExceptTraceFn() noexcept {}
};
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

/// The process-wide trace-function choice: the default (filled in on first
/// need) and the installed one. One static instance exists.
class D_EXPORT DExceptStaticPtr {
public:
  constexpr DExceptStaticPtr() noexcept
      : defaultFn(nullptr), installedFn(nullptr) {}
  /// The installed trace function, else the default (set to the library's
  /// DExceptTraceFn on first call).
  static DException::TraceFn* traceFunction();
  /// Makes \p fn the installed trace function; returns the previous current.
  static DException::TraceFn* install(DException::TraceFn& fn);

private:
  DException::TraceFn* defaultFn;
  DException::TraceFn* installedFn;
};

#endif // D_BASE_DEXCTRACE_HPP
