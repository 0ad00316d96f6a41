// Dates and times: the names, the formats and their quirks, one row each.
// Day numbers, fields, ordinals, lengths, triples that name no date,
// arithmetic, the records and the "%y" year are checked against a plain
// calendar model by fuzz/fuzz_datetime.cpp on generated inputs in every
// test run.
#include "ddate.hpp"
#include "dtest_child.hpp"
#include "dtime.hpp"

#include <cstddef>
#include <ctime>
#include <gtest/gtest.h>
#include <langinfo.h>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string str(DString const& s) {
  return std::string(static_cast<char const*>(s), s.length());
}

DDate date(int m, int d, int y) {
  return DDate(static_cast<DDate::Month>(m), d, y);
}

std::string repeated(std::string const& piece, int n) {
  std::string out;
  while (n-- > 0)
    out += piece;
  return out;
}

} // namespace

// The records are the packed layouts programs exchange.
static_assert(offsetof(DCnrDate, day) == 0 && offsetof(DCnrDate, month) == 1 &&
              offsetof(DCnrDate, year) == 2 && sizeof(DCnrDate) == 4);
static_assert(offsetof(DCnrTime, hours) == 0 &&
              offsetof(DCnrTime, minutes) == 1 &&
              offsetof(DCnrTime, seconds) == 2 && sizeof(DCnrTime) == 4);

TEST(DDateCalendar, DefaultAndFarYears) {
  EXPECT_EQ(0, DDate().julianDay());
  // Far years read back: before 4713 BC by floor division, up to AD 148098.
  for (int year : {-2000000, -100001, 148098})
    EXPECT_EQ(year, date(12, 31, year).year());
}

TEST(DDateFormat, NamesAndFormats) {
  std::string names;
  for (int m = 0; m <= 12; ++m)
    names += str(DDate::monthName(static_cast<DDate::Month>(m))) + " ";
  for (int w = 0; w < 7; ++w)
    names += str(DDate::dayName(static_cast<DDate::DayOfWeek>(w))) + " ";
  EXPECT_EQ("? January February March April May June July August September "
            "October November December Monday Tuesday Wednesday Thursday "
            "Friday Saturday Sunday ",
            names);
  DDate const d = date(3, 5, 2001), old = date(7, 4, 1776);
  std::ostringstream out;
  out << d << '|' << old << '|' << DTime(1, 2, 3) << '|' << DTime(23, 0, 0);
  std::pair<std::string, std::string> const rows[] = {
      {str(d.dayName()) + " " + str(d.monthName()), "Monday March"},
      {str(d.asString("%A %B %e")), "Monday March  5"},
      {str(date(12, 31, 2000).asString("%j %a")), "366 Sun"},
      {str(d.asString("no fields")), "no fields"},
      // Below 1900 a "y" anywhere stores the year itself in tm_year.
      {str(old.asString("%Y")), "1776"},
      {str(old.asString("%Y day")), "3676 day"},
      {str(old.asString("%Y %y")), "3676 76"},
      {str(date(7, 4, 1899).asString("%Y %y")), "3799 99"},
      {str(date(7, 4, 1900).asString("%y %Y")), "00 1900"},
      // 30 bytes of format, 120 of output.
      {str(date(12, 24, 2000).asString(repeated("%B", 15).c_str())),
       repeated("December", 15)},
      {str(d.asString(DDate::localeYear)), "03/05/01"},
      {str(d.asString(DDate::fourDigitYear)), "03/05/2001"},
      {str(d.asString(static_cast<DDate::YearFormat>(7))), "03/05/01"},
      {str(old.asString(DDate::fourDigitYear)), "07/04/1776"},
      {out.str(), "03/05/01|07/04/76|01:02:03|23:00:00"},
      {str(DTime(0, 0, -1).asString("%X")), "23:59:59"},
      {str(DTime().asString("%I %p")), "12 AM"},
      {str(DTime(13, 0, 0).asString("%I %p")), "01 PM"},
      {str(DTime(1, 1, 1).asString("x")), "x"},
      // The date fields of a time are those of the zero struct tm.
      {str(DTime(1, 1, 1).asString("%Y-%m-%d %a %j")), "1899-12-31 Sun 365"},
      {str(DTime(12, 34, 56).asString(repeated("%T", 10).c_str())),
       repeated("12:34:56", 10)},
  };
  for (auto const& r : rows)
    EXPECT_EQ(r.second, r.first) << &r - rows;
}

