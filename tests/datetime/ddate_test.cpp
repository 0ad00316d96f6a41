// Calendar dates: day numbers checked against the standard Julian-day
// formulas over every date from 4800 BC to AD 9999, the 1752 reform day by
// day, leap years, ordinals, the packed record, names and formats in the C
// locale, and the empty-format overflow.
#include "ddate.hpp"

#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <langinfo.h>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using dtest::bytes;

namespace {

// Reference calendar, written independently of the library: astronomical
// year numbers (1 BC = 0), the proleptic Julian calendar up to 2 September
// 1752 and the Gregorian one from 14 September 1752.
long astronomical(int year) {
  return year < 0 ? year + 1L : year;
}

bool referenceLeap(int year) {
  long const y = astronomical(year);
  if (year <= 1752)
    return y % 4 == 0;
  return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

int referenceMonthLength(int month, int year) {
  static int const lengths[12] = {31, 28, 31, 30, 31, 30,
                                  31, 31, 30, 31, 30, 31};
  return month == 2 && referenceLeap(year) ? 29 : lengths[month - 1];
}

// The standard day-number formulas (valid for astronomical years from
// -4800 on, where every intermediate value is positive).
long referenceJulianDay(int month, int day, int year) {
  long const a = (14 - month) / 12;
  long const y = astronomical(year) + 4800 - a;
  long const m = month + 12 * a - 3;
  long const common = day + (153 * m + 2) / 5 + 365 * y + y / 4;
  bool const gregorian =
      year > 1752 || (year == 1752 && (month > 9 || (month == 9 && day > 2)));
  return gregorian ? common - y / 100 + y / 400 - 32045 : common - 32083;
}

bool referenceExists(int month, int day, int year) {
  return !(year == 1752 && month == 9 && day >= 3 && day <= 13);
}

DDate::Month month(int m) {
  return static_cast<DDate::Month>(m);
}

} // namespace

//===--- Calendar arithmetic ----------------------------------------------===//

// Every date of the reference calendar from 4800 BC to AD 9999 (the range
// starts before day 0, where day numbers are negative): its day number, the
// fields read back, validity, and the days of the year.
TEST(DDateCalendar, EveryDateMatchesTheReferenceAndReadsBack) {
  long checked = 0;
  int failures = 0;
  auto fail = [&failures](char const* what, int m, int d, int y, long got,
                          long want) {
    if (++failures <= 10)
      ADD_FAILURE() << what << " of " << m << "/" << d << "/" << y << ": got "
                    << got << ", want " << want;
  };
  for (int year = -4800; year <= 9999; ++year) {
    if (year == 0)
      continue;
    int ordinal = 0;
    for (int m = 1; m <= 12; ++m) {
      int const length = referenceMonthLength(m, year);
      for (int d = 1; d <= length; ++d) {
        ++ordinal;
        if (!referenceExists(m, d, year))
          continue;
        ++checked;
        DDate date;
        date.initialize(month(m), d, year);
        long const want = referenceJulianDay(m, d, year);
        if (date.julianDay() != want)
          fail("day number", m, d, year, date.julianDay(), want);
        if (date.year() != year)
          fail("year", m, d, year, date.year(), year);
        if (date.monthOfYear() != m)
          fail("month", m, d, year, date.monthOfYear(), m);
        if (date.dayOfMonth() != d)
          fail("day", m, d, year, date.dayOfMonth(), d);
        if (date.dayOfYear() != ordinal)
          fail("day of year", m, d, year, date.dayOfYear(), ordinal);
        if (!DDate::isValid(month(m), d, year))
          fail("validity", m, d, year, 0, 1);
      }
      if (DDate::isValid(month(m), length + 1, year))
        fail("validity past the end", m, length + 1, year, 1, 0);
    }
  }
  EXPECT_EQ(0, failures);
  // 14799 years, 3637 of them leap, less the eleven missing days.
  EXPECT_EQ(365L * 14799 + 3637 - 11, checked);
}

// Far from the reference range the fields still read back: before 4713 BC
// through floor division, after AD 9999 up to the documented AD 148098.
TEST(DDateCalendar, FarYearsReadBack) {
  int const years[] = {-2000000, -100001, -4801, 10000, 99999, 100000, 148098};
  for (int year : years)
    for (int m = 1; m <= 12; ++m)
      for (int d : {1, 28, referenceMonthLength(m, year)}) {
        DDate const date(month(m), d, year);
        ASSERT_EQ(year, date.year()) << m << "/" << d << "/" << year;
        ASSERT_EQ(m, date.monthOfYear()) << m << "/" << d << "/" << year;
        ASSERT_EQ(d, date.dayOfMonth()) << m << "/" << d << "/" << year;
      }
}

TEST(DDateCalendar, ReformMonthDayByDay) {
  // Day numbers of 1-30 September 1752: the eleven missing days collapse
  // onto the 2nd and the fields read back as 2 September.
  for (int d = 1; d <= 30; ++d) {
    SCOPED_TRACE(d);
    bool const missing = d >= 3 && d <= 13;
    long const want = d <= 2 ? 2361219 + d : missing ? 2361221 : 2361208 + d;
    DDate const date(DDate::September, d, 1752);
    EXPECT_EQ(want, date.julianDay());
    EXPECT_EQ(!missing, DDate::isValid(DDate::September, d, 1752));
    EXPECT_EQ(missing ? 2 : d, date.dayOfMonth());
    EXPECT_EQ(DDate::September, date.monthOfYear());
    EXPECT_EQ(1752, date.year());
  }
  EXPECT_FALSE(DDate::isValid(DDate::September, 31, 1752));
  EXPECT_EQ(19u, DDate::daysInMonth(DDate::September, 1752));
  EXPECT_EQ(355u, DDate::daysInYear(1752));
  // Weekdays run on without a break: Wednesday 2nd, Thursday 14th.
  EXPECT_EQ(DDate::Wednesday, DDate(DDate::September, 2, 1752).dayOfWeek());
  EXPECT_EQ(DDate::Thursday, DDate(DDate::September, 14, 1752).dayOfWeek());
  EXPECT_EQ(DDate::Monday, DDate(DDate::September, 18, 1752).dayOfWeek());
  EXPECT_EQ(DDate::Sunday, DDate(DDate::August, 30, 1752).dayOfWeek());
}

TEST(DDateCalendar, DayZeroAndWeekdays) {
  DDate const first(DDate::January, 1, -4713);
  EXPECT_EQ(0, first.julianDay());
  EXPECT_EQ(DDate::Monday, first.dayOfWeek());
  EXPECT_EQ(0, DDate().julianDay());
  // Before day 0 the count goes negative and weekdays still cycle.
  DDate const before(DDate::December, 31, -4714);
  EXPECT_EQ(-1, before.julianDay());
  EXPECT_EQ(DDate::Sunday, before.dayOfWeek());
  EXPECT_EQ(-4714, before.year());
  EXPECT_EQ(DDate::December, before.monthOfYear());
  EXPECT_EQ(31, before.dayOfMonth());
  struct Case {
    int month, day, year;
    DDate::DayOfWeek want;
  };
  Case const cases[] = {{1, 1, 2000, DDate::Saturday},
                        {3, 5, 2001, DDate::Monday},
                        {7, 4, 1776, DDate::Thursday},
                        {10, 15, 1582, DDate::Monday}, // still Julian here
                        {1, 1, 1, DDate::Saturday},
                        {12, 31, -1, DDate::Friday}};
  for (auto const& c : cases) {
    SCOPED_TRACE(c.year);
    EXPECT_EQ(c.want, DDate(month(c.month), c.day, c.year).dayOfWeek());
  }
}

TEST(DDateCalendar, LeapYearsAndMonthLengths) {
  struct Case {
    int year;
    bool leap;
  };
  Case const cases[] = {
      {1700, true},   {1600, true}, {1500, true},  {1752, true}, {1800, false},
      {1900, false},  {2000, true}, {2100, false}, {2400, true}, {2024, true},
      {2023, false},  {-1, true},   {-5, true},    {-4, false},  {-4713, true},
      {-4712, false}, {1, false},   {4, true}};
  for (auto const& c : cases) {
    SCOPED_TRACE(c.year);
    EXPECT_EQ(c.leap, DDate::isLeapYear(c.year));
    unsigned int const missing = c.year == 1752 ? 11 : 0;
    EXPECT_EQ((c.leap ? 366u : 365u) - missing, DDate::daysInYear(c.year));
    EXPECT_EQ(c.leap ? 29u : 28u, DDate::daysInMonth(DDate::February, c.year));
    EXPECT_EQ(c.leap, DDate::isValid(DDate::February, 29, c.year));
  }
  EXPECT_EQ(31u, DDate::daysInMonth(DDate::December, 2001));
  EXPECT_EQ(30u, DDate::daysInMonth(DDate::September, 1751));
  EXPECT_EQ(0u, DDate::daysInMonth(month(0), 2001));
  EXPECT_EQ(0u, DDate::daysInMonth(month(13), 2001));
}

TEST(DDateCalendar, InvalidTriples) {
  struct Case {
    int month, day, year;
  };
  Case const cases[] = {{1, 1, 0},     {0, 1, 2001},  {13, 1, 2001},
                        {2, 0, 2001},  {2, -1, 2001}, {2, 29, 1900},
                        {4, 31, 2001}, {9, 3, 1752},  {9, 13, 1752}};
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::Message()
                 << c.month << "/" << c.day << "/" << c.year);
    EXPECT_FALSE(DDate::isValid(month(c.month), c.day, c.year));
  }
  // Stored as computed: days past the month's end run on, month 13 is the
  // next January, day 0 the day before the 1st.
  EXPECT_EQ(DDate(DDate::March, 1, 2001), DDate(DDate::February, 29, 2001));
  EXPECT_EQ(DDate(DDate::January, 5, 2002), DDate(month(13), 5, 2001));
  EXPECT_EQ(DDate(DDate::April, 30, 2001), DDate(DDate::May, 0, 2001));
  EXPECT_EQ(DDate(DDate::January, 1, 2001), DDate(month(0), 1, 2001));
}

