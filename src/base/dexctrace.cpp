// Exception tracing: the report that DException::TraceFn::logData writes,
// the library's default writer and the process-wide trace-function choice.
#include "dexctrace.hpp"

#include "base/dnewhandler_p.hpp"

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

// Both statics have constexpr constructors and trivial destructors, so they
// are constant-initialised: they hold their values before any dynamic
// initialiser of any file runs, DKOVR_Init's in dbase.cpp included, and
// are never torn down.
static DExceptTraceFn defaultTraceFn;
static DExceptStaticPtr currentTrace;

//===--- Report texts -----------------------------------------------------===//
// The report lines handed to write(), and the texts printed straight to
// standard error when the line buffer cannot be had. The two sets differ
// ("Id"/"ID", the period after the line number, the blanks before "Error
// Code group") and both are part of the report format.

#define D_LOCATION_FORMAT                                                      \
  "%s exception thrown.\n   function: %s\n   file: %s\n   line: %d"
#define D_NO_LOCATION_FORMAT                                                   \
  "\n%s exception thrown.\n   Location information is unavailable."
#define D_ERROR_ID_FORMAT "   Error Id is %lu"
#define D_NO_ERROR_ID "   Error Id is unavailable."
#define D_GROUP_FORMAT "   Error Code group is %s"
#define D_NO_GROUP "    Error Code group is unavailable."
#define D_TEXT_HEADING "   Exception text is:"
#define D_TEXT_FORMAT "      %s"
#define D_NO_TEXT "   Exception text is unavailable."

#define D_FALLBACK_LOCATION_FORMAT                                             \
  "%s exception thrown.\n   function: %s\n   file: %s\n   line: %lu.\n"
#define D_FALLBACK_NO_LOCATION_FORMAT                                          \
  "\n%s exception thrown.\n   Location information is unavailable.\n"
#define D_FALLBACK_ERROR_ID_FORMAT "   Error ID is %lu\n"
#define D_FALLBACK_NO_ERROR_ID "   Error ID is unavailable.\n"
#define D_FALLBACK_GROUP_FORMAT " Error Code group is %s\n"
#define D_FALLBACK_NO_GROUP "   Error Code group is unavailable.\n"
#define D_FALLBACK_TEXT_HEADING "   Exception text is:\n"
#define D_FALLBACK_TEXT_FORMAT "      %s\n"
#define D_FALLBACK_NO_TEXT "   Exception text is unavailable.\n"

// The location reported: the latest one held (the fifth slot once five
// are held), or null when there is none.
static DExceptionLocation const* reportedLocation(DException const& e) {
  unsigned long const count = e.locationCount();
  return count == 0 ? nullptr : e.locationAtIndex(count - 1);
}

// The reported file name. Every thrower of the library gives one; a
// program's location without one reports an empty name rather than
// failing.
static char const* fileNameOf(DExceptionLocation const& where) {
  return where.fileName() != nullptr ? where.fileName() : "";
}

// Characters needed for the longest report line, NUL excluded. Every
// variable part is counted (the group text and a program's own long class
// names included), so no line is ever cut.
static std::size_t reportBufferSize(DException& e) {
  std::size_t size = 200;
  auto atLeast = [&size](std::size_t n) {
    if (n > size)
      size = n;
  };
  std::size_t const nameLength = std::strlen(e.name());
  if (DExceptionLocation const* where = reportedLocation(e)) {
    atLeast(sizeof(D_LOCATION_FORMAT) - 1 + nameLength +
            std::strlen(where->functionName()) +
            std::strlen(fileNameOf(*where)) + 9);
  } else {
    atLeast(sizeof(D_NO_LOCATION_FORMAT) - 1 + nameLength);
  }
  if (e.errorCodeGroup() != nullptr)
    atLeast(sizeof(D_GROUP_FORMAT) - 1 + std::strlen(e.errorCodeGroup()));
  for (unsigned long i = 0; i < e.textCount(); ++i)
    atLeast(std::strlen(e.text(i)) + 6);
  return size;
}

