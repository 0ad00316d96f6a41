// Calendar dates: DDate holds one Julian day number (day 0 is 1 January
// 4713 BC, a Monday). Julian calendar up to 2 September 1752, Gregorian
// from 14 September 1752; there is no year 0 (1 BC is -1). DCnrDate is the
// packed four-byte record (day, month, 16-bit year).
#ifndef D_DATETIME_DDATE_HPP
#define D_DATETIME_DDATE_HPP

#include "dbase.hpp"
#include "ddefs.hpp"
#include "dstring.hpp"

#include <iosfwd>

/// Packed date record: day, month, year (in that order, 4 bytes).
struct DCnrDate {
  unsigned char day;
  unsigned char month;
  unsigned short year;
};

/// A calendar date as a Julian day number.
class D_EXPORT DDate : public DBase {
public:
  enum Month {
    January = 1, February, March, April, May, June, July, August,
    September, October, November, December
  };
  enum DayOfWeek { Monday = 0, Tuesday, Wednesday, Thursday, Friday,
                   Saturday, Sunday };
  enum YearFormat { localeYear = 0, fourDigitYear = 1 };

  /// Whether the triple names a real date.
  static bool isValid(Month month, int day, int year);
  /// Julian rule before 1752, Gregorian from 1752; 1 BC (-1) is leap.
  static bool isLeapYear(int year);
  /// Days in \p month of \p year; September 1752 has 19.
  static unsigned int daysInMonth(Month month, int year);
  /// 365 or 366; 1752 has 355.
  static unsigned int daysInYear(int year);

  /// Sets the day number from a calendar date (no validation).
  DDate& initialize(Month month, int day, int year);
  /// Date from a year and an ordinal day (the year comes first).
  DDate(int year, int dayOfYear);
  /// initialize(month, day, year) from the record.
  DDate(DCnrDate const& record);
  /// The packed record of this date.
  DCnrDate asICnrDate() const;

  int year() const;
  Month monthOfYear() const;
  int dayOfMonth() const;
  /// Day within the year; counts the eleven missing days of 1752.
  int dayOfYear() const;

  /// The locale's full month name.
  DString monthName() const;
  static DString monthName(Month month);
  /// The locale's full weekday name.
  DString dayName() const;
  static DString dayName(DayOfWeek day);
  /// The date in the locale's date format (fourDigitYear: "y" made "Y").
  DString asString(YearFormat yearFormat = localeYear) const;
  /// The date through strftime with \p format.
  DString asString(char const* format) const;

private:
  long julianDay;
};

/// Writes asString(localeYear).
D_EXPORT std::ostream& operator<<(std::ostream& os, DDate const& date);

#endif // D_DATETIME_DDATE_HPP
