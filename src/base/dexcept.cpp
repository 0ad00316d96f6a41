// The exception tree: locations, text lines, DException and its nine
// subclasses, the error-code group texts and DException::assertParameter.
#include "dexcept.hpp"

#include "base/dnewhandler_p.hpp"
#include "base/dthrow_p.hpp"

#include "dexctrace.hpp"

#include <cstring>
#include <exception>

// The text a new exception starts with as its group. The constructor uses
// this literal, never the (changeable) class variable baseLibrary.
static char const baseLibraryText[] = "Zorvane Class Library";
static char const otherText[] = "Other Error Group";

// An exception holds the first four locations ever added and the latest.
static constexpr unsigned long maxLocations = 5;

//===--- DExceptionLocation -----------------------------------------------===//

DExceptionLocation::DExceptionLocation(char const* fileName,
                                       char const* functionName,
                                       unsigned long lineNumber)
    : fileText(fileName), functionText(functionName), lineValue(lineNumber) {}

char const* DExceptionLocation::fileName() const {
  return fileText;
}

char const* DExceptionLocation::functionName() const {
  return functionText != nullptr ? functionText : "Unknown";
}

unsigned long DExceptionLocation::lineNumber() const {
  return lineValue;
}

//===--- DExcText ---------------------------------------------------------===//

// The successor is adopted only once the text copy succeeded, so a failed
// allocation leaves the caller still owning \p next. A null text is kept
// as an empty one.
DExcText::DExcText(char const* text, DExcText const* next)
    : textCopy(dinternal::copyText(text != nullptr ? text : "")),
      nextNode(const_cast<DExcText*>(next)) {}

DExcText::DExcText(DExcText const& other)
    : textCopy(dinternal::copyText(other.textCopy)), nextNode(nullptr) {
  if (other.nextNode == nullptr)
    return;
  try {
    dinternal::NewHandlerSuspension const suspended;
    nextNode = new DExcText(*other.nextNode);
  } catch (...) {
    delete[] textCopy;
    throw;
  }
}

DExcText::~DExcText() {
  delete[] textCopy;
  delete nextNode;
}

void DExcText::appendText(char const* text) {
  if (text == nullptr)
    return;
  std::size_t const oldLength = std::strlen(textCopy);
  std::size_t const addLength = std::strlen(text);
  char* const joined = dinternal::newArray<char>(oldLength + addLength + 1);
  std::memcpy(joined, textCopy, oldLength);
  std::memcpy(joined + oldLength, text, addLength + 1);
  delete[] textCopy;
  textCopy = joined;
}

//===--- DException -------------------------------------------------------===//

char const* DException::baseLibrary = baseLibraryText;
char const* DException::CLibrary = "Standard C Library";
char const* DException::operatingSystem = "Operating System";
char const* DException::presentationSystem = "Presentation System";
char const* DException::other = otherText;

DException::DException(char const* text, unsigned long errorId,
                       Severity severity)
    : severityValue(severity), errorIdValue(errorId), locationTotal(0),
      textTotal(0), textList(nullptr), groupText(baseLibraryText) {
  setText(text);
}

DException::DException(DException const& source)
    : severityValue(source.severityValue), errorIdValue(source.errorIdValue),
      locationTotal(source.locationTotal), textTotal(source.textTotal),
      textList(nullptr), groupText(source.groupText) {
  if (source.textList != nullptr) {
    dinternal::NewHandlerSuspension const suspended;
    textList = new DExcText(*source.textList);
  }
  for (unsigned long i = 0; i < locationTotal; ++i)
    locations[i] = source.locations[i];
}

DException::~DException() {
  delete textList;
}

bool DException::isRecoverable() const {
  return severityValue != 0;
}

DException& DException::addLocation(DExceptionLocation const& location) {
  if (locationTotal == maxLocations)
    locationTotal = maxLocations - 1;
  locations[locationTotal++] = location;
  return *this;
}

char const* DException::name() const {
  return "DException";
}

DException& DException::logExceptionData() {
  DExceptStaticPtr::traceFunction()->logData(*this);
  return *this;
}

void DException::terminate() {
  std::terminate();
}

DException& DException::setSeverity(Severity severity) {
  severityValue = severity;
  return *this;
}

DException& DException::setErrorId(unsigned long errorId) {
  errorIdValue = errorId;
  return *this;
}

DException& DException::setErrorCodeGroup(char const* group) {
  groupText = group;
  return *this;
}

DException& DException::setText(char const* text) {
  if (text == nullptr)
    return *this;
  dinternal::NewHandlerSuspension const suspended;
  textList = new DExcText(text, textList);
  ++textTotal;
  return *this;
}

DException& DException::appendText(char const* text) {
  if (text == nullptr)
    return *this;
  if (textList == nullptr)
    return setText(text);
  textList->appendText(text);
  return *this;
}

unsigned long DException::errorId() const {
  return errorIdValue;
}

char const* DException::errorCodeGroup() const {
  return groupText;
}

char const* DException::text(unsigned long index) const {
  if (index >= textTotal)
    return nullptr;
  DExcText const* node = textList;
  for (; index > 0 && node != nullptr; --index)
    node = node->next();
  return node != nullptr ? node->text() : nullptr;
}

unsigned long DException::textCount() const {
  return textTotal;
}

DExceptionLocation const*
DException::locationAtIndex(unsigned long index) const {
  return index < locationTotal ? &locations[index] : nullptr;
}

unsigned long DException::locationCount() const {
  return locationTotal;
}

DException::TraceFn* DException::setTraceFunction(TraceFn& fn) {
  return DExceptStaticPtr::install(fn);
}

// The group is the literal text, not the class variable `other`, unlike
// DExcept__assertState and DExcept__assertParameter, which read `other`.
void DException::assertParameter(char const* text,
                                 DExceptionLocation location) {
  DAssertionFailure failure(text, 0, unrecoverable);
  failure.setErrorCodeGroup(otherText);
  dinternal::raise(failure, location);
}

//===--- Subclasses -------------------------------------------------------===//

#define D_DEFINE_EXCEPTION(Name, Base)                                         \
  Name::Name(char const* text, unsigned long errorId,                          \
             DException::Severity severity)                                    \
      : Base(text, errorId, severity) {}                                       \
  Name::Name(Name const& source) : Base(source) {}                             \
  Name::~Name() {}                                                             \
  char const* Name::name() const {                                             \
    return #Name;                                                              \
  }

D_DEFINE_EXCEPTION(DResourceExhausted, DException)
D_DEFINE_EXCEPTION(DOutOfMemory, DResourceExhausted)
D_DEFINE_EXCEPTION(DOutOfSystemResource, DResourceExhausted)
D_DEFINE_EXCEPTION(DOutOfWindowResource, DResourceExhausted)
D_DEFINE_EXCEPTION(DInvalidRequest, DException)
D_DEFINE_EXCEPTION(DInvalidParameter, DException)
D_DEFINE_EXCEPTION(DDeviceError, DException)
D_DEFINE_EXCEPTION(DAccessError, DException)
D_DEFINE_EXCEPTION(DAssertionFailure, DException)

#undef D_DEFINE_EXCEPTION