// Each line goes to the trace function current at that moment.
static void emit(char const* line) {
  DExceptStaticPtr::traceFunction()->write(line);
}

// The report without a line buffer: straight to standard error, bypassing
// write() and exceptionLogged().
static void reportToStderr(DException& e) {
  if (DExceptionLocation const* where = reportedLocation(e))
    std::fprintf(stderr, D_FALLBACK_LOCATION_FORMAT, e.name(),
                 where->functionName(), fileNameOf(*where),
                 where->lineNumber());
  else
    std::fprintf(stderr, D_FALLBACK_NO_LOCATION_FORMAT, e.name());
  if (e.errorId() != 0)
    std::fprintf(stderr, D_FALLBACK_ERROR_ID_FORMAT, e.errorId());
  else
    std::fputs(D_FALLBACK_NO_ERROR_ID, stderr);
  if (e.errorCodeGroup() != nullptr)
    std::fprintf(stderr, D_FALLBACK_GROUP_FORMAT, e.errorCodeGroup());
  else
    std::fputs(D_FALLBACK_NO_GROUP, stderr);
  if (e.textCount() == 0) {
    std::fputs(D_FALLBACK_NO_TEXT, stderr);
    return;
  }
  std::fputs(D_FALLBACK_TEXT_HEADING, stderr);
  for (unsigned long i = e.textCount(); i-- > 0;)
    std::fprintf(stderr, D_FALLBACK_TEXT_FORMAT, e.text(i));
}

//===--- DException::TraceFn ----------------------------------------------===//

void DException::TraceFn::write(char const* line) {
  std::fprintf(stderr, "%s\n", line);
}

// The handler stays removed for the whole report, so a failed allocation
// here never re-enters the library's out-of-memory handler. The nothrow
// allocation makes a missing buffer show as null, which selects the
// fallback report.
void DException::TraceFn::logData(DException& exception) {
  dinternal::NewHandlerSuspension const suspended;
  std::size_t const size = reportBufferSize(exception) + 1;
  std::unique_ptr<char[]> const buffer(new (std::nothrow) char[size]);
  if (!buffer) {
    reportToStderr(exception);
    return;
  }
  char* const line = buffer.get();

  if (DExceptionLocation const* where = reportedLocation(exception))
    // The line number is reported as a 32-bit signed value.
    std::snprintf(line, size, D_LOCATION_FORMAT, exception.name(),
                  where->functionName(), fileNameOf(*where),
                  static_cast<int>(where->lineNumber()));
  else
    std::snprintf(line, size, D_NO_LOCATION_FORMAT, exception.name());
  emit(line);

  if (exception.errorId() != 0) {
    std::snprintf(line, size, D_ERROR_ID_FORMAT, exception.errorId());
    emit(line);
  } else {
    emit(D_NO_ERROR_ID);
  }

  if (exception.errorCodeGroup() != nullptr) {
    std::snprintf(line, size, D_GROUP_FORMAT, exception.errorCodeGroup());
    emit(line);
  } else {
    emit(D_NO_GROUP);
  }

  if (exception.textCount() == 0) {
    emit(D_NO_TEXT);
  } else {
    emit(D_TEXT_HEADING);
    // Oldest line first: line textCount() - 1 down to line 0.
    for (unsigned long i = exception.textCount(); i-- > 0;) {
      std::snprintf(line, size, D_TEXT_FORMAT, exception.text(i));
      emit(line);
    }
  }
  exceptionLogged();
}

void DException::TraceFn::exceptionLogged() {}

//===--- DExceptStaticPtr -------------------------------------------------===//

DException::TraceFn* DExceptStaticPtr::traceFunction() {
  if (currentTrace.installedFn != nullptr)
    return currentTrace.installedFn;
  if (currentTrace.defaultFn == nullptr)
    currentTrace.defaultFn = &defaultTraceFn;
  return currentTrace.defaultFn;
}

DException::TraceFn* DExceptStaticPtr::install(DException::TraceFn& fn) {
  DException::TraceFn* const previous = traceFunction();
  currentTrace.installedFn = &fn;
  return previous;
}
