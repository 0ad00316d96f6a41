// Times of day: DTime holds seconds since midnight. DCnrTime is the packed
// record of hours, minutes and seconds (unsigned 8-bit each).
#ifndef D_DATETIME_DTIME_HPP
#define D_DATETIME_DTIME_HPP

#include "dbase.hpp"
#include "ddefs.hpp"
#include "dstring.hpp"

#include <iosfwd>

/// Packed time record: hours, minutes, seconds (and a fourth, zero byte).
struct DCnrTime {
  unsigned char hours;
  unsigned char minutes;
  unsigned char seconds;
  unsigned char unused;
};

/// A time of day in seconds since midnight.
class D_EXPORT DTime : public DBase {
public:
  /// ((hours * 60 + minutes) * 60 + seconds) mod 86400.
  DTime(DCnrTime const& record);
  /// The packed record (fourth byte 0).
  DCnrTime asICnrTime() const;
  /// The time through strftime with \p format (null counts as "").
  DString asString(char const* format) const;

private:
  long secondsValue;
};

/// Writes asString("%X").
D_EXPORT std::ostream& operator<<(std::ostream& os, DTime const& time);

#endif // D_DATETIME_DTIME_HPP
