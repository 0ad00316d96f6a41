// Error information (C library, operating system, presentation system) and
// the throw helpers that turn it, or a catalogue message, into a logged
// exception of the class chosen by DBaseErrorInfo::ExceptionType.
#include "derrinfo.hpp"

#include "base/dnewhandler_p.hpp"
#include "base/dthrow_p.hpp"

#include <cerrno>
#include <cstring>

static char const noErrorText[] = "No Error text is available";

static constexpr unsigned long assertionMessage = 1;
static constexpr unsigned long presentationMessage = 185;
static constexpr unsigned long systemMessage = 186;

//===--- Throwing by exception type ---------------------------------------===//

namespace {
// What a helper throws, apart from the class: the group is set only when
// the helper sets one (otherwise the constructor's stays).
struct ThrowRequest {
  char const* text;
  unsigned long errorId;
  DException::Severity severity;
  bool setsGroup;
  char const* group;
  DExceptionLocation const& location;
};
} // namespace

// Builds the exception (constructed, then its group set) and hands it to
// the library's one throw sequence.
template <class Exception>
[[noreturn]] static void throwAs(ThrowRequest const& request) {
  Exception exception(request.text, request.errorId, request.severity);
  if (request.setsGroup)
    exception.setErrorCodeGroup(request.group);
  dinternal::raise(exception, request.location);
}

// Throws the class chosen by \p type; any other value returns normally.
static void throwByType(DBaseErrorInfo::ExceptionType type,
                        ThrowRequest const& request) {
  switch (type) {
  case DBaseErrorInfo::accessError:
    throwAs<DAccessError>(request);
  case DBaseErrorInfo::deviceError:
    throwAs<DDeviceError>(request);
  case DBaseErrorInfo::invalidParameter:
    throwAs<DInvalidParameter>(request);
  case DBaseErrorInfo::invalidRequest:
    throwAs<DInvalidRequest>(request);
  case DBaseErrorInfo::outOfSystemResource:
    throwAs<DOutOfSystemResource>(request);
  case DBaseErrorInfo::outOfWindowResource:
    throwAs<DOutOfWindowResource>(request);
  case DBaseErrorInfo::outOfMemory:
    throwAs<DOutOfMemory>(request);
  case DBaseErrorInfo::resourceExhausted:
    throwAs<DResourceExhausted>(request);
  default:
    return;
  }
}

void DBaseErrorInfo::throwError(DExceptionLocation const& location,
                                ExceptionType type,
                                DException::Severity severity,
                                char const* group) const {
  throwByType(type,
              ThrowRequest{text(), errorId(), severity, true, group, location});
}

//===--- Error information ------------------------------------------------===//

// "prefix:body" (no blank after the colon), or just "body" without a prefix.
static char* prefixed(char const* prefix, char const* body) {
  if (prefix == nullptr)
    return dinternal::copyText(body);
  std::size_t const prefixLength = std::strlen(prefix);
  std::size_t const bodyLength = std::strlen(body);
  char* const text =
      dinternal::newArray<char>(prefixLength + 1 + bodyLength + 1);
  std::memcpy(text, prefix, prefixLength);
  text[prefixLength] = ':';
  std::memcpy(text + prefixLength + 1, body, bodyLength + 1);
  return text;
}

// errno is read first, before anything here can change it.
DCLibErrorInfo::DCLibErrorInfo(char const* prefix)
    : available(0), errorNumber(static_cast<unsigned long>(errno)),
      errorText(nullptr) {
  char const* const cText = std::strerror(static_cast<int>(errorNumber));
  available = cText != nullptr && *cText != '\0';
  errorText = prefixed(prefix, available ? cText : noErrorText);
}

DCLibErrorInfo::~DCLibErrorInfo() {
  delete[] errorText;
}

DCLibErrorInfo::operator char const*() const {
  return text();
}

char const* DCLibErrorInfo::text() const {
  return errorText;
}

