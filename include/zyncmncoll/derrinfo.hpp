// Error information and throw helpers: turn C-library, operating-system
// and presentation-system failures, or catalogue messages, into logged
// exceptions of a class chosen by DBaseErrorInfo::ExceptionType.
#ifndef D_BASE_DERRINFO_HPP
/// \file
#define D_BASE_DERRINFO_HPP

#include "dbase.hpp"
#include "ddefs.hpp"
#include "dexcept.hpp"

/// Abstract error information; slot order after DVBase's: operator char
/// const*, text, errorId, isAvailable.
class D_EXPORT DBaseErrorInfo : public DVBase {
public:
  /// The exception class to throw (a 32-bit enumeration); other values make
  /// the helpers return without throwing.
  enum ExceptionType : int {
    accessError = 0,
    deviceError,
    invalidParameter,
    invalidRequest,
    outOfSystemResource,
    outOfWindowResource,
    outOfMemory,
    resourceExhausted
  };

  /// The error text (same pointer as text()).
  virtual operator char const*() const = 0;
  /// The error text.
  virtual char const* text() const = 0;
  /// The error number of the failing layer.
  virtual unsigned long errorId() const = 0;
  /// Whether the failing layer supplied a text.
  virtual bool isAvailable() const = 0;

  /// Builds the class chosen by \p type with text() and errorId(), sets the
  /// group, adds \p location, logs and throws a copy.
  void throwError(DExceptionLocation const& location, ExceptionType type,
                  DException::Severity severity, char const* group) const;
};

/// A C-library error: errno and strerror(errno) captured at construction.
class D_EXPORT DCLibErrorInfo : public DBaseErrorInfo {
public:
  /// Text is "prefix:" + strerror text (or "No Error text is available").
  explicit DCLibErrorInfo(char const* prefix = nullptr);
  ~DCLibErrorInfo() override;
  operator char const*() const override;
  char const* text() const override;
  unsigned long errorId() const override;
  bool isAvailable() const override;
  /// Throws from the current errno with the group DException::CLibrary.
  static void throwCLibError(char const* prefix,
                             DExceptionLocation const& location,
                             ExceptionType type, DException::Severity severity);

private:
  int available;
  unsigned long errorNumber;
  char* errorText;
};

/// An operating-system error: the id given and catalogue message 186.
class D_EXPORT DSystemErrorInfo : public DBaseErrorInfo {
public:
  /// Text is "prefix:" + message 186 (just message 186 without prefix).
  DSystemErrorInfo(unsigned long errorId, char const* prefix = nullptr);
  ~DSystemErrorInfo() override;
  operator char const*() const override;
  char const* text() const override;
  unsigned long errorId() const override;
  bool isAvailable() const override;
  /// Throws with the group DException::operatingSystem.
  static void throwSystemError(unsigned long errorId, char const* prefix,
                               DExceptionLocation const& location,
                               ExceptionType type,
                               DException::Severity severity);

private:
  int available;
  unsigned long errorNumber;
  char* errorText;
};

/// A presentation-system error: catalogue message 185, id 0, never available.
class D_EXPORT DGUIErrorInfo : public DBaseErrorInfo {
public:
  /// Text is "prefix:" + message 185 (just message 185 without prefix).
  explicit DGUIErrorInfo(char const* prefix = nullptr);
  ~DGUIErrorInfo() override;
  operator char const*() const override;
  char const* text() const override;
  unsigned long errorId() const override;
  bool isAvailable() const override;
  /// Throws with the group DException::presentationSystem (error id 0).
  static void throwGUIError(char const* prefix,
                            DExceptionLocation const& location,
                            ExceptionType type, DException::Severity severity);

private:
  char* errorText;
};

/// Throws message \p id (with \p text as "%1") as the class chosen by
/// \p type; the group stays "Zorvane Class Library".
D_EXPORT void DExcept__throwLibraryError(unsigned long id,
                                         DExceptionLocation const& location,
                                         DBaseErrorInfo::ExceptionType type,
                                         DException::Severity severity,
                                         char const* text);
/// Throws message \p id of catalogue \p catalogueName with group \p group;
/// the third argument is accepted and never read.
D_EXPORT void DExcept__throwError(unsigned long id,
                                  DExceptionLocation const& location,
                                  char const* ignored, char const* group,
                                  DBaseErrorInfo::ExceptionType type,
                                  DException::Severity severity,
                                  char const* catalogueName);
/// Throws a recoverable DInvalidRequest with message 1 ("%1" = \p text).
D_EXPORT void DExcept__assertState(char const* text,
                                   DExceptionLocation const& location);
/// Throws a recoverable DInvalidParameter with message 1 ("%1" = \p text).
D_EXPORT void DExcept__assertParameter(char const* text,
                                       DExceptionLocation const& location);

#endif // D_BASE_DERRINFO_HPP