//===--- Ordinal days -----------------------------------------------------===//

TEST(DDateOrdinal, EveryOrdinalOfSelectedYears) {
  int const years[] = {-4713, -1,   1,    4,    1600, 1700, 1751,
                       1752,  1753, 1800, 1900, 2000, 2001, 9999};
  for (int year : years) {
    SCOPED_TRACE(year);
    long const first = referenceJulianDay(1, 1, year);
    int const count = static_cast<int>(DDate::daysInYear(year));
    for (int k = 1; k <= count; ++k) {
      DDate const date(year, k);
      ASSERT_EQ(first + k - 1, date.julianDay()) << k;
      // dayOfYear() counts September 1752's missing days; ordinals do not.
      bool const afterReform = year == 1752 && k >= 247;
      ASSERT_EQ(afterReform ? k + 11 : k, date.dayOfYear()) << k;
    }
  }
  DDate const reformed(1752, 247);
  EXPECT_EQ(DDate(DDate::September, 14, 1752), reformed);
  EXPECT_EQ(258, reformed.dayOfYear());
  EXPECT_EQ(DDate(DDate::September, 2, 1752), DDate(1752, 246));
  // Out-of-range ordinals stay in January with the large day count.
  EXPECT_EQ(DDate(DDate::January, 400, 2001), DDate(2001, 400));
  EXPECT_EQ(DDate(DDate::February, 4, 2002), DDate(2001, 400));
  EXPECT_EQ(DDate(DDate::December, 31, 2000), DDate(2001, 0));
}

