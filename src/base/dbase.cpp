// Root classes, the message catalogue (DMessageText, the catalogue name)
// and the load-time object DKOVR_Init with the out-of-memory handler.
#include "dbase.hpp"

#include "base/dcatalog_p.hpp"
#include "base/dnewhandler_p.hpp"
#include "base/dthrow_p.hpp"

#include "dexctrace.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <nl_types.h>

static char const thisFile[] = "dbase";
// The location DKOVR_Init::newHandler reports.
static constexpr unsigned long newHandlerLine = 175;

static char const defaultCatalogue[] = "zorvanecl.cat";
static char const missingText[] = "Unable to load text from message file.";

// Every library message lives in set 1 of the catalogue.
static constexpr int messageSet = 1;
static constexpr unsigned long outOfMemoryMessage = 4;

//===--- DBase and DVBase -------------------------------------------------===//

char* DBase::msgFile = nullptr;

DBase::Version DBase::version() {
  return Version{310, 1};
}

DVBase::~DVBase() {}

//===--- Catalogue name ---------------------------------------------------===//

DMessageText DBase::messageText(unsigned long id, char const* s1,
                                char const* s2, char const* s3, char const* s4,
                                char const* s5, char const* s6, char const* s7,
                                char const* s8, char const* s9) {
  return DMessageText(id, messageFile(), s1, s2, s3, s4, s5, s6, s7, s8, s9);
}

// The variable name holds a blank; a set but empty value is used as is.
// The first use is made once, under call_once: threads that raise their
// first exceptions together would otherwise both store a name, freeing the
// other's copy. A name set before the first use stays.
char const* DBase::messageFile() {
  static std::once_flag firstUse;
  std::call_once(firstUse, [] {
    if (msgFile != nullptr)
      return;
    char const* fromEnvironment = std::getenv("KOVRA MSGFILE");
    setMessageFile(fromEnvironment != nullptr ? fromEnvironment
                                              : defaultCatalogue);
  });
  return msgFile;
}

// Copies before freeing, so the name in force may be passed back in. The
// copy is made with the new-handler suspended: this runs on the way to the
// out-of-memory exception's own text.
void DBase::setMessageFile(char const* name) {
  if (name == nullptr)
    return;
  char* const copy = dinternal::copyText(name);
  delete[] msgFile;
  msgFile = copy;
}

//===--- DMessageText -----------------------------------------------------===//

// Walks \p text once, handing \p sink each run of output bytes: "%n" with
// 1 <= n <= count becomes values[n - 1]; every other "%" stays, and "%%"
// stays whole so that its second "%" starts no placeholder.
template <class Sink>
static void substitute(char const* text, char* const* values,
                       unsigned long count, Sink sink) {
  char const* p = text;
  while (*p != '\0') {
    if (p[0] == '%' && p[1] == '%') {
      sink(p, 2);
      p += 2;
    } else if (p[0] == '%' && p[1] >= '1' && p[1] <= '9' &&
               static_cast<unsigned long>(p[1] - '0') <= count) {
      char const* value = values[p[1] - '1'];
      if (value != nullptr)
        sink(value, std::strlen(value));
      p += 2;
    } else {
      sink(p, 1);
      ++p;
    }
  }
}

char* DMessageText::replaceVars(char const* text, char** values,
                                unsigned long count) {
  if (text == nullptr)
    text = "";
  std::size_t length = 0;
  substitute(text, values, count,
             [&length](char const*, std::size_t n) { length += n; });
  char* filled;
  {
    dinternal::NewHandlerSuspension const suspended;
    filled = new char[length + 1];
  }
  char* out = filled;
  substitute(text, values, count, [&out](char const* data, std::size_t n) {
    std::memcpy(out, data, n);
    out += n;
  });
  *out = '\0';
  return filled;
}

