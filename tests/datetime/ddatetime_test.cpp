// Dates and times: names, formats and their quirks. Day numbers, fields,
// lengths, the records and "%Y %m %d" texts: fuzz/fuzz_datetime.cpp.
#include "ddate.hpp"
#include "dtest_child.hpp"
#include "dtime.hpp"

#include <cstddef>
#include <ctime>
#include <gtest/gtest.h>
#include <sstream>
#include <tuple>

namespace {

std::string str(DString const& s) {
  return std::string(static_cast<char const*>(s), s.length());
}

DDate date(int m, int d, int y) {
  return DDate(static_cast<DDate::Month>(m), d, y);
}

} // namespace

// The records are the packed layouts programs exchange.
static_assert(offsetof(DCnrDate, month) == 1 && offsetof(DCnrDate, year) == 2 &&
              offsetof(DCnrTime, minutes) == 1 &&
              offsetof(DCnrTime, seconds) == 2 && sizeof(DCnrTime) == 4);

TEST(DDateFormat, NamesAndFormats) {
  EXPECT_EQ(0, DDate().julianDay());
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
  std::string months, decembers, times, clock; // formats of 30 bytes
  for (int i = 0; i < 15; ++i)
    months += "%B", decembers += "December", times += "%T", clock += "12:34:56";
  std::pair<std::string, std::string> const rows[] = {
      {str(d.dayName()) + " " + str(d.monthName()), "Monday March"},
      {str(d.asString("%A %B %e|%j %a|no fields")),
       "Monday March  5|064 Mon|no fields"},
      // Below 1900 a "y" anywhere stores the year itself in tm_year.
      {str(old.asString("%Y")) + str(old.asString("%Y day")), "17763676 day"},
      {str(date(7, 4, 1900).asString("%y %Y")), "00 1900"},
      {str(date(12, 24, 2000).asString(months.c_str())), decembers},
      {str(d.asString(DDate::fourDigitYear)), "03/05/2001"},
      {str(old.asString(DDate::fourDigitYear)), "07/04/1776"},
      {out.str(), "03/05/01|07/04/76|01:02:03|23:00:00"},
      {str(DTime(0, 0, -1).asString("%X|%I %p")), "23:59:59|11 PM"},
      {str(DTime().asString("%I %p|x")), "12 AM|x"},
      // The date fields of a time are those of the zero struct tm.
      {str(DTime(1, 1, 1).asString("%Y-%m-%d %a %j")), "1899-12-31 Sun 365"},
      {str(DTime(12, 34, 56).asString(times.c_str())), clock},
  };
  for (auto const& r : rows)
    EXPECT_EQ(r.second, r.first) << &r - rows;
}

// An empty output (a null format is "") raises 1010 at once, in a child where
// allocations of a MiB or more fail; "%p" is empty in de_DE.UTF-8.
TEST(DDateFormat, EmptyOutputRaisesTheOverflowAtOnce) {
  std::tuple<char const*, char const*, char const*> const rows[] = {
      {"C", nullptr, "overflow"},
      {"C", "%p", "[AM]"},
      {"de_DE.UTF-8", "%p", "overflow"},
      {"de_DE.UTF-8", "%p ", "[ ]"}};
  for (auto const& [locale, format, want] : rows) {
    dtest::ChildResult const child = dtest::runInChild([&] {
      ::setenv("LOCPATH", ZYN_TEST_LOCALE_DIR, 1);
      if (std::setlocale(LC_TIME, locale) == nullptr)
        return 3;
      dtest::failAllocationsFrom(std::size_t{1} << 20);
      for (int k = 0; k < 2; ++k)
        try {
          DString const s =
              k ? DTime().asString(format) : date(3, 5, 2001).asString(format);
          std::printf("child: [%s]\n", static_cast<char const*>(s));
        } catch (DInvalidRequest const& e) {
          std::printf("child: %s\n", e.errorId() == 1010 ? "overflow" : "?");
        }
      return 0;
    });
    if (child.exitCode == 3)
      GTEST_SKIP() << locale << " could not be built";
    EXPECT_EQ(std::vector<std::string>(2, want),
              dtest::linesWith(child.output, "child: "))
        << (format ? format : "null");
  }
}

TEST(DDateClock, TodayNowAndFormatsAreLocal) {
  std::time_t const now = std::time(nullptr);
  std::tm t{};
  localtime_r(&now, &t);
  long const before = t.tm_hour * 3600L + t.tm_min * 60 + t.tm_sec;
  DDate const localDay = date(t.tm_mon + 1, t.tm_mday, t.tm_year + 1900);
  DDate const today = DDate::today();
  EXPECT_TRUE(today == localDay || today == localDay + 1);
  EXPECT_LT((DTime::now().seconds() - before + 86400) % 86400, 60);
  // Fields are normalised by mktime in the local zone, here in summer time.
  setenv("TZ", "XST-10XDT,M10.1.0,M4.1.0/3", 1);
  tzset();
  t = std::tm{};
  t.tm_min = 30;
  std::mktime(&t);
  EXPECT_EQ(t.tm_hour, std::stoi(str(DTime(0, 30, 0).asString("%H"))));
  EXPECT_EQ(t.tm_hour, std::stoi(str(date(12, 30, 2011).asString("%H"))));
  setenv("TZ", "UTC0", 1); // as the test program runs
  tzset();
}