// The fields are normalised by mktime in the local zone, so with daylight
// saving, or in a zone that skipped a day (Samoa lost 30 December 2011),
// the text follows what mktime makes of them.
TEST(DDateFormat, FollowsMktimeInTheLocalZone) {
  for (char const* zone :
       {"UTC0", "XST-10XDT,M10.1.0,M4.1.0/3", "Pacific/Apia"}) {
    setenv("TZ", zone, 1);
    tzset();
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
  setenv("TZ", "UTC0", 1); // as the test program runs
  tzset();
}

// An empty output (a null format counts as "") raises the 1010 overflow at
// once, in a child where every allocation of a mebibyte or more fails;
// "%p" is empty in de_DE.UTF-8.
TEST(DDateFormat, EmptyOutputRaisesTheOverflowAtOnce) {
  struct Row {
    char const *locale, *format, *want; // date and time alike
  };
  constexpr Row rows[] = {
      {"C", nullptr, "overflow"},
      {"C", "", "overflow"},
      {"C", "%p", "[AM]"},
      {"de_DE.UTF-8", "%p", "overflow"},
      {"de_DE.UTF-8", "%p%p", "overflow"},
      {"de_DE.UTF-8", "%p%H", "[00]"},
      {"de_DE.UTF-8", "%p ", "[ ]"},
  };
  for (Row const& r : rows) {
    dtest::ChildResult const child = dtest::runInChild([&r] {
      ::setenv("LOCPATH", ZYN_TEST_LOCALE_DIR, 1);
      if (std::setlocale(LC_TIME, r.locale) == nullptr)
        return 3;
      dtest::failAllocationsFrom(std::size_t{1} << 20);
      for (int k = 0; k < 2; ++k)
        try {
          DString const s = k ? DTime().asString(r.format)
                              : date(3, 5, 2001).asString(r.format);
          std::printf("child: [%s]\n", static_cast<char const*>(s));
        } catch (DInvalidRequest const& e) {
          std::printf("child: %s\n", e.errorId() == 1010 ? "overflow" : "?");
        }
      return 0;
    });
    if (child.exitCode == 3)
      GTEST_SKIP() << r.locale << " could not be built";
    std::vector<std::string> const want(2, r.want);
    EXPECT_EQ(want, dtest::linesWith(child.output, "child: ")) << &r - rows;
  }
}

TEST(DDateClock, TodayAndNowAreLocal) {
  std::time_t const now = std::time(nullptr);
  std::tm t{};
  localtime_r(&now, &t);
  long const before = t.tm_hour * 3600L + t.tm_min * 60 + t.tm_sec;
  DDate const localDay = date(t.tm_mon + 1, t.tm_mday, t.tm_year + 1900);
  DDate const today = DDate::today();
  EXPECT_TRUE(today == localDay || today == localDay + 1);
  EXPECT_LT((DTime::now().seconds() - before + 86400) % 86400, 60);
}

// Names come whole from the locale and the date format keeps its
// multibyte text.
TEST(MbDDateFormat, NamesAndDateFormatOfTheLocale) {
  for (int m = 1; m <= 12; ++m)
    EXPECT_EQ(nl_langinfo(static_cast<nl_item>(MON_1 + m - 1)),
              str(DDate::monthName(static_cast<DDate::Month>(m))));
  for (int w = 0; w < 7; ++w)
    EXPECT_EQ(nl_langinfo(static_cast<nl_item>(DAY_1 + (w + 1) % 7)),
              str(DDate::dayName(static_cast<DDate::DayOfWeek>(w))));
  std::string const full = str(date(3, 5, 2001).asString(DDate::fourDigitYear));
  EXPECT_NE(std::string::npos, full.find("2001")) << full;
  EXPECT_NE(std::string::npos, full.find("05")) << full;
}
