// Fuzz target: dates and times against plain models. Dates come from a day
// number, calendar fields (also ones that name no date), an ordinal and the
// record; the model is the textbook day-number arithmetic of the Julian
// calendar up to 2 September 1752 and the Gregorian one from 14 September.
#include "fuzz_input.hpp"

#include "ddate.hpp"
#include "dtime.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>

namespace {

long floorDiv(long a, long b) {
  return a / b - ((a % b != 0 && (a < 0) != (b < 0)) ? 1 : 0);
}

constexpr long lastJulianDay = 2361221; // 2 September 1752

struct Ymd {
  long year, month, day; // as the library counts: no year 0, 1 BC is -1
  bool operator==(Ymd const& o) const {
    return year == o.year && month == o.month && day == o.day;
  }
};

// Day number of an astronomical year, month and day; Gregorian or Julian.
long dayNumberOf(long y, long m, long d, bool gregorian) {
  long const a = (14 - m) / 12, yy = y + 4800 - a, mm = m + 12 * a - 3;
  long const base = d + (153 * mm + 2) / 5 + 365 * yy + floorDiv(yy, 4);
  return gregorian ? base - floorDiv(yy, 100) + floorDiv(yy, 400) - 32045
                   : base - 32083;
}

// Astronomical fields of a day number.
Ymd fieldsOf(long jd, bool gregorian) {
  long c = jd + 32082, century = 0;
  if (gregorian) {
    long const b = floorDiv(4 * (jd + 32044) + 3, 146097);
    c = jd + 32044 - floorDiv(146097 * b, 4);
    century = 100 * b;
  }
  long const d = floorDiv(4 * c + 3, 1461), e = c - floorDiv(1461 * d, 4);
  long const m = (5 * e + 2) / 153;
  return {century + d - 4800 + m / 10, m + 3 - 12 * (m / 10),
          e - (153 * m + 2) / 5 + 1};
}

Ymd modelDate(long jd) {
  Ymd f = fieldsOf(jd, jd > lastJulianDay);
  f.year -= f.year <= 0; // no year 0: 1 BC is -1
  return f;
}

// The day number of any triple of a year other than 0, counted on from the
// 1st of the month (13 is the next January, 0 counts from January): Julian
// up to the reform, else Gregorian, the missing days collapsing onto it.
long anyDayNumber(Ymd f) {
  if (f.month == 13)
    f = {f.year == -1 ? 1 : f.year + 1, 1, f.day};
  long const y = f.year + (f.year < 0);
  long const m = f.month < 1 || f.month > 12 ? 1 : f.month;
  long const julian = dayNumberOf(y, m, 1, false) + f.day - 1;
  return julian <= lastJulianDay
             ? julian
             : std::max(dayNumberOf(y, m, 1, true) + f.day - 1, lastJulianDay);
}

bool isDate(Ymd const& f) {
  return f.year != 0 && f.month >= 1 && f.month <= 12 && f.day >= 1 &&
         modelDate(anyDayNumber(f)) == f;
}

// Days from the 1st of month \p from to the 1st of month \p to.
long days(long year, long from, long to) {
  return anyDayNumber({year, to, 1}) - anyDayNumber({year, from, 1});
}

void check(bool ok, char const* what, long jd) {
  if (!ok)
    dfuzz::fail(what, "day or seconds " + std::to_string(jd));
}

// \p date is day \p jd.
void checkDate(DDate const& date, long jd) {
  Ymd const f = modelDate(jd);
  int const year = static_cast<int>(f.year);
  auto const month = static_cast<DDate::Month>(f.month);
  check(date.julianDay() == jd && date.year() == f.year &&
            date.monthOfYear() == f.month && date.dayOfMonth() == f.day &&
            date.dayOfWeek() == jd - 7 * floorDiv(jd, 7), // 0 is a Monday
        "fields", jd);
  // dayOfYear counts the missing days of 1752; the constructor does not.
  long const counted = jd - anyDayNumber({f.year, 1, 1}) + 1;
  check(date.dayOfYear() ==
                counted + (year == 1752 && jd > lastJulianDay) * 11 &&
            DDate(year, static_cast<int>(counted)) == date,
        "ordinal", jd);
  check(DDate::isValid(month, static_cast<int>(f.day), year) &&
            DDate(month, static_cast<int>(f.day), year) == date,
        "DDate(month, day, year)", jd);
  // The record's year is 16 unsigned bits: BC years wrap.
  DCnrDate const record = date.asICnrDate();
  check(record.day == f.day && record.month == f.month &&
            record.year == static_cast<std::uint16_t>(f.year) &&
            (f.year < 1 || f.year > 65535 || DDate(record) == date),
        "record", jd);
  check(DDate::isLeapYear(year) == (days(f.year, 2, 3) == 29) &&
            DDate::daysInYear(year) == days(f.year, 1, 13) &&
            DDate::daysInMonth(month, year) ==
                days(f.year, f.month, f.month + 1),
        "leap year and lengths", jd);
  // mktime normalises the fields as Gregorian ones.
  Ymd const shown =
      fieldsOf(dayNumberOf(f.year, f.month, 1, true) + f.day - 1, true);
  char want[96];
  std::snprintf(want, sizeof want, "%ld %02ld %02ld", shown.year, shown.month,
                shown.day);
  check(std::string(date.asString("%Y %m %d")) == want, "asString", jd);
}

void checkTriple(DDate const& date, Ymd const& f) {
  long const jd = anyDayNumber(f);
  if (f.year != 0 && isDate(f))
    checkDate(date, jd);
  check(f.year == 0 || date.julianDay() == jd, "a triple that is no date", jd);
}

void runDate(dfuzz::Input& in) {
  in.upTo(65535); // once a day step, kept so that the corpus still fits
  switch (in.upTo(2)) {
  case 0: {
    long const jd = static_cast<long>(in.upTo(65535)) * 800 +
                    static_cast<long>(in.upTo(65535) % 800) - 1700000;
    checkDate(DDate::fromJulianDay(jd), jd);
    break;
  }
  case 1: {
    int const month = static_cast<int>(in.upTo(13));
    int const day = static_cast<int>(in.upTo(32));
    int const kind = static_cast<int>(in.upTo(3));
    int const spread = static_cast<int>(in.upTo(65535));
    int const year = kind == 0   ? 1752 + spread % 5 - 2
                     : kind == 1 ? spread % 9 - 4
                     : kind == 2 ? spread % 20000 - 10000
                                 : spread;
    auto const m = static_cast<DDate::Month>(month);
    check(DDate::isValid(m, day, year) == isDate({year, month, day}) &&
              (DDate::daysInMonth(m, year) == 0) == (month % 13 == 0),
          "isValid and daysInMonth", year);
    checkTriple(DDate(m, day, year), {year, month, day});
    int const ordinal = (month - 1) * 31 + day;
    bool const inYear = ordinal >= 1 && ordinal <= days(year, 1, 13);
    check(year == 0 || DDate(year, ordinal).julianDay() ==
                           anyDayNumber({year, 1, inYear ? 1 : ordinal}) +
                               (inYear ? ordinal - 1 : 0),
          "DDate(year, ordinal)", year);
    break;
  }
  default: {
    DCnrDate record;
    record.day = in.byte();
    record.month = in.byte() % 14;
    record.year = static_cast<std::uint16_t>(in.upTo(65535));
    checkTriple(DDate(record), {record.year, record.month, record.day});
    break;
  }
  }
}

void runTime(dfuzz::Input& in) {
  int const h = static_cast<int>(in.upTo(65535)) - 30000;
  int const m = static_cast<int>(in.upTo(255)) - 100;
  int const s = static_cast<int>(in.upTo(65535)) - 30000;
  long const w = (((long{h} * 60 + m) * 60 + s) % 86400 + 86400) % 86400;
  DTime const time(h, m, s);
  DCnrTime const record = time.asICnrTime();
  char hms[64];
  std::snprintf(hms, sizeof hms, "%02ld:%02ld:%02ld", w / 3600, w / 60 % 60,
                w % 60);
  check(time.seconds() == w && record.hours == w / 3600 &&
            record.minutes == w / 60 % 60 && record.seconds == w % 60 &&
            record.unused == 0 && DTime(record) == time &&
            std::string(time.asString("%H:%M:%S")) == hms,
        "DTime", w);
  // Any bytes in the record, the spare one too.
  DCnrTime raw;
  raw.hours = in.byte();
  raw.minutes = in.byte();
  raw.seconds = in.byte();
  raw.unused = static_cast<unsigned char>(raw.hours ^ 0xA5);
  long const seconds = raw.hours * 3600L + raw.minutes * 60 + raw.seconds;
  check(DTime(raw).seconds() == seconds % 86400, "DTime from record", seconds);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  setenv("TZ", "UTC0", 1); // mktime normalises in the local zone
  tzset();
  dfuzz::Input in(data, size);
  for (int round = 0; round < 8 && !in.empty(); ++round)
    (in.byte() & 1 ? runTime : runDate)(in);
  return 0;
}