//===--- Comparison and day arithmetic ------------------------------------===//

TEST(DDateArithmetic, DaysAcrossTheReform) {
  DDate const second(DDate::September, 2, 1752);
  DDate const fourteenth(DDate::September, 14, 1752);
  EXPECT_EQ(fourteenth, second + 1);
  EXPECT_EQ(fourteenth, 1 + second);
  EXPECT_EQ(second, fourteenth - 1);
  EXPECT_EQ(1, fourteenth - second);
  EXPECT_EQ(-1, second - fourteenth);
  EXPECT_TRUE(second < fourteenth);
  EXPECT_TRUE(second <= fourteenth);
  EXPECT_TRUE(fourteenth > second);
  EXPECT_TRUE(fourteenth >= second);
  EXPECT_TRUE(second != fourteenth);
  EXPECT_FALSE(second == fourteenth);
  EXPECT_FALSE(second >= fourteenth);
  DDate moving = second;
  moving += 366;
  EXPECT_EQ(DDate(DDate::September, 14, 1753), moving);
  moving -= 366;
  EXPECT_EQ(second, moving);
  EXPECT_EQ(DDate(DDate::January, 1, 1), DDate(DDate::December, 31, -1) + 1);
  EXPECT_EQ(2361222, DDate::fromJulianDay(2361222).julianDay());
  EXPECT_EQ(2451545 - 2361222,
            DDate(DDate::January, 1, 2000) - DDate(DDate::September, 14, 1752));
}

TEST(DDateArithmetic, TodayIsTheLocalDate) {
  auto local = [] {
    std::time_t const now = std::time(nullptr);
    std::tm t{};
    localtime_r(&now, &t);
    return DDate(month(t.tm_mon + 1), t.tm_mday, t.tm_year + 1900);
  };
  DDate const before = local();
  DDate const today = DDate::today();
  DDate const after = local();
  EXPECT_TRUE(today == before || today == after);
}

