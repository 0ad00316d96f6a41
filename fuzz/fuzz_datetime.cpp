// Fuzz target: dates and times against plain models. Dates come from a day
// number, calendar fields, a year and an ordinal, and the packed record; the
// model is the textbook day-number arithmetic of the Julian calendar up to
// 2 September 1752 and of the Gregorian one from 14 September 1752. Texts
// follow mktime's proleptic Gregorian normalisation. Times fold any hours,
// minutes and seconds into one day.
#include "fuzz_input.hpp"

#include "ddate.hpp"
#include "dtime.hpp"

#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

using dfuzz::fail;

namespace {

long floorDiv(long a, long b) {
  return a / b - ((a % b != 0 && (a < 0) != (b < 0)) ? 1 : 0);
}

long floorMod(long a, long b) {
  return a - b * floorDiv(a, b);
}

constexpr long lastJulianDay = 2361221; // 2 September 1752

struct Ymd {
  long year; // as the library counts: no year 0, 1 BC is -1
  int month, day;
  bool operator==(Ymd const& o) const {
    return year == o.year && month == o.month && day == o.day;
  }
};

DDate::Month monthOf(int m) {
  return static_cast<DDate::Month>(m);
}

// Day number of an astronomical year, month and day; Gregorian or Julian.
long dayNumberOf(long y, int m, int d, bool gregorian) {
  long const a = (14 - m) / 12;
  long const yy = y + 4800 - a;
  long const mm = m + 12 * a - 3;
  long const base = d + (153 * mm + 2) / 5 + 365 * yy + floorDiv(yy, 4);
  return gregorian ? base - floorDiv(yy, 100) + floorDiv(yy, 400) - 32045
                   : base - 32083;
}

// Astronomical fields of a day number.
Ymd fieldsOf(long jd, bool gregorian) {
  long c;
  long century = 0;
  if (gregorian) {
    long const a = jd + 32044;
    long const b = floorDiv(4 * a + 3, 146097);
    c = a - floorDiv(146097 * b, 4);
    century = 100 * b;
  } else {
    c = jd + 32082;
  }
  long const d = floorDiv(4 * c + 3, 1461);
  long const e = c - floorDiv(1461 * d, 4);
  long const m = (5 * e + 2) / 153;
  return {century + d - 4800 + m / 10, static_cast<int>(m + 3 - 12 * (m / 10)),
          static_cast<int>(e - (153 * m + 2) / 5 + 1)};
}

Ymd modelDate(long jd) {
  Ymd f = fieldsOf(jd, jd > lastJulianDay);
  f.year -= f.year <= 0; // no year 0: 1 BC is -1
  return f;
}

// The day number of a library triple, or false when it names no date.
bool modelDayNumber(Ymd const& f, long& jd) {
  if (f.year == 0 || f.month < 1 || f.month > 12 || f.day < 1)
    return false;
  bool const gregorian =
      f.year > 1752 ||
      (f.year == 1752 && (f.month > 9 || (f.month == 9 && f.day >= 14)));
  jd = dayNumberOf(f.year + (f.year < 0), f.month, f.day, gregorian);
  // A day past the month's end, or in the eleven missing ones, reads back
  // as another date.
  return modelDate(jd) == f;
}

// Days from the 1st of a month (or of January) to the 1st of the next one.
long modelLength(long year, int month, bool wholeYear) {
  long first = 0, next = 0;
  modelDayNumber({year, wholeYear ? 1 : month, 1}, first);
  bool const newYear = wholeYear || month == 12;
  long const nextYear = year == -1 ? 1 : year + 1;
  modelDayNumber({newYear ? nextYear : year, newYear ? 1 : month + 1, 1}, next);
  return next - first;
}

// \p date is day \p jd; \p step days away lies another one.
void checkDate(DDate const& date, long jd, long step, char const* how) {
  std::string const ctx = std::string(how) + " day " + std::to_string(jd);
  if (date.julianDay() != jd)
    fail("day number", ctx + " got " + std::to_string(date.julianDay()));
  Ymd const want = modelDate(jd);
  Ymd const got{date.year(), date.monthOfYear(), date.dayOfMonth()};
  if (!(got == want))
    fail("fields", ctx + " got " + std::to_string(got.year) + "-" +
                       std::to_string(got.month) + "-" +
                       std::to_string(got.day));
  // Ordinal: days since 1 January, plus the eleven missing days after the
  // reform in 1752 (kept that way for old callers).
  long firstDay = 0;
  modelDayNumber({want.year, 1, 1}, firstDay);
  long const ordinal =
      jd - firstDay + 1 + (want.year == 1752 && jd > lastJulianDay ? 11 : 0);
  if (date.dayOfYear() != ordinal)
    fail("dayOfYear", ctx + " got " + std::to_string(date.dayOfYear()));
  if (date.dayOfWeek() != floorMod(jd, 7))
    fail("dayOfWeek", ctx);
  // The ordinal constructor leaves the missing days out.
  long const counted = jd - firstDay + 1;
  if (DDate(static_cast<int>(want.year), static_cast<int>(counted)) != date)
    fail("DDate(year, dayOfYear)", ctx);
  if (!DDate::isValid(monthOf(want.month), want.day,
                      static_cast<int>(want.year)))
    fail("isValid", ctx);
  if (DDate(monthOf(want.month), want.day, static_cast<int>(want.year)) != date)
    fail("DDate(month, day, year)", ctx);
  if (want.year >= 1 && want.year <= 65535) {
    DCnrDate const record = date.asICnrDate();
    if (record.day != want.day || record.month != want.month ||
        record.year != want.year || DDate(record) != date)
      fail("record", ctx);
  }
  int const year = static_cast<int>(want.year);
  long const yearLength = modelLength(want.year, 1, true);
  if (DDate::isLeapYear(year) != (modelLength(want.year, 2, false) == 29) ||
      DDate::daysInYear(year) != yearLength ||
      DDate::daysInMonth(monthOf(want.month), year) !=
          modelLength(want.year, want.month, false))
    fail("leap year and lengths", ctx);
  // Day arithmetic and comparison: plain day numbers.
  DDate const other = date + step;
  DDate moved = date;
  moved += step;
  if (other.julianDay() != jd + step || other - date != step ||
      step + date != other || other - step != date || moved != other ||
      (moved -= step) != date)
    fail("day arithmetic", ctx + " step " + std::to_string(step));
  if ((date < other) != (step > 0) || (date > other) != (step < 0) ||
      (date <= other) != (step >= 0) || (date >= other) != (step <= 0) ||
      (date == other) != (step == 0) || (date != other) != (step != 0))
    fail("comparison", ctx + " step " + std::to_string(step));
  // Text: mktime normalises the fields as Gregorian ones; a Gregorian date
  // reads back from its text.
  DString const text = date.asString("%Y %m %d");
  long y = 0;
  int m = 0, d = 0;
  if (std::sscanf(static_cast<char const*>(text), "%ld %d %d", &y, &m, &d) != 3)
    fail("asString", ctx + " text " + static_cast<char const*>(text));
  // mktime's view: the year number as it is, proleptic Gregorian.
  Ymd const shown = fieldsOf(
      dayNumberOf(want.year, want.month, 1, true) + want.day - 1, true);
  if (!(Ymd{y, m, d} == shown))
    fail("asString", ctx + " text " + static_cast<char const*>(text) +
                         " want " + std::to_string(shown.year));
  if (jd > lastJulianDay && DDate(monthOf(m), d, static_cast<int>(y)) != date)
    fail("asString read back", ctx);
}

void runDate(dfuzz::Input& in) {
  long const step = static_cast<long>(in.upTo(65535)) - 32768;
  switch (in.upTo(2)) {
  case 0: {
    // Any day number from about 10,000 BC to AD 140,000.
    long const jd = static_cast<long>(in.upTo(65535)) * 800 +
                    static_cast<long>(in.upTo(65535) % 800) - 1700000;
    checkDate(DDate::fromJulianDay(jd), jd, step, "fromJulianDay");
    break;
  }
  case 1: {
    // Fields near the edges: months 0-13, days 0-32, years around the
    // reform, around 0 and spread out.
    int const month = static_cast<int>(in.upTo(13));
    int const day = static_cast<int>(in.upTo(32));
    int const kind = static_cast<int>(in.upTo(3));
    int const spread = static_cast<int>(in.upTo(65535));
    int const year = kind == 0   ? 1752 + spread % 5 - 2
                     : kind == 1 ? spread % 9 - 4
                     : kind == 2 ? spread % 20000 - 10000
                                 : spread;
    Ymd const f{year, month, day};
    long jd = 0;
    bool const valid = modelDayNumber(f, jd);
    if (DDate::isValid(monthOf(month), day, year) != valid)
      fail("isValid", std::to_string(year) + "-" + std::to_string(month) + "-" +
                          std::to_string(day));
    if (valid)
      checkDate(DDate(monthOf(month), day, year), jd, step, "fields");
    break;
  }
  default: {
    DCnrDate record;
    record.day = in.byte();
    record.month = in.byte() % 14;
    record.year = static_cast<std::uint16_t>(in.upTo(65535));
    Ymd const f{record.year, record.month, record.day};
    long jd = 0;
    if (modelDayNumber(f, jd))
      checkDate(DDate(record), jd, step, "record");
    break;
  }
  }
}

void runTime(dfuzz::Input& in) {
  int const h = static_cast<int>(in.upTo(65535)) - 30000;
  int const m = static_cast<int>(in.upTo(255)) - 100;
  int const s = static_cast<int>(in.upTo(65535)) - 30000;
  long const want = floorMod((long{h} * 60 + m) * 60 + s, 86400);
  DTime const time(h, m, s);
  std::string const ctx =
      std::to_string(h) + ":" + std::to_string(m) + ":" + std::to_string(s);
  if (time.seconds() != want)
    fail("DTime", ctx + " got " + std::to_string(time.seconds()));
  if (time.hours() != want / 3600 || time.minutes() != want / 60 % 60 ||
      time.secondsOfMinute() != want % 60)
    fail("DTime fields", ctx);
  DTime const other(0, 0, s);
  long const o = floorMod(s, 86400);
  if ((time < other) != (want < o) || (time > other) != (want > o) ||
      (time <= other) != (want <= o) || (time >= other) != (want >= o) ||
      (time == other) != (want == o) || (time != other) != (want != o))
    fail("DTime comparison", ctx);
  DCnrTime const record = time.asICnrTime();
  if (record.hours != want / 3600 || record.minutes != want / 60 % 60 ||
      record.seconds != want % 60 || DTime(record) != time)
    fail("DTime record", ctx);
  char text[64];
  std::snprintf(text, sizeof text, "%02ld:%02ld:%02ld", want / 3600,
                want / 60 % 60, want % 60);
  if (std::string(static_cast<char const*>(time.asString("%H:%M:%S"))) != text)
    fail("DTime asString", ctx);
  DCnrTime raw;
  raw.hours = in.byte();
  raw.minutes = in.byte();
  raw.seconds = in.byte();
  raw.unused = 0;
  if (DTime(raw).seconds() !=
      (long{raw.hours} * 3600 + raw.minutes * 60 + raw.seconds) % 86400)
    fail("DTime from record", ctx);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  static bool const ready = [] {
    // mktime normalises in the local zone: UTC has no gaps.
    setenv("TZ", "UTC0", 1);
    tzset();
    std::setlocale(LC_ALL, "C");
    return true;
  }();
  (void)ready;
  dfuzz::Input in(data, size);
  for (int round = 0; round < 8 && !in.empty(); ++round) {
    if (in.byte() & 1)
      runTime(in);
    else
      runDate(in);
  }
  return 0;
}
