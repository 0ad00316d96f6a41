// Internal: the strftime step shared by DDate and DTime. Formats into a
// work string of blanks that doubles until the text fits, and normalises
// the struct tm with mktime, in the local time zone.
#ifndef D_DATETIME_DFORMAT_P_HPP
#define D_DATETIME_DFORMAT_P_HPP

#include "dstring.hpp"

#include <ctime>

namespace dinternal {

/// Fills in the weekday and the day of the year of \p t and brings its
/// fields into range through mktime, in the local time zone: a time in a
/// daylight-saving gap may move (callers who need zone-free output set TZ).
void normalizeTm(std::tm& t);

/// strftime of \p format and \p t into a work string of \p length (> 0)
/// blanks, doubled (appended to itself) while strftime answers 0. An empty
/// text raises at once the 1010 overflow (DBuffer::overflow()) in which the
/// doubling would end. The result is a new string of the text up to its NUL.
DString formatTime(char const* format, unsigned int length, std::tm const& t);

} // namespace dinternal

#endif // D_DATETIME_DFORMAT_P_HPP
