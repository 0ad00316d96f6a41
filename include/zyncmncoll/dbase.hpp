// Root classes of the library (DBase without virtual operations, DVBase with
// them), numbered message texts from the message catalogue (DMessageText),
// and DKOVR_Init, the load-time object that installs the library's trace
// writer and out-of-memory handler.
#ifndef D_BASE_DBASE_HPP
/// \file
#define D_BASE_DBASE_HPP

#include "ddefs.hpp"
#include "dexcept.hpp"

#include <iosfwd>

class DString;
class DMessageText;

/// Root class without virtual operations or data.
class D_EXPORT DBase {
public:
  /// The library version record: two unsigned 16-bit numbers.
  struct Version {
    /// Major version number (310).
    unsigned short major;
    /// Minor version number (1).
    unsigned short minor;
  };

  /// The library version, (310, 1).
  static Version version();

  /// "DBase object".
  DString asString() const;
  /// "DBase(@" + the object's address in hexadecimal + ")".
  DString asDebugInfo() const;

  /// Message \p id of the catalogue in force, "%1".."%9" filled from the
  /// leading non-null texts; a missing text gives the fallback text.
  static DMessageText
  messageText(unsigned long id, char const* s1 = nullptr,
              char const* s2 = nullptr, char const* s3 = nullptr,
              char const* s4 = nullptr, char const* s5 = nullptr,
              char const* s6 = nullptr, char const* s7 = nullptr,
              char const* s8 = nullptr, char const* s9 = nullptr);
  /// The catalogue name in force: on first use "KOVRA MSGFILE" from the
  /// environment, else "zorvanecl.cat".
  static char const* messageFile();
  /// Replaces the catalogue name by a copy of \p name; null is ignored.
  static void setMessageFile(char const* name);

  /// Severity constants for code that does not name DException.
  static constexpr DException::Severity unrecoverable =
      DException::unrecoverable;
  /// DException::recoverable.
  static constexpr DException::Severity recoverable = DException::recoverable;

private:
  static char* msgFile;
};

/// Writes asString() to \p os.
D_EXPORT std::ostream& operator<<(std::ostream& os, DBase const& object);

/// Root class with virtual operations; slot order: destructor, asString,
/// asDebugInfo.
class D_EXPORT DVBase : public DBase {
public:
  virtual ~DVBase();
  /// "DVBase object".
  virtual DString asString() const;
  /// "DVBase(@" + the object's address in hexadecimal + ")".
  virtual DString asDebugInfo() const;
};

/// Writes the virtual asString() to \p os.
D_EXPORT std::ostream& operator<<(std::ostream& os, DVBase const& object);

/// A numbered message text loaded from a catalogue (set 1) with "%1".."%9"
/// substituted. Never raises: a missing catalogue or message gives
/// "Unable to load text from message file.".
class D_EXPORT DMessageText {
public:
  /// Loads message \p id from \p catalogueName (null: no lookup) and fills
  /// in the leading non-null substitution texts.
  DMessageText(unsigned long id, char const* catalogueName,
               char const* s1 = nullptr, char const* s2 = nullptr,
               char const* s3 = nullptr, char const* s4 = nullptr,
               char const* s5 = nullptr, char const* s6 = nullptr,
               char const* s7 = nullptr, char const* s8 = nullptr,
               char const* s9 = nullptr);
  /// Copies the loaded flag and makes an own copy of the text.
  DMessageText(DMessageText const& other);
  /// Frees the old text, then copies as the copy constructor does.
  DMessageText& operator=(DMessageText const& other);
  ~DMessageText();

  /// The message text.
  char const* text() const;
  /// The message text.
  operator char const*() const;
  /// Replaces the text by a copy of \p text only when the catalogue had
  /// none; null is ignored.
  DMessageText& setDefaultText(char const* text);
  /// Substitutes "%1".."%<count>" in \p text with \p values; "%%" stays
  /// "%%". Returns a new[] text the caller delete[]s.
  char* replaceVars(char const* text, char** values, unsigned long count);

private:
  char* messageCopy;
  bool loaded;
};

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
/// The load-time object: registers itself as the trace function and
/// installs newHandler() as the process new-handler. Exactly one exists.
class D_EXPORT DKOVR_Init : public DException::TraceFn {
public:
  DKOVR_Init();
  /// Neither restores the old new-handler nor unregisters the trace function.
  ~DKOVR_Init();
  /// Prints \p text and a newline on standard error ("%s\n").
  void write(char const* text) override;
  /// Throws DOutOfMemory (message 4, file "dbase", line 175); never returns.
  static void newHandler();
};
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

#endif // D_BASE_DBASE_HPP