namespace {
// An open catalogue, closed on every path out. The open is not tested: a
// failed one makes catgets find nothing. Only the default name, however it
// came, may fall back to the catalogue installed with the library; any
// other name that leads to no sound catalogue leaves the fallback text.
class OpenCatalogue {
public:
  explicit OpenCatalogue(char const* name)
      : handle(dinternal::openCatalogue(
            name, std::strcmp(name, defaultCatalogue) == 0)) {}
  ~OpenCatalogue() { catclose(handle); }
  OpenCatalogue(OpenCatalogue const&) = delete;
  OpenCatalogue& operator=(OpenCatalogue const&) = delete;
  char const* find(unsigned long id) const {
    return catgets(handle, messageSet, static_cast<int>(id), nullptr);
  }

private:
  nl_catd handle;
};
} // namespace

// The whole lookup runs with the new-handler suspended, so that running
// out of memory here raises std::bad_alloc instead of re-entering
// DKOVR_Init::newHandler, which would load message 4 through this very
// constructor.
DMessageText::DMessageText(unsigned long id, char const* catalogueName,
                           char const* s1, char const* s2, char const* s3,
                           char const* s4, char const* s5, char const* s6,
                           char const* s7, char const* s8, char const* s9)
    : messageCopy(nullptr), loaded(false) {
  dinternal::NewHandlerSuspension const suspended;
  if (catalogueName != nullptr) {
    // Only the leading given texts count: s1, none, s3 counts 1.
    char* values[] = {
        const_cast<char*>(s1), const_cast<char*>(s2), const_cast<char*>(s3),
        const_cast<char*>(s4), const_cast<char*>(s5), const_cast<char*>(s6),
        const_cast<char*>(s7), const_cast<char*>(s8), const_cast<char*>(s9)};
    unsigned long count = 0;
    while (count < 9 && values[count] != nullptr)
      ++count;
    OpenCatalogue const catalogue(catalogueName);
    if (char const* found = catalogue.find(id)) {
      loaded = true;
      messageCopy = replaceVars(found, values, count);
      // A trailing CR LF pair is dropped; a lone LF stays.
      std::size_t const length = std::strlen(messageCopy);
      if (length >= 2 && messageCopy[length - 2] == '\r' &&
          messageCopy[length - 1] == '\n')
        messageCopy[length - 2] = '\0';
    }
  }
  if (messageCopy == nullptr)
    messageCopy = dinternal::copyText(missingText);
}

DMessageText::DMessageText(DMessageText const& other)
    : messageCopy(other.messageCopy != nullptr
                      ? dinternal::copyText(other.messageCopy)
                      : nullptr),
      loaded(other.loaded) {}

// The copy is made before the old text is freed, so a failed allocation
// leaves this object unchanged (and self-assignment is harmless).
DMessageText& DMessageText::operator=(DMessageText const& other) {
  char* const copy = other.messageCopy != nullptr
                         ? dinternal::copyText(other.messageCopy)
                         : nullptr;
  delete[] messageCopy;
  messageCopy = copy;
  loaded = other.loaded;
  return *this;
}

DMessageText::~DMessageText() {
  delete[] messageCopy;
}

char const* DMessageText::text() const {
  return messageCopy;
}

DMessageText::operator char const*() const {
  return messageCopy;
}

DMessageText& DMessageText::setDefaultText(char const* text) {
  if (text == nullptr || loaded)
    return *this;
  char* const copy = dinternal::copyText(text);
  delete[] messageCopy;
  messageCopy = copy;
  return *this;
}

//===--- DKOVR_Init -------------------------------------------------------===//

DKOVR_Init::DKOVR_Init() {
  DException::setTraceFunction(*this);
  std::set_new_handler(&DKOVR_Init::newHandler);
}

DKOVR_Init::~DKOVR_Init() {}

void DKOVR_Init::write(char const* text) {
  std::fprintf(stderr, "%s\n", text);
}

void DKOVR_Init::newHandler() {
  dinternal::throwMessage<DOutOfMemory>(
      outOfMemoryMessage, DException::unrecoverable, thisFile, newHandlerLine);
}

// The one load-time object. Its constructor calls setTraceFunction, which
// reads the trace statics of dexctrace.cpp (the current-trace pointers and
// defaultTraceFn). Those are constant-initialised (constexpr constructors,
// see dexctrace.hpp), so they are ready before any dynamic initialiser in
// the program runs, whatever order the linker gives the files; this object
// is the only dynamically initialised static of the foundation and lives
// here on purpose.
static DKOVR_Init libraryInit;
