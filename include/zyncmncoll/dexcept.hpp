// The exception tree: DException and its nine subclasses, the source
// locations they carry (DExceptionLocation) and their text lines (DExcText).
// Every exception of the library is logged through the current trace
// function before it is thrown; see dexctrace.hpp.
#ifndef D_BASE_DEXCEPT_HPP
/// \file
#define D_BASE_DEXCEPT_HPP

#include "ddefs.hpp"

/// Where an exception was raised or passed through. Holds the pointers as
/// given (no copies), so file and function names must be static texts.
class D_EXPORT DExceptionLocation {
public:
  /// All three default to none (no file, no function, line 0).
  DExceptionLocation(char const* fileName = nullptr,
                     char const* functionName = nullptr,
                     unsigned long lineNumber = 0);
  /// The file name as stored; may be null.
  char const* fileName() const;
  /// The function name, or "Unknown" when none was given.
  char const* functionName() const;
  /// The line number as stored.
  unsigned long lineNumber() const;

private:
  char const* fileText;
  char const* functionText;
  unsigned long lineValue;
};

/// One node of an exception's text list: an owned copy of the text and the
/// owning link to the next, older node. Deleting the head frees the list.
class D_EXPORT DExcText {
public:
  /// Copies \p text and adopts \p next as the successor (no copy made).
  DExcText(char const* text, DExcText const* next);
  /// Deep copy of this node and every node behind it.
  DExcText(DExcText const& other);
  DExcText& operator=(DExcText const&) = delete;
  /// Frees the text, then deletes the successor.
  ~DExcText();
  /// Replaces the text by the old text followed by \p text (no separator).
  void appendText(char const* text);
  /// The owned text of this node.
  char const* text() const { return textCopy; }
  /// The next, older node, or null.
  DExcText const* next() const { return nextNode; }

private:
  char* textCopy;
  DExcText* nextNode;
};

/// Root of the exception tree. Carries a severity, an error id, an
/// error-code group, a stack of text lines (line 0 is the newest) and up to
/// five locations (the first four ever added plus the most recent one).
class D_EXPORT DException {
public:
  /// Severity of an exception (a 32-bit enumeration).
  enum Severity : int { unrecoverable = 0, recoverable = 1 };

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
  /// A trace writer: turns an exception into report lines and hands each to
  /// write(). Slot order write, logData, exceptionLogged; no virtual
  /// destructor and no data, as in the binary interface.
  class D_EXPORT TraceFn {
  public:
    constexpr TraceFn() noexcept {}
    /// Writes one report line; the base prints "%s\n" to standard error.
    virtual void write(char const* line);
    /// Builds the report of \p exception and writes it line by line.
    virtual void logData(DException& exception);
    /// Called once a report has been written in full; the base does nothing.
    virtual void exceptionLogged();
  };
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

  /// Stores severity and id, sets the group to "Zorvane Class Library";
  /// a null \p text leaves the text list empty.
  DException(char const* text, unsigned long errorId = 0,
             Severity severity = unrecoverable);
  /// Deep copy: the copy owns its own text list.
  DException(DException const& other);
  DException& operator=(DException const&) = delete;
  /// Deletes the text list.
  virtual ~DException();

  /// True exactly when the severity is not 0.
  virtual bool isRecoverable() const;
  /// Appends \p location; with five held, the fifth is overwritten.
  virtual DException& addLocation(DExceptionLocation const& location);
  /// The class name, e.g. "DException".
  virtual char const* name() const;
  /// Writes the report through the current trace function.
  virtual DException& logExceptionData();
  /// Calls the standard terminate handler; never returns.
  virtual void terminate();

  /// Sets the severity; returns this exception.
  DException& setSeverity(Severity severity);
  /// Sets the error id; returns this exception.
  DException& setErrorId(unsigned long errorId);
  /// Stores the group pointer (no copy); returns this exception.
  DException& setErrorCodeGroup(char const* group);
  /// Pushes a copy of \p text as the new line 0; null is ignored.
  DException& setText(char const* text);
  /// Appends \p text to line 0 (or sets it when there is none); null is
  /// ignored.
  DException& appendText(char const* text);

  /// The error id; 0 means none.
  unsigned long errorId() const;
  /// The error-code group text (static, not owned).
  char const* errorCodeGroup() const;
  /// Line \p index, 0 being the newest; null when \p index >= textCount().
  char const* text(unsigned long index = 0) const;
  /// Number of text lines.
  unsigned long textCount() const;
  /// Location \p index, 0 being the first added; null when out of range.
  DExceptionLocation const* locationAtIndex(unsigned long index) const;
  /// Number of locations held (0 to 5).
  unsigned long locationCount() const;

  /// Makes \p fn the installed trace function; returns the one current
  /// before (the library's own writer the first time).
  static TraceFn* setTraceFunction(TraceFn& fn);
  /// Builds, logs and throws a DAssertionFailure: text as given, error id 0,
  /// unrecoverable, group "Other Error Group".
  static void assertParameter(char const* text, DExceptionLocation location);

  /// Error-code group texts; programs may point them elsewhere. The
  /// library's own group, "Zorvane Class Library" (the default).
  static char const* baseLibrary;
  /// "Standard C Library".
  static char const* CLibrary;
  /// "Operating System".
  static char const* operatingSystem;
  /// "Presentation System".
  static char const* presentationSystem;
  /// "Other Error Group" (assertParameter's group).
  static char const* other;

private:
  Severity severityValue;
  unsigned long errorIdValue;
  DExceptionLocation locations[5];
  unsigned long locationTotal;
  unsigned long textTotal;
  DExcText* textList;
  char const* groupText;
};

/// Declares an exception subclass that only forwards its constructor and names
/// itself.
#define D_DECLARE_EXCEPTION(Name, Base)                                        \
  class D_EXPORT Name : public Base {                                          \
  public:                                                                      \
    /** As DException's constructor; the class names itself in reports. */     \
    Name(char const* text, unsigned long errorId = 0,                          \
         DException::Severity severity = DException::unrecoverable);           \
    /** Deep copy, as DException's copy constructor. */                        \
    Name(Name const& other);                                                   \
    ~Name() override;                                                          \
    char const* name() const override;                                         \
  }

/// Some resource ran out.
D_DECLARE_EXCEPTION(DResourceExhausted, DException);
/// Memory ran out.
D_DECLARE_EXCEPTION(DOutOfMemory, DResourceExhausted);
/// An operating-system resource ran out.
D_DECLARE_EXCEPTION(DOutOfSystemResource, DResourceExhausted);
/// A window-system resource ran out.
D_DECLARE_EXCEPTION(DOutOfWindowResource, DResourceExhausted);
/// A request that cannot be carried out (bad length, index, sequence).
D_DECLARE_EXCEPTION(DInvalidRequest, DException);
/// A parameter was not acceptable.
D_DECLARE_EXCEPTION(DInvalidParameter, DException);
/// A device failed.
D_DECLARE_EXCEPTION(DDeviceError, DException);
/// Access was refused.
D_DECLARE_EXCEPTION(DAccessError, DException);
/// An assertion failed.
D_DECLARE_EXCEPTION(DAssertionFailure, DException);

#undef D_DECLARE_EXCEPTION

#endif // D_BASE_DEXCEPT_HPP