unsigned long DCLibErrorInfo::errorId() const {
  return errorNumber;
}

bool DCLibErrorInfo::isAvailable() const {
  return available != 0;
}

void DCLibErrorInfo::throwCLibError(char const* prefix,
                                    DExceptionLocation const& location,
                                    ExceptionType type,
                                    DException::Severity severity) {
  DCLibErrorInfo const info(prefix);
  info.throwError(location, type, severity, DException::CLibrary);
}

// The error id is not put into the text: message 186 has no placeholder.
DSystemErrorInfo::DSystemErrorInfo(unsigned long errorId, char const* prefix)
    : available(1), errorNumber(errorId), errorText(nullptr) {
  DMessageText const message = DBase::messageText(systemMessage);
  errorText = prefixed(prefix, message.text());
}

DSystemErrorInfo::~DSystemErrorInfo() {
  delete[] errorText;
}

DSystemErrorInfo::operator char const*() const {
  return text();
}

char const* DSystemErrorInfo::text() const {
  return errorText;
}

unsigned long DSystemErrorInfo::errorId() const {
  return errorNumber;
}

bool DSystemErrorInfo::isAvailable() const {
  return available != 0;
}

void DSystemErrorInfo::throwSystemError(unsigned long errorId,
                                        char const* prefix,
                                        DExceptionLocation const& location,
                                        ExceptionType type,
                                        DException::Severity severity) {
  DSystemErrorInfo const info(errorId, prefix);
  info.throwError(location, type, severity, DException::operatingSystem);
}

DGUIErrorInfo::DGUIErrorInfo(char const* prefix) : errorText(nullptr) {
  DMessageText const message = DBase::messageText(presentationMessage);
  errorText = prefixed(prefix, message.text());
}

DGUIErrorInfo::~DGUIErrorInfo() {
  delete[] errorText;
}

DGUIErrorInfo::operator char const*() const {
  return errorText;
}

char const* DGUIErrorInfo::text() const {
  return errorText;
}

unsigned long DGUIErrorInfo::errorId() const {
  return 0;
}

bool DGUIErrorInfo::isAvailable() const {
  return false;
}

void DGUIErrorInfo::throwGUIError(char const* prefix,
                                  DExceptionLocation const& location,
                                  ExceptionType type,
                                  DException::Severity severity) {
  DGUIErrorInfo const info(prefix);
  info.throwError(location, type, severity, DException::presentationSystem);
}

//===--- Free throw helpers -----------------------------------------------===//

// The text is loaded before the type is looked at, so a type outside 0 to
// 7 costs one catalogue lookup and then returns.
void DExcept__throwLibraryError(unsigned long id,
                                DExceptionLocation const& location,
                                DBaseErrorInfo::ExceptionType type,
                                DException::Severity severity,
                                char const* text) {
  DMessageText const message = DBase::messageText(id, text);
  throwByType(type, ThrowRequest{message.text(), id, severity, false, nullptr,
                                 location});
}

// The third argument is part of the fixed signature and never read.
void DExcept__throwError(unsigned long id, DExceptionLocation const& location,
                         char const*, char const* group,
                         DBaseErrorInfo::ExceptionType type,
                         DException::Severity severity,
                         char const* catalogueName) {
  DMessageText const message(id, catalogueName);
  throwByType(
      type, ThrowRequest{message.text(), id, severity, true, group, location});
}

void DExcept__assertState(char const* text,
                          DExceptionLocation const& location) {
  DMessageText const message = DBase::messageText(assertionMessage, text);
  throwAs<DInvalidRequest>(ThrowRequest{message.text(), assertionMessage,
                                        DException::recoverable, true,
                                        DException::other, location});
}

void DExcept__assertParameter(char const* text,
                              DExceptionLocation const& location) {
  DMessageText const message = DBase::messageText(assertionMessage, text);
  throwAs<DInvalidParameter>(ThrowRequest{message.text(), assertionMessage,
                                          DException::recoverable, true,
                                          DException::other, location});
}
