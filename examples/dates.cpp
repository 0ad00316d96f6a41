// Dates and times: DDate counts Julian day numbers (day 0 is 1 January
// 4713 BC) with the Julian calendar up to 2 September 1752 and the
// Gregorian calendar from 14 September 1752; DTime counts seconds since
// midnight. Names and formats come from the C library and the locale.
#include <clocale>
#include <iostream>
#include <zyncmncoll.hpp>

int main() {
  std::setlocale(LC_ALL, "C"); // fixed names and formats for this example

  // The calendar reform: the day after 2 September 1752 is 14 September.
  DDate lastJulian(DDate::September, 2, 1752);
  DDate next = lastJulian + 1;
  std::cout << lastJulian.asString("%d %B") << " " << lastJulian.year()
            << " is followed by " << next.dayName() << " " << next.dayOfMonth()
            << " " << next.monthName() << " " << next.year() << "\n";
  std::cout << "1752 has " << DDate::daysInYear(1752)
            << " days; September 1752 has "
            << DDate::daysInMonth(DDate::September, 1752) << "\n";

  // Constructors do not validate: check a triple first.
  std::cout << "10 September 1752 valid: " << std::boolalpha
            << DDate::isValid(DDate::September, 10, 1752)
            << ", 29 February 1900: "
            << DDate::isValid(DDate::February, 29, 1900)
            << ", 29 February 1700 (Julian): "
            << DDate::isValid(DDate::February, 29, 1700) << "\n";

  // Day arithmetic and differences are plain day-number arithmetic.
  DDate y2k(DDate::January, 1, 2000);
  DDate landing(DDate::July, 20, 1969);
  std::cout << "days from " << landing.asString("%Y-%m-%d") << " to "
            << y2k.asString("%Y-%m-%d") << ": " << (y2k - landing) << "\n";
  std::cout << "day number of " << y2k.asString("%Y-%m-%d") << ": "
            << y2k.julianDay() << ", day " << y2k.dayOfYear()
            << " of the year, a " << y2k.dayName() << "\n";

  // There is no year 0: 1 BC is year -1, and day 0 is in 4713 BC.
  DDate dayZero = DDate::fromJulianDay(0);
  std::cout << "day 0: " << dayZero.dayName() << " " << dayZero.dayOfMonth()
            << " " << dayZero.monthName() << " " << -dayZero.year() << " BC\n";

  // Ordinal dates: the eleven missing days of 1752 are left out.
  DDate ordinal(1752, 247);
  std::cout << "day 247 of 1752: " << ordinal.asString("%d %B") << "\n";

  // The locale's own date format (nl_langinfo(D_FMT)), with a four-digit
  // year on request.
  std::cout << "locale format: " << y2k
            << ", four-digit year: " << y2k.asString(DDate::fourDigitYear)
            << "\n";

  // Times of day fold modulo one day.
  DTime evening(19, 45, 30);
  DTime beforeMidnight(0, 0, -1);
  std::cout << "time: " << evening.asString("%H:%M:%S") << ", "
            << evening.seconds() << " seconds after midnight; 0:00:-1 is "
            << beforeMidnight.asString("%H:%M:%S") << "\n";

  bool const ok = next.dayOfMonth() == 14 && y2k - landing == 11122 &&
                  y2k.dayOfWeek() == DDate::Saturday &&
                  dayZero.year() == -4713 && ordinal.dayOfMonth() == 14 &&
                  beforeMidnight.seconds() == 86399;
  return ok ? 0 : 1;
}
