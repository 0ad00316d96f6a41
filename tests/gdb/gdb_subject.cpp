// The program the pretty-printer test debugs: it sets up one value of each
// printed kind, then stops in stopHere() with all of them in scope of main.
// The date table holds the library's own reading of each day number, so the
// check script compares the printer with DDate rather than with itself.
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <zyncmncoll.hpp>

struct DateRow {
  DDate date;
  int year, month, day, weekday;
};

// Around day 0, 1 BC / AD 1, the reform of 1582 and 1752, the century
// leap rules (1900, 2000, 2100) and AD 9999.
static long const dayNumbers[] = {0,       -1,      -1462,   1721423, 1721424,
                                  2299160, 2361221, 2361222, 2361331, 2415079,
                                  2451604, 2488128, 2460000, 5373484};
static unsigned const dateCount = sizeof dayNumbers / sizeof dayNumbers[0];
static DateRow dateTable[dateCount];
// Read by the check script: below 2 the multibyte run has no locale.
static int mbCurMax = 0;

// Kept out of line so the debugger has a place to stop.
__attribute__((noinline)) void stopHere() {
  std::fputs("stopped\n", stdout);
}

int main() {
  // The locale comes from the environment: the C locale gives DBuffer
  // strings, a multibyte locale DDBCSBuffer strings.
  std::setlocale(LC_ALL, "");
  mbCurMax = static_cast<int>(MB_CUR_MAX);
  for (unsigned i = 0; i < dateCount; ++i) {
    DateRow& row = dateTable[i];
    row.date = DDate::fromJulianDay(dayNumbers[i]);
    row.year = row.date.year();
    row.month = row.date.monthOfYear();
    row.day = row.date.dayOfMonth();
    row.weekday = row.date.dayOfWeek();
  }

  DString shared("shared \"text\"\n\xE9");
  DString sharedCopy = shared; // same buffer, count 2
  DString unshared("alone");
  DString empty;
  DBuffer* buffer = unshared.buffer();
  DDate reform(DDate::September, 14, 1752);
  DDate dayZero(DDate::January, 1, -4713);
  DTime time(13, 5, 9);

  try {
    DString tooLong(nullptr, 0xFFFFFFFFu, ' '); // raises the 1010 overflow
  } catch (DInvalidRequest& caught) {
    caught.setText("while testing the printers");
    caught.addLocation(DExceptionLocation("gdb_subject", "main", 57));
    DExceptionLocation const* second = caught.locationAtIndex(1);
    DException const& base = caught; // printed as its dynamic class
    stopHere();
    return sharedCopy.length() == shared.length() && buffer != nullptr &&
                   empty.length() == 0 && reform != dayZero &&
                   time.seconds() != 0 && second != nullptr &&
                   base.errorId() != 0 && dateCount != 0 && mbCurMax > 0
               ? 0
               : 1;
  }
  return 2;
}
