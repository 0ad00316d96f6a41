// Dates and times: the quirks of the calendar and of the formats, one row
// each. Day numbers, fields, ordinals, lengths, arithmetic and the records
// are checked against a plain calendar model by fuzz/fuzz_datetime.cpp on
// generated inputs in every test run.
#include "ddate.hpp"
#include "dtest_child.hpp"
#include "dtime.hpp"

#include <cstring>
#include <ctime>
#include <gtest/gtest.h>
#include <langinfo.h>
#include <sstream>
#include <string>

namespace {

std::string str(DString const& s) {
  return std::string(static_cast<char const*>(s), s.length());
}

DDate::Month month(int m) {
  return static_cast<DDate::Month>(m);
}

DDate date(int m, int d, int y) {
  return DDate(month(m), d, y);
}

// The time zone \p zone for the scope.
struct Zone {
  explicit Zone(char const* zone) : saved(std::getenv("TZ")) { // set by main
    setenv("TZ", zone, 1);
    tzset();
  }
  ~Zone() {
    setenv("TZ", saved.c_str(), 1);
    tzset();
  }
  std::string saved;
};

/// \p piece \p n times over.
std::string repeated(std::string const& piece, int n) {
  std::string out;
  while (n-- > 0)
    out += piece;
  return out;
}

} // namespace

TEST(DDateCalendar, ReformAndDayZero) {
  // September 1752: the eleven missing days collapse onto the 2nd.
  for (int d = 1; d <= 30; ++d) {
    bool const missing = d >= 3 && d <= 13;
    long const want = d <= 2 ? 2361219 + d : missing ? 2361221 : 2361208 + d;
    EXPECT_EQ(want, date(9, d, 1752).julianDay()) << d;
    EXPECT_EQ(!missing, DDate::isValid(DDate::September, d, 1752)) << d;
  }
  struct Row {
    int month, day, year;
    long julianDay;
    DDate::DayOfWeek weekday;
  };
  Row const rows[] = {{1, 1, -4713, 0, DDate::Monday},
                      {12, 31, -4714, -1, DDate::Sunday},
                      {12, 31, -1, 1721423, DDate::Friday},
                      {1, 1, 1, 1721424, DDate::Saturday},
                      {10, 15, 1582, 2299171, DDate::Monday}, // still Julian
                      {9, 2, 1752, 2361221, DDate::Wednesday},
                      {9, 14, 1752, 2361222, DDate::Thursday},
                      {1, 1, 2000, 2451545, DDate::Saturday}};
  for (Row const& r : rows) {
    DDate const d = date(r.month, r.day, r.year);
    EXPECT_EQ(r.julianDay, d.julianDay()) << r.year;
    EXPECT_EQ(r.weekday, d.dayOfWeek()) << r.year;
    EXPECT_EQ(r.year, d.year());
  }
  EXPECT_EQ(0, DDate().julianDay());
  EXPECT_EQ(258, DDate(1752, 247).dayOfYear()); // counts the missing days
  EXPECT_EQ(355u, DDate::daysInYear(1752));
  EXPECT_EQ(0u, DDate::daysInMonth(month(0), 2001));
  EXPECT_EQ(0u, DDate::daysInMonth(month(13), 2001));
  EXPECT_FALSE(DDate::isValid(DDate::January, 1, 0));
  EXPECT_FALSE(DDate::isValid(month(13), 1, 2001));
  EXPECT_FALSE(DDate::isValid(month(0), 1, 2001));
  // Far years read back: before 4713 BC by floor division, up to AD 148098.
  for (int year : {-2000000, -100001, 148098})
    EXPECT_EQ(year, date(12, 31, year).year());
}

// Triples that name no date are stored as computed.
TEST(DDateCalendar, InvalidTriplesRunOn) {
  struct Row {
    DDate got, want;
  };
  Row const rows[] = {
      {date(2, 29, 2001), date(3, 1, 2001)},
      {date(13, 5, 2001), date(1, 5, 2002)},
      {date(5, 0, 2001), date(4, 30, 2001)},
      {date(0, 1, 2001), date(1, 1, 2001)},
      {DDate(2001, 400), date(2, 4, 2002)}, // ordinals too
      {DDate(2001, 0), date(12, 31, 2000)},
      {DDate(DCnrDate{1, 13, 2001}), date(1, 1, 2002)},
  };
  for (Row const& r : rows)
    EXPECT_EQ(r.want.julianDay(), r.got.julianDay());
}

