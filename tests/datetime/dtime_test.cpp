// Times of day: the record folded modulo one day and packed back, the
// hours/minutes/seconds constructor, comparison, strftime formats in the C
// locale, and the empty-format overflow.
#include "dtime.hpp"

#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using dtest::bytes;

namespace {

DCnrTime record(int h, int m, int s) {
  DCnrTime r;
  std::memset(&r, 0xAB, sizeof r); // the spare byte must not matter
  r.hours = static_cast<unsigned char>(h);
  r.minutes = static_cast<unsigned char>(m);
  r.seconds = static_cast<unsigned char>(s);
  return r;
}

} // namespace

//===--- Record -----------------------------------------------------------===//

TEST(DTimeRecord, FoldsModuloOneDay) {
  struct Case {
    int h, m, s;
    long want;
  };
  Case const cases[] = {{23, 59, 59, 86399},   {24, 0, 0, 0},
                        {0, 90, 0, 5400},      {1, 1, 1, 3661},
                        {0, 0, 0, 0},          {0, 0, 255, 255},
                        {48, 0, 1, 1},         {25, 0, 0, 3600},
                        {255, 255, 255, 69555}}; // 10 days + 19:19:15
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::Message() << c.h << ":" << c.m << ":" << c.s);
    EXPECT_EQ(c.want, DTime(record(c.h, c.m, c.s)).seconds());
  }
}

TEST(DTimeRecord, EverySecondOfTheDayRoundTrips) {
  int failures = 0;
  for (int h = 0; h < 24; ++h)
    for (int m = 0; m < 60; ++m)
      for (int s = 0; s < 60; ++s) {
        DTime const t(record(h, m, s));
        DCnrTime const back = t.asICnrTime();
        bool const ok =
            t.seconds() == h * 3600L + m * 60 + s && back.hours == h &&
            back.minutes == m && back.seconds == s && back.unused == 0 &&
            t.hours() == h && t.minutes() == m && t.secondsOfMinute() == s;
        if (!ok && ++failures <= 5)
          ADD_FAILURE() << h << ":" << m << ":" << s;
      }
  EXPECT_EQ(0, failures);
}

TEST(DTimeRecord, PacksHoursLowest) {
  DCnrTime const r = DTime(1, 2, 3).asICnrTime();
  std::uint32_t word;
  std::memcpy(&word, &r, sizeof word);
  EXPECT_EQ(1u | 2u << 8 | 3u << 16, word); // fourth byte 0
  DCnrTime const last = DTime(record(23, 59, 59)).asICnrTime();
  std::memcpy(&word, &last, sizeof word);
  EXPECT_EQ(23u | 59u << 8 | 59u << 16, word);
}

//===--- Construction and comparison --------------------------------------===//

TEST(DTimeConstruct, HoursMinutesSecondsFoldTowardsThePast) {
  struct Case {
    int h, m, s;
    long want;
  };
  Case const cases[] = {{0, 0, -1, 86399},   {-24, 0, 0, 0},
                        {25, 0, 0, 3600},    {0, -90, 0, 81000},
                        {12, 30, 15, 45015}, {0, 0, 86400 * 3 + 7, 7}};
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::Message() << c.h << ":" << c.m << ":" << c.s);
    EXPECT_EQ(c.want, DTime(c.h, c.m, c.s).seconds());
  }
  EXPECT_EQ(0, DTime().seconds());
}

TEST(DTimeConstruct, Comparison) {
  DTime const early(0, 0, 1);
  DTime const late(23, 59, 59);
  EXPECT_TRUE(early < late);
  EXPECT_TRUE(early <= late);
  EXPECT_TRUE(late > early);
  EXPECT_TRUE(late >= early);
  EXPECT_TRUE(early != late);
  EXPECT_FALSE(early == late);
  EXPECT_TRUE(DTime(24, 0, 1) == early);
  EXPECT_TRUE(DTime(0, 0, 0) <= DTime());
}