//===--- Packed record ----------------------------------------------------===//

TEST(DDateRecord, PacksDayMonthYear) {
  DCnrDate const record = DDate(DDate::March, 5, 2001).asICnrDate();
  unsigned char raw[4];
  std::memcpy(raw, &record, sizeof raw);
  EXPECT_EQ(5, raw[0]);
  EXPECT_EQ(3, raw[1]);
  unsigned short year;
  std::memcpy(&year, raw + 2, sizeof year);
  EXPECT_EQ(2001, year);
  std::uint32_t word;
  std::memcpy(&word, &record, sizeof word);
  EXPECT_EQ(5u | 3u << 8 | 2001u << 16, word); // little-endian: day lowest

  struct Case {
    int month, day, year;
  };
  Case const cases[] = {{9, 14, 1752}, {9, 2, 1752},  {12, 31, 9999},
                        {1, 1, 1},     {2, 29, 2000}, {3, 1, 1900}};
  for (auto const& c : cases) {
    SCOPED_TRACE(c.year);
    DDate const date(month(c.month), c.day, c.year);
    DCnrDate const r = date.asICnrDate();
    EXPECT_EQ(c.day, r.day);
    EXPECT_EQ(c.month, r.month);
    EXPECT_EQ(c.year, r.year);
    EXPECT_EQ(date, DDate(r));
  }
  // The year field is unsigned: 1 BC comes back as 65535.
  DCnrDate const bc = DDate(DDate::June, 1, -1).asICnrDate();
  EXPECT_EQ(65535, bc.year);
  EXPECT_EQ(65535, DDate(bc).year());
  // A month byte outside 1-12 is taken as computed, without validation.
  DCnrDate const thirteen = {1, 13, 2001};
  EXPECT_EQ(DDate(DDate::January, 1, 2002), DDate(thirteen));
}

//===--- Names and formats (C locale) -------------------------------------===//

TEST(DDateFormat, MonthAndDayNames) {
  char const* const months[] = {
      "January", "February", "March",     "April",   "May",      "June",
      "July",    "August",   "September", "October", "November", "December"};
  for (int m = 1; m <= 12; ++m)
    EXPECT_EQ(months[m - 1], bytes(DDate::monthName(month(m))));
  char const* const days[] = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                              "Friday", "Saturday", "Sunday"};
  for (int w = 0; w < 7; ++w)
    EXPECT_EQ(days[w], bytes(DDate::dayName(static_cast<DDate::DayOfWeek>(w))));
  DDate const date(DDate::September, 14, 1752);
  EXPECT_EQ("September", bytes(date.monthName()));
  EXPECT_EQ("Thursday", bytes(date.dayName()));
  EXPECT_EQ("?", bytes(DDate::monthName(month(0))));
}

TEST(DDateFormat, StrftimeFormats) {
  struct Case {
    int month, day, year;
    char const* format;
    char const* want;
  };
  Case const cases[] = {
      {3, 5, 2001, "%d.%m.%Y", "05.03.2001"},
      {3, 5, 2001, "%A %B %e", "Monday March  5"},
      {12, 31, 2000, "%j %a", "366 Sun"},
      {3, 5, 2001, "%y", "01"},
      {3, 5, 2001, "no fields", "no fields"},
      // Below 1900 a "y" anywhere stores the year itself, so "%y" prints
      // its last two digits and "%Y" the year plus 1900.
      {7, 4, 1776, "%d.%m.%y", "04.07.76"},
      {7, 4, 1776, "%Y", "1776"},
      {7, 4, 1776, "%y %Y", "76 3676"},
      {7, 4, 1776, "%Y day", "3676 day"},
      {7, 4, 1899, "%y", "99"},
      {7, 4, 1900, "%y %Y", "00 1900"},
      {1, 1, 1, "%y", "01"},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.format);
    EXPECT_EQ(c.want,
              bytes(DDate(month(c.month), c.day, c.year).asString(c.format)));
  }
}

TEST(DDateFormat, LocaleDateFormatAndStream) {
  DDate const date(DDate::March, 5, 2001);
  EXPECT_EQ("03/05/01", bytes(date.asString()));
  EXPECT_EQ("03/05/01", bytes(date.asString(DDate::localeYear)));
  EXPECT_EQ("03/05/2001", bytes(date.asString(DDate::fourDigitYear)));
  EXPECT_EQ("03/05/01",
            bytes(date.asString(static_cast<DDate::YearFormat>(7))));
  DDate const old(DDate::July, 4, 1776);
  EXPECT_EQ("07/04/76", bytes(old.asString()));
  EXPECT_EQ("07/04/1776", bytes(old.asString(DDate::fourDigitYear)));
  std::ostringstream out;
  out << date << '|' << old;
  EXPECT_EQ("03/05/01|07/04/76", out.str());
}

