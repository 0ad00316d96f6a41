// Times of day: DTime holds seconds since midnight, 0 to 86399 for every
// time made by this class (construction folds modulo one day). DCnrTime is
// the packed record of hours, minutes and seconds (unsigned 8-bit each)
// and a fourth byte that is always 0.
#ifndef D_DATETIME_DTIME_HPP
/// \file
#define D_DATETIME_DTIME_HPP

#include "dbase.hpp"
#include "ddefs.hpp"
#include "dstring.hpp"

#include <cstddef>
#include <iosfwd>
#include <type_traits>

/// Packed time record: hours, minutes, seconds (and a fourth, zero byte).
/// Returned by value it travels as one 32-bit value, hours in the lowest
/// byte.
struct DCnrTime {
  /// Hour, 0-23.
  unsigned char hours;
  /// Minute, 0-59.
  unsigned char minutes;
  /// Second, 0-59.
  unsigned char seconds;
  /// Always 0.
  unsigned char unused;
};

static_assert(sizeof(DCnrTime) == 4, "DCnrTime is a four-byte record");
static_assert(std::is_trivially_copyable<DCnrTime>::value &&
                  std::is_standard_layout<DCnrTime>::value,
              "DCnrTime is passed and returned in a register");
static_assert(offsetof(DCnrTime, hours) == 0 &&
                  offsetof(DCnrTime, minutes) == 1 &&
                  offsetof(DCnrTime, seconds) == 2 &&
                  offsetof(DCnrTime, unused) == 3,
              "DCnrTime lays out hours, minutes, seconds, a spare byte");

/// A time of day in seconds since midnight.
class D_EXPORT DTime : public DBase {
public:
  /// @name Construction
  /// @{
  /// Midnight (no clock is read; see now()).
  constexpr DTime() : secondsValue(0) {}
  /// ((hours * 60 + minutes) * 60 + seconds) mod 86400: 24:00:00 is
  /// midnight and over-range fields fold in arithmetically.
  DTime(DCnrTime const& record);
  /// As the record constructor, for any ints: the total is taken modulo
  /// one day towards the past, so -1 second is 23:59:59.
  DTime(int hours, int minutes, int seconds);
  /// The current local time of day (reads the clock and the time zone).
  static DTime now();
  /// @}

  /// @name Fields
  /// @{
  /// The packed record (fourth byte 0).
  DCnrTime asICnrTime() const;
  /// Seconds since midnight, 0 to 86399.
  long seconds() const { return secondsValue; }
  /// Hour of the day, 0 to 23.
  int hours() const { return static_cast<int>(secondsValue / 3600); }
  /// Minute within the hour, 0 to 59.
  int minutes() const { return static_cast<int>(secondsValue % 3600 / 60); }
  /// Second within the minute, 0 to 59.
  int secondsOfMinute() const { return static_cast<int>(secondsValue % 60); }
  /// @}

  /// @name Formatting
  /// @{
  /// The time through strftime with \p format (null counts as ""); date
  /// fields are those of the zero struct tm (31 December 1899, a Sunday),
  /// independent of the time zone. A format whose output is empty raises
  /// the 1010 buffer overflow.
  DString asString(char const* format) const;
  /// @}

  /// @name Comparison (by seconds since midnight)
  /// @{
  /// Same second of the day.
  bool operator==(DTime const& other) const {
    return secondsValue == other.secondsValue;
  }
  /// Different seconds of the day.
  bool operator!=(DTime const& other) const {
    return secondsValue != other.secondsValue;
  }
  /// This time is earlier in the day.
  bool operator<(DTime const& other) const {
    return secondsValue < other.secondsValue;
  }
  /// This time is earlier in the day or the same.
  bool operator<=(DTime const& other) const {
    return secondsValue <= other.secondsValue;
  }
  /// This time is later in the day.
  bool operator>(DTime const& other) const {
    return secondsValue > other.secondsValue;
  }
  /// This time is later in the day or the same.
  bool operator>=(DTime const& other) const {
    return secondsValue >= other.secondsValue;
  }
  /// @}

private:
  long secondsValue;
};

/// Writes asString("%X"), the locale's time representation.
D_EXPORT std::ostream& operator<<(std::ostream& os, DTime const& time);

#endif // D_DATETIME_DTIME_HPP
