// The strftime step shared by DDate and DTime: normalising a struct tm and
// formatting it into a work string that doubles until the text fits.
#include "datetime/dformat_p.hpp"
#include "string/dstring_p.hpp"

#include "dbuffer.hpp"

#include <ctime>
#include <string>

// mktime, as the formats have always been normalised: it fills in the
// weekday and day of the year, and in the local time zone it may move a
// time that falls into a daylight-saving gap (callers who need zone-free
// output set TZ).
void dinternal::normalizeTm(std::tm& t) {
  std::mktime(&t);
}

// The caller's format is the whole point here, so it cannot be a literal.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

// strftime answers 0 both for a text too long for the buffer and for an
// empty text. One mark before the format tells them apart: the output is
// empty exactly when the marked format gives the mark alone.
static bool outputIsEmpty(char const* format, std::tm const& t) {
  std::string const marked = std::string("|") + format;
  char probe[2];
  return std::strftime(probe, sizeof probe, marked.c_str(), &t) == 1;
}

DString dinternal::formatTime(char const* format, unsigned int length,
                              std::tm const& t) {
  DString work(nullptr, length, ' ');
  // The work string's buffer is its own (fresh, count 1) and holds length
  // bytes plus the NUL, so strftime may use all length + 1.
  if (std::strftime(StringAccess::text(work), work.length() + 1, format, &t) ==
      0) {
    // An empty text would double the work string until its length passes
    // 32 bits and raise the 1010 overflow, gigabytes later: raise that
    // overflow now, without the allocations on the way.
    if (outputIsEmpty(format, t))
      DBuffer::overflow();
    do
      work += work;
    while (std::strftime(StringAccess::text(work), work.length() + 1, format,
                         &t) == 0);
  }
  return DString(static_cast<char const*>(work));
}
#pragma GCC diagnostic pop
