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

static DateRow dateTable[] = {
    {DDate::fromJulianDay(0), 0, 0, 0, 0},
    {DDate::fromJulianDay(-1), 0, 0, 0, 0},
    {DDate::fromJulianDay(-1462), 0, 0, 0, 0},
    {DDate::fromJulianDay(1721423), 0, 0, 0, 0}, // 31 December 1 BC
    {DDate::fromJulianDay(1721424), 0, 0, 0, 0}, // 1 January AD 1
    {DDate::fromJulianDay(2299160), 0, 0, 0, 0},
    {DDate::fromJulianDay(2361221), 0, 0, 0, 0}, // 2 September 1752
    {DDate::fromJulianDay(2361222), 0, 0, 0, 0}, // 14 September 1752
    {DDate::fromJulianDay(2361331), 0, 0, 0, 0}, // 1 January 1753
    {DDate::fromJulianDay(2415079), 0, 0, 0, 0}, // around 1 March 1900
    {DDate::fromJulianDay(2451604), 0, 0, 0, 0}, // around 29 February 2000
    {DDate::fromJulianDay(2488128), 0, 0, 0, 0}, // around 1 March 2100
    {DDate::fromJulianDay(2460000), 0, 0, 0, 0},
    {DDate::fromJulianDay(5373484), 0, 0, 0, 0}, // AD 9999
};
static unsigned const dateCount = sizeof dateTable / sizeof dateTable[0];
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
  for (DateRow& row : dateTable) {
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