TEST(DDateRecord, PacksDayMonthYearLittleEndian) {
  DCnrDate const record = date(3, 5, 2001).asICnrDate();
  std::uint32_t word;
  std::memcpy(&word, &record, sizeof word);
  EXPECT_EQ(5u | 3u << 8 | 2001u << 16, word);
  // The year field is unsigned: 1 BC comes back as 65535.
  DCnrDate const bc = date(6, 1, -1).asICnrDate();
  EXPECT_EQ(65535, bc.year);
  EXPECT_EQ(65535, DDate(bc).year());

  DCnrTime const time = DTime(1, 2, 3).asICnrTime();
  std::memcpy(&word, &time, sizeof word);
  EXPECT_EQ(1u | 2u << 8 | 3u << 16, word); // hours lowest, fourth byte 0
  DCnrTime raw;
  std::memset(&raw, 0xAB, sizeof raw); // the spare byte does not count
  raw.hours = raw.minutes = raw.seconds = 255;
  EXPECT_EQ(69555, DTime(raw).seconds()); // 10 days + 19:19:15
}

TEST(DDateFormat, NamesAndFormats) {
  char const* const months[] = {
      "January", "February", "March",     "April",   "May",      "June",
      "July",    "August",   "September", "October", "November", "December"};
  for (int m = 1; m <= 12; ++m)
    EXPECT_EQ(months[m - 1], str(DDate::monthName(month(m))));
  char const* const days[] = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                              "Friday", "Saturday", "Sunday"};
  for (int w = 0; w < 7; ++w)
    EXPECT_EQ(days[w], str(DDate::dayName(static_cast<DDate::DayOfWeek>(w))));
  EXPECT_EQ("Thursday", str(date(9, 14, 1752).dayName()));
  EXPECT_EQ("September", str(date(9, 14, 1752).monthName()));
  EXPECT_EQ("?", str(DDate::monthName(month(0))));

  struct Row {
    DDate date;
    char const *format, *want;
  };
  // 30 bytes of format, 120 of output.
  std::string const longFormat = repeated("%B", 15),
                    longText = repeated("December", 15);
  Row const rows[] = {
      {date(3, 5, 2001), "%d.%m.%Y", "05.03.2001"},
      {date(3, 5, 2001), "%A %B %e", "Monday March  5"},
      {date(12, 31, 2000), "%j %a", "366 Sun"},
      {date(3, 5, 2001), "%y", "01"},
      {date(3, 5, 2001), "no fields", "no fields"},
      // Below 1900 a "y" anywhere stores the year itself, so "%y" prints
      // its last two digits and "%Y" the year plus 1900.
      {date(7, 4, 1776), "%d.%m.%y", "04.07.76"},
      {date(7, 4, 1776), "%Y", "1776"},
      {date(7, 4, 1776), "%y %Y", "76 3676"},
      {date(7, 4, 1776), "%Y day", "3676 day"},
      {date(7, 4, 1899), "%y", "99"},
      {date(7, 4, 1900), "%y %Y", "00 1900"},
      {date(1, 1, 1), "%y", "01"},
      {date(12, 24, 2000), longFormat.c_str(), longText.c_str()},
  };
  for (Row const& r : rows)
    EXPECT_EQ(r.want, str(r.date.asString(r.format))) << r.format;
  DDate const d = date(3, 5, 2001), old = date(7, 4, 1776);
  EXPECT_EQ("03/05/01", str(d.asString(DDate::localeYear)));
  EXPECT_EQ("03/05/2001", str(d.asString(DDate::fourDigitYear)));
  EXPECT_EQ("03/05/01", str(d.asString(static_cast<DDate::YearFormat>(7))));
  EXPECT_EQ("07/04/1776", str(old.asString(DDate::fourDigitYear)));
  std::ostringstream out;
  out << d << '|' << old;
  EXPECT_EQ("03/05/01|07/04/76", out.str());
}

TEST(DTimeFormat, Formats) {
  struct Row {
    DTime time;
    char const *format, *want;
  };
  // 20 bytes of format, 80 of output.
  std::string const longFormat = repeated("%T", 10),
                    longText = repeated("12:34:56", 10);
  Row const rows[] = {
      {DTime(1, 1, 1), "%H:%M:%S", "01:01:01"},
      {DTime(0, 0, -1), "%X", "23:59:59"},
      {DTime(), "%I %p", "12 AM"},
      {DTime(13, 0, 0), "%I %p", "01 PM"},
      {DTime(1, 1, 1), "x", "x"},
      // The date fields are those of the zero struct tm, normalised.
      {DTime(1, 1, 1), "%Y-%m-%d %a %j", "1899-12-31 Sun 365"},
      {DTime(12, 34, 56), longFormat.c_str(), longText.c_str()},
  };
  for (Row const& r : rows)
    EXPECT_EQ(r.want, str(r.time.asString(r.format))) << r.format;
  std::ostringstream out;
  out << DTime(1, 2, 3) << '|' << DTime(23, 0, 0);
  EXPECT_EQ("01:02:03|23:00:00", out.str());
}

