// Calendar dates: DDate holds one Julian day number (day 0 is 1 January
// 4713 BC, a Monday). Julian calendar up to 2 September 1752, Gregorian
// from 14 September 1752; there is no year 0 (1 BC is -1). DCnrDate is the
// packed four-byte record (day, month, 16-bit year). No date operation
// validates or throws: check a triple with isValid() first.
#ifndef D_DATETIME_DDATE_HPP
/// \file
#define D_DATETIME_DDATE_HPP

#include "dbase.hpp"
#include "ddefs.hpp"
#include "dstring.hpp"

#include <cstddef>
#include <iosfwd>
#include <type_traits>

/// Packed date record: day, month, year (in that order, 4 bytes). Returned
/// by value it travels as one 32-bit value, day in the lowest byte.
struct DCnrDate {
  /// Day of the month, 1-31.
  unsigned char day;
  /// Month, 1-12.
  unsigned char month;
  /// Year, truncated to 16 unsigned bits (BC years wrap).
  unsigned short year;
};

static_assert(sizeof(DCnrDate) == 4, "DCnrDate is a four-byte record");
static_assert(std::is_trivially_copyable<DCnrDate>::value &&
                  std::is_standard_layout<DCnrDate>::value,
              "DCnrDate is passed and returned in a register");
static_assert(offsetof(DCnrDate, day) == 0 && offsetof(DCnrDate, month) == 1 &&
                  offsetof(DCnrDate, year) == 2,
              "DCnrDate lays out day, month, year");

/// A calendar date as a Julian day number.
class D_EXPORT DDate : public DBase {
public:
  /// Months, January 1 .. December 12. Any int converts (isValid() answers
  /// false for the others), hence the fixed underlying type.
  enum Month : int {
    January = 1,
    February,
    March,
    April,
    May,
    June,
    July,
    August,
    September,
    October,
    November,
    December
  };
  /// Weekdays as the day number modulo 7: Monday 0 .. Sunday 6.
  enum DayOfWeek {
    Monday = 0,
    Tuesday,
    Wednesday,
    Thursday,
    Friday,
    Saturday,
    Sunday
  };
  /// asString(): fourDigitYear turns "y" into "Y" in the locale's date
  /// format; any other int takes the format as it is.
  enum YearFormat : int { localeYear = 0, fourDigitYear = 1 };

  /// @name Calendar questions (constant time)
  /// @{
  /// Whether the triple names a real date: month 1-12, day from 1 to the
  /// month's length, year not 0; 3-13 September 1752 do not exist.
  static bool isValid(Month month, int day, int year);
  /// Julian rule (every fourth year) before 1752, Gregorian from 1752 on;
  /// BC years count astronomically, so 1 BC (-1) and 5 BC are leap.
  static bool isLeapYear(int year);
  /// Days in \p month of \p year; September 1752 has 19; 0 for a month
  /// outside 1-12.
  static unsigned int daysInMonth(Month month, int year);
  /// 365 or 366; 1752 has 355.
  static unsigned int daysInYear(int year);
  /// @}

  /// @name Construction
  /// @{
  /// Day 0, 1 January 4713 BC (no clock is read; see today()).
  constexpr DDate() : dayNumber(0) {}
  /// The date \p day \p month \p year; no validation (see initialize()).
  DDate(Month month, int day, int year) : dayNumber(0) {
    initialize(month, day, year);
  }
  /// Ordinal day \p dayOfYear of \p year (the year comes first); the
  /// eleven missing days of 1752 are left out, so (1752, 247) is
  /// 14 September. Ordinals outside the year count on from 1 January.
  DDate(int year, int dayOfYear);
  /// initialize(month, day, year) of the record; its year is unsigned, so
  /// BC years do not survive a round trip through the record.
  DDate(DCnrDate const& record);
  /// The date with Julian day number \p julianDay.
  static constexpr DDate fromJulianDay(long julianDay) {
    return DDate(DayNumber(), julianDay);
  }
  /// The current local date (reads the clock and the time zone).
  static DDate today();
  /// Sets the day number from a calendar date without validation: a day
  /// in 3-13 September 1752 collapses onto the 2nd, days past the month's
  /// end count on into the following months, month 13 is January of the
  /// next year and a month outside 1-13 counts as January.
  DDate& initialize(Month month, int day, int year);
  /// @}

