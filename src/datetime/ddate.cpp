// Calendar dates: day numbers of the Julian calendar up to 2 September 1752
// and the Gregorian calendar from 14 September 1752, the calendar fields
// read back from a day number, and formatting through strftime.
#include "ddate.hpp"

#include "datetime/dformat_p.hpp"
#include "string/dstring_p.hpp"

#include <cstring>
#include <ctime>
#include <langinfo.h>
#include <ostream>

namespace {

//===--- Constant tables --------------------------------------------------===//

// Days before each month (index 0-12): row 0 a common year, row 1 a leap
// year. Index 12 is the length of the year.
constexpr int daysBeforeMonth[2][13] = {
    {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
    {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366}};

// The last day of the Julian calendar, 2 September 1752. The eleven days
// after it (3-13 September) were skipped.
constexpr struct { int month, day, year; } reform = {9, 2, 1752};
constexpr long missingDays = 11;
// Day number of 2 September 1752; 14 September 1752 is the next one.
constexpr long lastJulianDay = 2361221;

// Days before each year of a four-year block (index 0-4): row 0 a block
// without a leap year (it starts with a century year the Gregorian rule
// skips), row 1 a block whose first year is leap.
constexpr int daysBeforeBlockYear[2][5] = {{0, 365, 730, 1095, 1460},
                                           {0, 366, 731, 1096, 1461}};

//===--- Arithmetic helpers -----------------------------------------------===//

// Division and remainder rounding towards minus infinity, so that day
// numbers before 1 January 4713 BC (negative) still read back as dates.
constexpr long floorDiv(long a, long b) {
  return a / b - ((a % b != 0 && (a < 0) != (b < 0)) ? 1 : 0);
}
constexpr long floorMod(long a, long b) {
  return a - b * floorDiv(a, b);
}

bool isReformMonth(int month, long year) {
  return month == reform.month && year == reform.year;
}

int monthLength(int month, int year) {
  if (month < 1 || month > 12)
    return 0;
  int const leap = DDate::isLeapYear(year) ? 1 : 0;
  int const length =
      daysBeforeMonth[leap][month] - daysBeforeMonth[leap][month - 1];
  return isReformMonth(month, year) ? length - int{missingDays} : length;
}

// The day number of a calendar date, without validation. The month is an
// int so that the record's byte reaches here without becoming a Month.
long dayNumberOf(int month, int day, int year) {
  // Years since 4713 BC; negative years lack a year 0 and need no shift.
  long const y0 = year > 0 ? long{year} - 1 : long{year};
  long const n = y0 + 4713;
  bool leap = n % 4 == 0;
  if (year > reform.year && year % 100 == 0)
    leap = year % 400 == 0 && n % 4 == 0;
  // Month 13 is the last table entry (the whole year); anything else
  // outside the table counts from 1 January.
  int const before =
      month >= 1 && month <= 13 ? daysBeforeMonth[leap ? 1 : 0][month - 1] : 0;
  long jd = (n == 0 ? 0 : 365 * n + floorDiv(y0 + 4716, 4)) + day + before - 1;
  if (jd > lastJulianDay) {
    // Counted as if the Julian calendar went on: drop the Gregorian
    // century days, then the eleven skipped days; the skipped days
    // themselves collapse onto 2 September.
    long const v = jd + (long{year} - 1601) / 400 - (long{year} - 1701) / 100;
    jd = v <= lastJulianDay + missingDays ? lastJulianDay : v - missingDays;
  }
  return jd;
}

struct Fields {
  long year;
  int month;
  int day;
};

// Year, month and day of a day number: find the four-year block, the year
// within it and the month within that year. After the reform the day is
// first moved onto the Julian count and the skipped Gregorian century days
// are put back.
Fields fieldsOf(long dayNumber) {
  long d = dayNumber;
  long g = 0;
  if (d > lastJulianDay) {
    d += missingDays;
    g = (d - 2342349) / 36524 - (d - 2305824) / 146097;
  }
  long a = d + g;
  long q = floorDiv(a, 1461);
  // First year of the block: BC blocks start at 4713 BC, 4709 BC ... 1 BC;
  // from AD 4 on the numbering skips the missing year 0.
  long const first = 4 * q - 4713 >= 0 ? 4 * q - 4712 : 4 * q - 4713;
  if (g != 0) {
    a = d + (first - 1701) / 100 - (first - 1601) / 400;
    q = floorDiv(a, 1461);
  }
  long const r = a - 1461 * q + 1; // day within the block, from 1
  int const blockRow =
      first > reform.year && first % 100 == 0 && first % 400 != 0 ? 0 : 1;
  int k = 1;
  while (k <= 4 && r > daysBeforeBlockYear[blockRow][k])
    ++k;
  long year = first + k - 1;
  if (year >= 0 && year <= 2)
    year = first + k; // the block of 1 BC, AD 1, 2, 3
  long const e = r - daysBeforeBlockYear[blockRow][k - 1];
  int const row = k == 1 && blockRow == 1 ? 1 : 0;
  int m = 1;
  while (m < 12 && e > daysBeforeMonth[row][m])
    ++m;
  return {year, m, static_cast<int>(e - daysBeforeMonth[row][m - 1])};
}

std::tm zeroTm() {
  std::tm t;
  std::memset(&t, 0, sizeof t);
  return t;
}

} // namespace

//===--- Calendar questions -----------------------------------------------===//

bool DDate::isLeapYear(int year) {
  // 1 BC, 5 BC ... are leap: count BC years astronomically.
  long const a = year < 0 ? long{year} + 1 : long{year};
  if (a % 4 != 0)
    return false;
  if (year < reform.year)
    return true;
  return !(a % 100 == 0 && a % 400 != 0);
}

unsigned int DDate::daysInMonth(Month month, int year) {
  return static_cast<unsigned int>(monthLength(month, year));
}

unsigned int DDate::daysInYear(int year) {
  unsigned int const leap = isLeapYear(year) ? 1 : 0;
  return (year == reform.year ? 365 - missingDays : 365) + leap;
}

bool DDate::isValid(Month month, int day, int year) {
  if (month < January || month > December || day < 1 || year == 0)
    return false;
  int const length = monthLength(month, year);
  if (isReformMonth(month, year))
    return day <= length + missingDays &&
           (day <= reform.day || day > reform.day + missingDays);
  return day <= length;
}

//===--- Construction -----------------------------------------------------===//

DDate::DDate(int year, int dayOfYear) : dayNumber(0) {
  int month = 1;
  int day = dayOfYear;
  if (year != 0 && day <= static_cast<long>(daysInYear(year))) {
    while (month < 12 && day > monthLength(month, year)) {
      day -= monthLength(month, year);
      ++month;
    }
  }
  // Ordinals leave the skipped days out: the 3rd of September 1752 in
  // this count is the 14th.
  if (isReformMonth(month, year) && day > reform.day)
    day += missingDays;
  dayNumber = dayNumberOf(month, day, year);
}

DDate::DDate(DCnrDate const& record)
    : dayNumber(dayNumberOf(record.month, record.day, record.year)) {}

DDate DDate::today() {
  std::time_t const now = std::time(nullptr);
  std::tm local = zeroTm();
  localtime_r(&now, &local);
  return DDate(static_cast<Month>(local.tm_mon + 1), local.tm_mday,
               local.tm_year + 1900);
}

DDate& DDate::initialize(Month month, int day, int year) {
  dayNumber = dayNumberOf(month, day, year);
  return *this;
}

//===--- Calendar fields --------------------------------------------------===//

DCnrDate DDate::asICnrDate() const {
  Fields const f = fieldsOf(dayNumber);
  DCnrDate record;
  record.day = static_cast<unsigned char>(f.day);
  record.month = static_cast<unsigned char>(f.month);
  record.year = static_cast<unsigned short>(f.year);
  return record;
}

int DDate::year() const {
  return static_cast<int>(fieldsOf(dayNumber).year);
}

DDate::Month DDate::monthOfYear() const {
  return static_cast<Month>(fieldsOf(dayNumber).month);
}

int DDate::dayOfMonth() const {
  return fieldsOf(dayNumber).day;
}

int DDate::dayOfYear() const {
  // The leap row follows isLeapYear() of the year, not the block layout,
  // and the days before the month include September 1752's skipped days.
  Fields const f = fieldsOf(dayNumber);
  int const leap = isLeapYear(static_cast<int>(f.year)) ? 1 : 0;
  return f.day + daysBeforeMonth[leap][f.month - 1];
}

DDate::DayOfWeek DDate::dayOfWeek() const {
  return static_cast<DayOfWeek>(floorMod(dayNumber, 7));
}

//===--- Names and formatting ---------------------------------------------===//

DString DDate::monthName(Month month) {
  std::tm t = zeroTm();
  t.tm_mon = month - 1;
  return dinternal::formatTime("%B", 32, t);
}

DString DDate::monthName() const {
  return monthName(monthOfYear());
}

DString DDate::dayName(DayOfWeek day) {
  std::tm t = zeroTm();
  // struct tm counts weekdays from Sunday.
  t.tm_wday = static_cast<int>(floorMod(long{day} + 1, 7));
  return dinternal::formatTime("%A", 32, t);
}

DString DDate::dayName() const {
  return dayName(dayOfWeek());
}

DString DDate::asString(char const* format) const {
  if (format == nullptr)
    format = "";
  Fields const f = fieldsOf(dayNumber);
  std::tm t = zeroTm();
  t.tm_mon = f.month - 1;
  t.tm_mday = f.day;
  // Below 1900 a format with "y" gets the year itself, so that "%y" prints
  // its last two digits (tm_year + 1900 has the same ones).
  bool const yearItself = f.year < 1900 && std::strchr(format, 'y') != nullptr;
  t.tm_year = static_cast<int>(yearItself ? f.year : f.year - 1900);
  dinternal::normalizeTm(t);
  return dinternal::formatTime(
      format,
      dinternal::checkedAdd(dinternal::checkedLength(std::strlen(format)), 3),
      t);
}

DString DDate::asString(YearFormat yearFormat) const {
  DString format(nl_langinfo(D_FMT));
  if (yearFormat == fourDigitYear)
    format.translate("y", 1, "Y", 1);
  return asString(static_cast<char const*>(format));
}

std::ostream& operator<<(std::ostream& os, DDate const& date) {
  return os << date.asString(DDate::localeYear);
}
