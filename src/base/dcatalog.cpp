// Finding the message catalogue (catopen's search, then the library's own
// installed copy) and checking a catalogue file before catopen maps it.
#include "base/dcatalog_p.hpp"
#include "base/dcompiler_p.hpp"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <sys/auxv.h>
#include <sys/stat.h>
#include <unistd.h>

#ifndef ZYN_INSTALLED_CATALOG
#error "ZYN_INSTALLED_CATALOG: the installed catalogue's full path"
#endif
#ifndef ZYN_CATALOG_FROM_LIBDIR
#error "ZYN_CATALOG_FROM_LIBDIR: the catalogue's directory relative to libdir"
#endif

namespace {

// The C library's own places, searched after NLSPATH or alone.
char const systemSearch[] =
    "/usr/share/locale/%L/%N:/usr/share/locale/%L/LC_MESSAGES/%N:"
    "/usr/share/locale/%l/%N:/usr/share/locale/%l/LC_MESSAGES/%N";

//===--- Checking a catalogue file ----------------------------------------===//

// gencat's layout: a header of three 32-bit words in the writer's byte
// order (magic, plane size, plane depth); two hash tables of plane size x
// plane depth entries of three 32-bit words (set, message, string offset),
// first the little-endian copy, then the big-endian one; then the pool of
// NUL-terminated strings the offsets count into. catgets reads the copy in
// the machine's byte order and divides by the plane size.
constexpr std::uint32_t catalogueMagic = 0x960408deu;
constexpr std::uint64_t headerBytes = 12;
constexpr std::uint64_t entryBytes = 12;

// Reads exactly \p count bytes at \p offset of \p fd into \p out; false
// on an error or a short file. The file is read, not mapped: the catalogue
// is checked with no allocation (this runs while exceptions are built), and
// a mapping of ours at an address catopen maps next would look, to a race
// detector that cannot see the C library's own mapping, like a write that
// races the reads of the texts catgets returns.
bool readAt(int fd, unsigned char* out, std::size_t count,
            std::uint64_t offset) {
  while (count > 0) {
    ssize_t const got = ::pread(fd, out, count, static_cast<off_t>(offset));
    if (got < 0 && errno == EINTR)
      continue;
    if (got <= 0)
      return false;
    out += got;
    count -= static_cast<std::size_t>(got);
    offset += static_cast<std::uint64_t>(got);
  }
  return true;
}

std::uint32_t wordAt(unsigned char const* bytes, std::uint64_t offset) {
  std::uint32_t word;
  std::memcpy(&word, bytes + offset, sizeof word);
  return word;
}

// Whether the open file \p fd is a catalogue that catopen and catgets can
// use without reading outside it: a regular file, the magic in either byte
// order, plane size and depth at least 1 with both tables inside the file,
// and every string offset inside the pool at a string that ends before the
// end of the file (each shorter offset then ends there at the latest).
bool isSoundCatalogue(int fd) {
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) ||
      info.st_size < static_cast<off_t>(headerBytes))
    return false;
  std::uint64_t const size = static_cast<std::uint64_t>(info.st_size);
  unsigned char head[headerBytes];
  if (!readAt(fd, head, sizeof head, 0))
    return false;

  std::uint32_t const magic = wordAt(head, 0);
  bool const swapped = magic == dinternal::byteSwap(catalogueMagic);
  if (magic != catalogueMagic && !swapped)
    return false;
  auto header = [&](std::uint64_t offset) -> std::uint64_t {
    std::uint32_t const word = wordAt(head, offset);
    return swapped ? dinternal::byteSwap(word) : word;
  };
  std::uint64_t const planeSize = header(4);
  std::uint64_t const planeDepth = header(8);
  // Entries both tables together leave room for; divisions, so that no
  // product of the two header words can wrap.
  std::uint64_t const room = (size - headerBytes) / (2 * entryBytes);
  if (planeSize == 0 || planeDepth == 0 || planeSize > room ||
      planeDepth > room / planeSize)
    return false;
  std::uint64_t const entries = planeSize * planeDepth;
  std::uint64_t const table = dinternal::littleEndian
                                  ? headerBytes
                                  : headerBytes + entries * entryBytes;
  std::uint64_t const pool = headerBytes + 2 * entries * entryBytes;
  if (pool >= size)
    return false;
  std::uint64_t const poolBytes = size - pool;

  // The table in blocks of whole entries.
  unsigned char block[entryBytes * 256];
  std::uint64_t last = 0;
  for (std::uint64_t i = 0; i < entries;) {
    std::uint64_t const n = std::min<std::uint64_t>(entries - i, 256);
    if (!readAt(fd, block, static_cast<std::size_t>(n * entryBytes),
                table + i * entryBytes))
      return false;
    for (std::uint64_t k = 0; k < n; ++k) {
      std::uint64_t const offset = wordAt(block, k * entryBytes + 8);
      if (offset > last)
        last = offset;
    }
    i += n;
  }
  if (last >= poolBytes)
    return false;
  // The string at the largest offset must end inside the file.
  for (std::uint64_t at = pool + last; at < size;) {
    std::size_t const n = static_cast<std::size_t>(
        std::min<std::uint64_t>(size - at, sizeof block));
    if (!readAt(fd, block, n, at))
      return false;
    if (std::memchr(block, '\0', n) != nullptr)
      return true;
    at += n;
  }
  return false;
}

// An open file descriptor, closed on every path out.
class Descriptor {
public:
  explicit Descriptor(char const* path)
      : fd(::open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK)) {}
  ~Descriptor() {
    if (fd >= 0)
      ::close(fd);
  }
  Descriptor(Descriptor const&) = delete;
  Descriptor& operator=(Descriptor const&) = delete;
  bool isOpen() const { return fd >= 0; }
  int get() const { return fd; }

