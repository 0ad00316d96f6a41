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

std::string repeated(std::string const& piece, int n) {
  std::string out;
  while (n-- > 0)
    out += piece;
  return out;
}

// The text \p format makes in a child whose time formats are those of
// \p locale and where every allocation of a mebibyte or more fails: "[text]",
// "overflow" for the 1010 overflow, "skip" without the locale.
std::string formatInChild(char const* locale,
                          std::function<DString()> const& format) {
  dtest::ChildResult const r = dtest::runInChild([&] {
    ::setenv("LOCPATH", ZYN_TEST_LOCALE_DIR, 1);
    if (std::setlocale(LC_TIME, locale) == nullptr) {
      std::printf("child: skip\n");
      return 0;
    }
    dtest::failAllocationsFrom(std::size_t{1} << 20);
    try {
      std::printf("child: [%s]\n", static_cast<char const*>(format()));
    } catch (DInvalidRequest const& e) {
      std::printf("child: %s\n", e.errorId() == 1010 ? "overflow" : "other");
    }
    return 0;
  });
  auto const lines = dtest::linesWith(r.output, "child: ");
  return r.exitCode == 0 && lines.size() == 1 ? lines[0] : "exit: " + r.output;
}

} // namespace

TEST(DDateCalendar, BoundariesAndInvalidTriples) {
  struct Row {
    DDate got;
    long julianDay;
    int weekday; // -1: not checked
  };
  Row const rows[] = {
      {date(1, 1, -4713), 0, DDate::Monday},
      {DDate(), 0, DDate::Monday},
      {date(12, 31, -4714), -1, DDate::Sunday},
      {date(12, 31, -1), 1721423, DDate::Friday},
      {date(1, 1, 1), 1721424, DDate::Saturday},
      {date(10, 15, 1582), 2299171, DDate::Monday}, // still Julian
      {date(9, 2, 1752), 2361221, DDate::Wednesday},
      {date(9, 14, 1752), 2361222, DDate::Thursday},
      // Triples that name no date are stored as computed: the eleven
      // missing days of September 1752 collapse onto the 2nd.
      {date(9, 3, 1752), 2361221, -1},
      {date(9, 13, 1752), 2361221, -1},
      {date(2, 29, 2001), date(3, 1, 2001).julianDay(), -1},
      {date(13, 5, 2001), date(1, 5, 2002).julianDay(), -1},
      {date(5, 0, 2001), date(4, 30, 2001).julianDay(), -1},
      {date(0, 1, 2001), date(1, 1, 2001).julianDay(), -1},
      {DDate(2001, 400), date(2, 4, 2002).julianDay(), -1},
      {DDate(2001, 0), date(12, 31, 2000).julianDay(), -1},
      {DDate(DCnrDate{1, 13, 2001}), date(1, 1, 2002).julianDay(), -1},
  };
  for (Row const& r : rows) {
    EXPECT_EQ(r.julianDay, r.got.julianDay()) << &r - rows;
    if (r.weekday >= 0) {
      EXPECT_EQ(r.weekday, r.got.dayOfWeek()) << &r - rows;
    }
  }
  EXPECT_EQ(0u, DDate::daysInMonth(month(0), 2001));
  EXPECT_EQ(0u, DDate::daysInMonth(month(13), 2001));
  // Far years read back: before 4713 BC by floor division, up to AD 148098.
  for (int year : {-2000000, -100001, 148098})
    EXPECT_EQ(year, date(12, 31, year).year());
}

TEST(DDateRecord, PacksLittleEndian) {
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
  std::string months, days;
  for (int m = 0; m <= 12; ++m)
    months += str(DDate::monthName(month(m))) + " ";
  for (int w = 0; w < 7; ++w)
    days += str(DDate::dayName(static_cast<DDate::DayOfWeek>(w))) + " ";
  EXPECT_EQ("? January February March April May June July August September "
            "October November December ",
            months);
  EXPECT_EQ("Monday Tuesday Wednesday Thursday Friday Saturday Sunday ", days);
  EXPECT_EQ("Thursday September", str(date(9, 14, 1752).dayName()) + " " +
                                      str(date(9, 14, 1752).monthName()));
  struct Row {
    std::string got, want;
  };
  DDate const d = date(3, 5, 2001), old = date(7, 4, 1776);
  std::ostringstream out;
  out << d << '|' << old << '|' << DTime(1, 2, 3) << '|' << DTime(23, 0, 0);
  Row const rows[] = {
      {str(d.asString("%d.%m.%Y")), "05.03.2001"},
      {str(d.asString("%A %B %e")), "Monday March  5"},
      {str(date(12, 31, 2000).asString("%j %a")), "366 Sun"},
      {str(d.asString("%y")), "01"},
      {str(d.asString("no fields")), "no fields"},
      // Below 1900 a "y" anywhere stores the year itself, so "%y" prints
      // its last two digits and "%Y" the year plus 1900.
      {str(old.asString("%d.%m.%y")), "04.07.76"},
      {str(old.asString("%Y")), "1776"},
      {str(old.asString("%y %Y")), "76 3676"},
      {str(old.asString("%Y day")), "3676 day"},
      {str(date(7, 4, 1899).asString("%y")), "99"},
      {str(date(7, 4, 1900).asString("%y %Y")), "00 1900"},
      {str(date(1, 1, 1).asString("%y")), "01"},
      // 30 bytes of format, 120 of output.
      {str(date(12, 24, 2000).asString(repeated("%B", 15).c_str())),
       repeated("December", 15)},
      {str(d.asString(DDate::localeYear)), "03/05/01"},
      {str(d.asString(DDate::fourDigitYear)), "03/05/2001"},
      {str(d.asString(static_cast<DDate::YearFormat>(7))), "03/05/01"},
      {str(old.asString(DDate::fourDigitYear)), "07/04/1776"},
      {out.str(), "03/05/01|07/04/76|01:02:03|23:00:00"},
      {str(DTime(1, 1, 1).asString("%H:%M:%S")), "01:01:01"},
      {str(DTime(0, 0, -1).asString("%X")), "23:59:59"},
      {str(DTime().asString("%I %p")), "12 AM"},
      {str(DTime(13, 0, 0).asString("%I %p")), "01 PM"},
      {str(DTime(1, 1, 1).asString("x")), "x"},
      // The date fields of a time are those of the zero struct tm.
      {str(DTime(1, 1, 1).asString("%Y-%m-%d %a %j")), "1899-12-31 Sun 365"},
      {str(DTime(12, 34, 56).asString(repeated("%T", 10).c_str())),
       repeated("12:34:56", 10)},
  };
  for (Row const& r : rows)
    EXPECT_EQ(r.want, r.got) << &r - rows;
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
// once, before any allocation of a mebibyte or more; "%p" is empty in
// de_DE.UTF-8.
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
    std::string const gotDate = formatInChild(
        r.locale, [&r] { return date(3, 5, 2001).asString(r.format); });
    std::string const gotTime = formatInChild(
        r.locale, [&r] { return DTime(9, 30, 0).asString(r.format); });
    if (gotDate == "skip")
      GTEST_SKIP() << r.locale << " could not be built";
    EXPECT_EQ(r.wantDate, gotDate) << &r - rows;
    EXPECT_EQ(r.wantTime, gotTime) << &r - rows;
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
  EXPECT_LT((seconds - before + 86400) % 86400, 60);
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