// The fields are normalised by mktime in the local zone, so in a zone with
// daylight saving, or one that skipped a day (Samoa lost 30 December 2011),
// the text follows what mktime makes of them.
TEST(DDateFormat, FollowsMktimeInTheLocalZone) {
  for (char const* zone :
       {"UTC0", "XST-10XDT,M10.1.0,M4.1.0/3", "Pacific/Apia"}) {
    Zone const inZone(zone);
    std::tm t{};
    t.tm_mday = 30;
    t.tm_mon = 11;
    t.tm_year = 2011 - 1900;
    std::mktime(&t);
    char want[64];
    std::strftime(want, sizeof want, "%d.%m.%Y %H:%M %j", &t);
    EXPECT_EQ(want, str(date(12, 30, 2011).asString("%d.%m.%Y %H:%M %j")))
        << zone;
    t = std::tm{};
    t.tm_min = 30;
    std::mktime(&t);
    std::strftime(want, sizeof want, "%H:%M %d", &t);
    EXPECT_EQ(want, str(DTime(0, 30, 0).asString("%H:%M %d"))) << zone;
  }
}

// An empty output (a null format counts as "") raises the 1010 overflow at
// once, before any allocation of a mebibyte or more (they fail in the
// child); "%p" is empty in de_DE.UTF-8.
TEST(DDateFormat, EmptyOutputRaisesTheOverflowAtOnce) {
  struct Row {
    char const *locale, *format, *wantDate, *wantTime;
  };
  constexpr Row rows[] = {
      {"C", nullptr, "overflow", "overflow"},
      {"C", "", "overflow", "overflow"},
      {"C", "%p", "[AM]", "[AM]"},
      {"de_DE.UTF-8", "%p", "overflow", "overflow"},
      {"de_DE.UTF-8", "%p%p", "overflow", "overflow"},
      {"de_DE.UTF-8", "%p%H", "[00]", "[09]"},
      {"de_DE.UTF-8", "%p ", "[ ]", "[ ]"},
  };
  for (Row const& r : rows) {
    std::string const gotDate = dtest::formatInChild(
        r.locale, [&r] { return date(3, 5, 2001).asString(r.format); });
    std::string const gotTime = dtest::formatInChild(
        r.locale, [&r] { return DTime(9, 30, 0).asString(r.format); });
    if (gotDate == "skip")
      GTEST_SKIP() << r.locale << " could not be built";
    char const* const format = r.format ? r.format : "(null)";
    EXPECT_EQ(r.wantDate, gotDate) << r.locale << " " << format;
    EXPECT_EQ(r.wantTime, gotTime) << r.locale << " " << format;
  }
}

TEST(DDateClock, TodayAndNowAreLocal) {
  std::time_t const now = std::time(nullptr);
  std::tm t{};
  localtime_r(&now, &t);
  long const before = t.tm_hour * 3600L + t.tm_min * 60 + t.tm_sec;
  DDate const localDay = date(t.tm_mon + 1, t.tm_mday, t.tm_year + 1900);
  DDate const today = DDate::today();
  long const seconds = DTime::now().seconds();
  EXPECT_TRUE(today == localDay || today == localDay + 1);
  EXPECT_TRUE(seconds >= before ? seconds - before < 60
                                : seconds + 86400 - before < 60);
}

// Names come whole from the locale and the date format keeps its
// multibyte text.
TEST(MbDDateFormat, NamesAndDateFormatOfTheLocale) {
  for (int m = 1; m <= 12; ++m)
    EXPECT_EQ(nl_langinfo(static_cast<nl_item>(MON_1 + m - 1)),
              str(DDate::monthName(month(m))));
  for (int w = 0; w < 7; ++w)
    EXPECT_EQ(nl_langinfo(static_cast<nl_item>(DAY_1 + (w + 1) % 7)),
              str(DDate::dayName(static_cast<DDate::DayOfWeek>(w))));
  std::string const full = str(date(3, 5, 2001).asString(DDate::fourDigitYear));
  EXPECT_NE(std::string::npos, full.find("2001")) << full;
  EXPECT_NE(std::string::npos, full.find("05")) << full;
}
