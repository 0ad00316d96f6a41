// The program the pretty-printer test debugs: one value of each printed
// kind, in scope of main when it stops in stopHere(). The date table holds
// the library's own reading of each day number, so the check script
// compares the printer with DDate rather than with itself.
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <zyncmncoll.hpp>

struct DateRow {
  DDate date;
  int year, month, day, weekday;
};

// Around day 0, 1 BC / AD 1, the reforms of 1582 and 1752, the century
// leap rules (1900, 2000, 2100) and AD 9999.
static long const dayNumbers[] = {0,       -1,      -1462,   1721423, 1721424,
                                  2299160, 2361221, 2361222, 2361331, 2415079,
                                  2451604, 2488128, 2460000, 5373484};
static unsigned const dateCount = sizeof dayNumbers / sizeof dayNumbers[0];
static DateRow dateTable[dateCount];

__attribute__((noinline)) void stopHere() {
  std::fputs("stopped\n", stdout);
}

int main() {
  std::setlocale(LC_ALL, ""); // C: DBuffer strings, multibyte: DDBCSBuffer
  for (unsigned i = 0; i < dateCount; ++i) {
    DDate const d = DDate::fromJulianDay(dayNumbers[i]);
    dateTable[i] = {d, d.year(), d.monthOfYear(), d.dayOfMonth(),
                    d.dayOfWeek()};
  }
  DString shared("shared \"text\"\n\xE9");
  DString sharedCopy = shared; // one buffer, two references
  DString unshared("alone");
  DString empty;
  [[maybe_unused]] DBuffer* buffer = unshared.buffer();
  DTime time(13, 5, 9);
  try {
    DString tooLong(nullptr, 0xFFFFFFFFu, ' '); // raises the 1010 overflow
  } catch (DInvalidRequest& caught) {
    caught.setText("while testing the printers");
    caught.addLocation(DExceptionLocation("gdb_subject", "main", 57));
    [[maybe_unused]] DExceptionLocation const* second =
        caught.locationAtIndex(1);
    // Printed as its dynamic class:
    [[maybe_unused]] DException const& base = caught;
    stopHere();
  }
  return 0;
}