TEST(DDateFormat, LongOutputDoublesTheWorkString) {
  // 30 bytes of format give a work string of 33; the output is 120 bytes.
  std::string format, want;
  for (int i = 0; i < 15; ++i) {
    format += "%B";
    want += "December";
  }
  DDate const date(DDate::December, 24, 2000);
  EXPECT_EQ(want, bytes(date.asString(format.c_str())));
}

// Normalisation goes through mktime in the local zone, so in a zone with
// daylight saving, or one that skipped a day (Samoa lost 30 December 2011),
// the output follows what mktime makes of the zeroed record; the reference
// is computed here with mktime and strftime directly.
TEST(DDateFormat, FollowsMktimeInTheLocalZone) {
  struct Case {
    char const* zone;
    int month, day, year;
  };
  Case const cases[] = {
      {"UTC0", 12, 24, 2001},
      {"XST-10XDT,M10.1.0,M4.1.0/3", 12, 24, 2001},
      {"Pacific/Apia", 12, 30, 2011},
  };
  char const* saved = std::getenv("TZ");
  std::string const savedValue = saved ? saved : "";
  for (auto const& c : cases) {
    SCOPED_TRACE(c.zone);
    setenv("TZ", c.zone, 1);
    tzset();
    std::tm t;
    std::memset(&t, 0, sizeof t);
    t.tm_mday = c.day;
    t.tm_mon = c.month - 1;
    t.tm_year = c.year - 1900;
    std::mktime(&t);
    char want[64];
    std::strftime(want, sizeof want, "%d.%m.%Y %H:%M %j", &t);
    DDate const date(month(c.month), c.day, c.year);
    EXPECT_EQ(want, bytes(date.asString("%d.%m.%Y %H:%M %j")));
  }
  if (saved)
    setenv("TZ", savedValue.c_str(), 1);
  else
    unsetenv("TZ");
  tzset();
}

// An empty output raises the 1010 overflow at once, before any allocation
// of a mebibyte or more (they fail in the child); "%p" is empty in
// de_DE.UTF-8, where "%p%d" still gives the day.
TEST(DDateFormat, EmptyOutputRaisesTheOverflowAtOnce) {
  struct Case {
    char const *locale, *format, *want;
  };
  constexpr Case cases[] = {{"C", nullptr, "overflow"},
                            {"C", "", "overflow"},
                            {"de_DE.UTF-8", "%p", "overflow"},
                            {"de_DE.UTF-8", "%p%d", "[05]"}};
  bool missing = false;
  for (Case const& c : cases) {
    std::string const got = dtest::formatInChild(c.locale, [&c] {
      return DDate(DDate::March, 5, 2001).asString(c.format);
    });
    missing = missing || got == "skip";
    if (got != "skip") {
      EXPECT_EQ(c.want, got) << c.locale << " " << (c.format ? c.format : "");
    }
  }
  if (missing)
    GTEST_SKIP() << "de_DE.UTF-8 could not be built: its rows skipped";
}

//===--- Multibyte locales ------------------------------------------------===//

// Names come whole from the locale (checked against nl_langinfo, not
// strftime), and the locale's date format keeps its multibyte text.
TEST(MbDDateFormat, NamesAndDateFormatOfTheLocale) {
  if (!dtest::localeIs("UTF-8") && !dtest::localeIs("eucJP") &&
      !dtest::localeIs("gb18030"))
    GTEST_SKIP() << "needs one of the multibyte test locales";
  for (int m = 1; m <= 12; ++m)
    EXPECT_EQ(nl_langinfo(static_cast<nl_item>(MON_1 + m - 1)),
              bytes(DDate::monthName(month(m))));
  for (int w = 0; w < 7; ++w)
    EXPECT_EQ(nl_langinfo(static_cast<nl_item>(DAY_1 + (w + 1) % 7)),
              bytes(DDate::dayName(static_cast<DDate::DayOfWeek>(w))));
  DDate const date(DDate::March, 5, 2001);
  std::string const full = bytes(date.asString(DDate::fourDigitYear));
  EXPECT_NE(std::string::npos, full.find("2001")) << full;
  EXPECT_NE(std::string::npos, full.find("05")) << full;
  EXPECT_EQ(nl_langinfo(MON_3), bytes(date.monthName()));
}
