// Times of day: seconds since midnight from and to the packed record, and
// formatting through strftime.
#include "dtime.hpp"

#include "datetime/dformat_p.hpp"
#include "string/dstring_p.hpp"

#include <cstring>
#include <ctime>
#include <ostream>

namespace {

constexpr long secondsPerDay = 86400;

// Folds any count of seconds into 0-86399, towards the past for negatives.
long foldIntoDay(long seconds) {
  long const r = seconds % secondsPerDay;
  return r < 0 ? r + secondsPerDay : r;
}

} // namespace

//===--- Construction -----------------------------------------------------===//

DTime::DTime(DCnrTime const& record)
    : secondsValue(foldIntoDay((long{record.hours} * 60 + record.minutes) * 60 +
                               record.seconds)) {}

DTime::DTime(int hours, int minutes, int seconds)
    : secondsValue(
          foldIntoDay((long{hours} * 60 + minutes) * 60 + long{seconds})) {}

DTime DTime::now() {
  std::time_t const clock = std::time(nullptr);
  std::tm local;
  std::memset(&local, 0, sizeof local);
  localtime_r(&clock, &local);
  // A leap second (tm_sec 60) folds onto the next minute.
  return DTime(local.tm_hour, local.tm_min, local.tm_sec);
}

//===--- Fields and formatting --------------------------------------------===//

DCnrTime DTime::asICnrTime() const {
  long const h = secondsValue / 3600;
  DCnrTime record;
  record.hours = static_cast<unsigned char>(h);
  record.minutes = static_cast<unsigned char>((secondsValue - 3600 * h) / 60);
  record.seconds = static_cast<unsigned char>(secondsValue % 60);
  record.unused = 0;
  return record;
}

DString DTime::asString(char const* format) const {
  if (format == nullptr)
    format = "";
  // The date fields stay zero: day 0 of January 1900 normalises to
  // Sunday, 31 December 1899.
  std::tm t;
  std::memset(&t, 0, sizeof t);
  t.tm_hour = static_cast<int>(secondsValue / 3600);
  t.tm_min = static_cast<int>(secondsValue % 3600 / 60);
  t.tm_sec = static_cast<int>(secondsValue % 60);
  dinternal::normalizeTm(t);
  unsigned int const length =
      dinternal::checkedAdd(dinternal::checkedLength(std::strlen(format)), 6);
  return dinternal::formatTime(format, length, t);
}

std::ostream& operator<<(std::ostream& os, DTime const& time) {
  return os << time.asString("%X");
}