TEST(DTimeConstruct, NowIsTheLocalTime) {
  auto local = [] {
    std::time_t const now = std::time(nullptr);
    std::tm t{};
    localtime_r(&now, &t);
    return t.tm_hour * 3600L + t.tm_min * 60 + t.tm_sec;
  };
  long const before = local();
  long const now = DTime::now().seconds();
  long const after = local();
  // The clock may pass midnight between the readings.
  EXPECT_TRUE(before <= after ? now >= before && now <= after
                              : now >= before || now <= after);
}

//===--- Formatting (C locale) --------------------------------------------===//

TEST(DTimeFormat, StrftimeFormats) {
  struct Case {
    long seconds;
    char const* format;
    char const* want;
  };
  Case const cases[] = {
      {3661, "%H:%M:%S", "01:01:01"},
      {86399, "%X", "23:59:59"},
      {0, "%I %p", "12 AM"},
      {13 * 3600, "%I %p", "01 PM"},
      {3661, "x", "x"},
      // The date fields are those of the zero struct tm, normalised.
      {3661, "%Y-%m-%d %a %j", "1899-12-31 Sun 365"},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.format);
    DTime const t(0, 0, static_cast<int>(c.seconds));
    EXPECT_EQ(c.want, bytes(t.asString(c.format)));
  }
}

TEST(DTimeFormat, LongOutputDoublesTheWorkString) {
  // 20 bytes of format give a work string of 26; the output is 80 bytes.
  std::string format, want;
  for (int i = 0; i < 10; ++i) {
    format += "%T";
    want += "12:34:56";
  }
  EXPECT_EQ(want, bytes(DTime(12, 34, 56).asString(format.c_str())));
}

TEST(DTimeFormat, StreamWritesTheLocaleTime) {
  std::ostringstream out;
  out << DTime(1, 2, 3) << '|' << DTime(23, 0, 0);
  EXPECT_EQ("01:02:03|23:00:00", out.str());
}

// The zeroed record is normalised by mktime in the local zone; the
// reference is mktime and strftime called directly on the same record.
TEST(DTimeFormat, FollowsMktimeInTheLocalZone) {
  char const* saved = std::getenv("TZ");
  std::string const savedValue = saved ? saved : "";
  for (char const* zone : {"UTC0", "XST-10XDT,M10.1.0,M4.1.0/3"}) {
    SCOPED_TRACE(zone);
    setenv("TZ", zone, 1);
    tzset();
    std::tm t;
    std::memset(&t, 0, sizeof t);
    t.tm_min = 30;
    std::mktime(&t);
    char want[64];
    std::strftime(want, sizeof want, "%H:%M %d", &t);
    EXPECT_EQ(want, bytes(DTime(0, 30, 0).asString("%H:%M %d")));
  }
  if (saved)
    setenv("TZ", savedValue.c_str(), 1);
  else
    unsetenv("TZ");
  tzset();
}

// An empty output (a null format counts as "") raises the 1010 overflow
// at once, before any allocation of a mebibyte or more (they fail in the
// child); output with text, if only around an empty conversion, is
// unchanged. "%p" is empty in de_DE.UTF-8.
TEST(DTimeFormat, EmptyOutputRaisesTheOverflowAtOnce) {
  struct Case {
    char const *locale, *format, *want;
  };
  constexpr Case cases[] = {{"C", nullptr, "overflow"},
                            {"C", "", "overflow"},
                            {"C", "%p", "[AM]"},
                            {"de_DE.UTF-8", "%p", "overflow"},
                            {"de_DE.UTF-8", "%p%p", "overflow"},
                            {"de_DE.UTF-8", "%p%H", "[09]"},
                            {"de_DE.UTF-8", "%p ", "[ ]"}};
  bool missing = false;
  for (Case const& c : cases) {
    std::string const got = dtest::formatInChild(
        c.locale, [&c] { return DTime(9, 30, 0).asString(c.format); });
    missing = missing || got == "skip";
    if (got != "skip") {
      EXPECT_EQ(c.want, got) << c.locale << " " << (c.format ? c.format : "");
    }
  }
  if (missing)
    GTEST_SKIP() << "de_DE.UTF-8 could not be built: its rows skipped";
}