  /// @name Calendar fields
  /// Exact for every date from long before 4713 BC (negative day numbers)
  /// up to AD 148098, where the century estimate of the block search
  /// starts to drift; day numbers must stay within +-2^62.
  /// @{
  /// The record of this date (year truncated to 16 unsigned bits).
  DCnrDate asICnrDate() const;
  /// Julian day number; 0 is 1 January 4713 BC.
  long julianDay() const { return dayNumber; }
  /// Year; negative for BC, never 0.
  int year() const;
  /// Month of the year, January 1 .. December 12.
  Month monthOfYear() const;
  /// Day within the month, from 1.
  int dayOfMonth() const;
  /// Day within the year, from 1; from 14 September 1752 to the end of
  /// that year it counts the eleven missing days (14 September is 258).
  int dayOfYear() const;
  /// Day number modulo 7 (day 0 was a Monday).
  DayOfWeek dayOfWeek() const;
  /// @}

  /// @name Names and formatting (through strftime and the locale)
  /// @{
  /// The locale's full name of monthOfYear().
  DString monthName() const;
  /// The locale's full name of \p month ("%B"); "?" outside 1-12.
  static DString monthName(Month month);
  /// The locale's full name of dayOfWeek().
  DString dayName() const;
  /// The locale's full name of \p day ("%A", struct tm weekday
  /// (day + 1) mod 7).
  static DString dayName(DayOfWeek day);
  /// The date in the locale's date format (nl_langinfo(D_FMT)), with "y"
  /// made "Y" for fourDigitYear.
  DString asString(YearFormat yearFormat = localeYear) const;
  /// The date through strftime with \p format (null reads as ""). Below
  /// 1900 a format containing "y" anywhere sees the year itself as the
  /// struct tm year, so "%y" prints its last two digits (and "%Y" is off by
  /// 1900). Weekday fields are proleptic Gregorian and time fields zero; a
  /// format whose output is empty raises the 1010 buffer overflow.
  DString asString(char const* format) const;
  /// @}

  /// @name Comparison and day arithmetic (by day number)
  /// @{
  /// Same day number.
  bool operator==(DDate const& other) const {
    return dayNumber == other.dayNumber;
  }
  /// Different day numbers.
  bool operator!=(DDate const& other) const {
    return dayNumber != other.dayNumber;
  }
  /// This date is earlier.
  bool operator<(DDate const& other) const {
    return dayNumber < other.dayNumber;
  }
  /// This date is earlier or the same.
  bool operator<=(DDate const& other) const {
    return dayNumber <= other.dayNumber;
  }
  /// This date is later.
  bool operator>(DDate const& other) const {
    return dayNumber > other.dayNumber;
  }
  /// This date is later or the same.
  bool operator>=(DDate const& other) const {
    return dayNumber >= other.dayNumber;
  }
  /// Moves the date \p days days on (back for a negative count).
  DDate& operator+=(long days) {
    dayNumber += days;
    return *this;
  }
  /// Moves the date \p days days back.
  DDate& operator-=(long days) {
    dayNumber -= days;
    return *this;
  }
  /// The date \p days days later.
  DDate operator+(long days) const {
    return DDate(DayNumber(), dayNumber + days);
  }
  /// The date \p days days earlier.
  DDate operator-(long days) const {
    return DDate(DayNumber(), dayNumber - days);
  }
  /// Days from \p other to this date (negative when this one is earlier).
  long operator-(DDate const& other) const {
    return dayNumber - other.dayNumber;
  }
  /// @}

private:
  // Tagged so that it cannot be taken for DDate(year, dayOfYear).
  struct DayNumber {};
  constexpr DDate(DayNumber, long julianDay) : dayNumber(julianDay) {}

  long dayNumber;
};

/// The date \p days days after \p date.
inline DDate operator+(long days, DDate const& date) {
  return date + days;
}

/// Writes asString(DDate::localeYear).
D_EXPORT std::ostream& operator<<(std::ostream& os, DDate const& date);

#endif // D_DATETIME_DDATE_HPP