private:
  int fd;
};

enum class Found { nothing, unusable, usable };

// Opens \p path without blocking (a FIFO would block catopen forever) and
// checks it; nothing when it does not open.
Found examine(char const* path) {
  Descriptor const file(path);
  if (!file.isOpen())
    return Found::nothing;
  return isSoundCatalogue(file.get()) ? Found::usable : Found::unusable;
}

//===--- catopen's search -------------------------------------------------===//

// The locale name catopen(name, 0) puts into the search: LANG, or "C" when
// it is unset or empty, or holds a '/' in a set-user-ID program.
char const* searchLocale() {
  char const* lang = std::getenv("LANG");
  if (lang == nullptr || *lang == '\0' ||
      (::getauxval(AT_SECURE) != 0 && std::strchr(lang, '/') != nullptr))
    lang = "C";
  return lang;
}

// Appends the language (%l), territory (%t) or codeset (%c) of \p locale,
// language[_territory][.codeset], copied the C library's way: the language
// is at least the first character; the territory and codeset start after
// the first '_' or '.' past the first character and take at least one
// character, so that a separator at the end contributes its terminating
// NUL, which ends the path there.
void appendPart(std::string& path, char const* locale, char part) {
  char const* p = locale;
  if (part == 'l') {
    do
      path += *p++;
    while (*p != '\0' && *p != '_' && *p != '.');
    return;
  }
  char const separator = part == 't' ? '_' : '.';
  do
    ++p;
  while (*p != '\0' && *p != separator);
  if (*p != separator)
    return;
  ++p;
  do
    path += *p;
  while (*p++ != '\0' && *p != '\0' && (part != 't' || *p != '.'));
}

// Runs catopen(name, 0)'s search and returns what the first candidate that
// opens at all turned out to be (the C library stops there too, also at a
// directory), with its path in \p path. A name with a '/' is its own only
// candidate. Otherwise the elements of NLSPATH (when set and not empty) and
// then of the system places are tried, ':' separated: %N is the name, %L
// the locale, %l, %t and %c its parts, %% a '%'; an empty element stands
// for the name alone; an element with any other '%' (the character after
// it included, even a ':') is dropped; an empty result is not tried.
Found searchCatalogue(char const* name, std::string& path) {
  if (std::strchr(name, '/') != nullptr) {
    path = name;
    return examine(name);
  }
  char const* const locale = searchLocale();
  std::string search = systemSearch;
  char const* nlspath = std::getenv("NLSPATH");
  if (nlspath != nullptr && *nlspath != '\0')
    search = std::string(nlspath) + ":" + search;

  std::size_t i = 0;
  std::size_t const n = search.size();
  while (i < n) {
    std::string candidate;
    bool dropped = false;
    if (search[i] == ':') {
      candidate = name;
    } else {
      while (i < n && search[i] != ':') {
        char const c = search[i++];
        if (c != '%') {
          candidate += c;
          continue;
        }
        char const variable = i < n ? search[i++] : '\0';
        switch (variable) {
        case 'N':
          candidate += name;
          break;
        case 'L':
          candidate += locale;
          break;
        case 'l':
        case 't':
        case 'c':
          appendPart(candidate, locale, variable);
          break;
        case '%':
          candidate += '%';
          break;
        default:
          dropped = true;
          while (i < n && search[i] != ':')
            ++i;
          break;
        }
      }
    }
    ++i; // the ':' that ended the element
    candidate.resize(std::strlen(candidate.c_str()));
    if (dropped || candidate.empty())
      continue;
    Found const found = examine(candidate.c_str());
    if (found != Found::nothing) {
      // catopen treats a name without '/' as another search.
      path = candidate.find('/') == std::string::npos ? "./" + candidate
                                                      : candidate;
      return found;
    }
  }
  return Found::nothing;
}

//===--- The installed catalogue ------------------------------------------===//

// The installed catalogue beside this library's real location (symbolic
// links resolved): libdir/ZYN_CATALOG_FROM_LIBDIR, so that an installation
// moved or installed to another prefix still finds its own. Empty when the
// library's path is unknown.
std::string relocatedCatalogue() {
  Dl_info info{};
  if (::dladdr(systemSearch, &info) == 0 || info.dli_fname == nullptr)
    return std::string();
  char* const real = ::realpath(info.dli_fname, nullptr);
  std::string library = real != nullptr ? real : info.dli_fname;
  std::free(real);
  std::size_t const slash = library.rfind('/');
  if (slash == std::string::npos)
    return std::string();
  return library.substr(0, slash + 1) + ZYN_CATALOG_FROM_LIBDIR +
         "/zorvanecl.cat";
}

nl_catd noCatalogue() {
  return reinterpret_cast<nl_catd>(static_cast<std::intptr_t>(-1));
}

} // namespace

nl_catd dinternal::openCatalogue(char const* name, bool isDefaultName) {
  std::string path;
  Found const found = searchCatalogue(name, path);
  if (found == Found::usable)
    return ::catopen(path.c_str(), 0);
  if (!isDefaultName)
    return noCatalogue();
  // Where the library's installation put the catalogue: beside the library
  // as it is now, then where the build meant to install it.
  static std::string const relocated = relocatedCatalogue();
  for (char const* installed : {relocated.c_str(), ZYN_INSTALLED_CATALOG}) {
    if (*installed != '\0' && examine(installed) == Found::usable)
      return ::catopen(installed, 0);
  }
  return noCatalogue();
}
