// The program the pretty-printer test debugs: one value of each printed
// kind, in scope of main when it stops in stopHere().
#include <clocale>
#include <cstdio>
#include <zyncmncoll.hpp>

__attribute__((noinline)) void stopHere() {
  std::fputs("stopped\n", stdout);
}

int main() {
  std::setlocale(LC_ALL, ""); // C: DBuffer strings, multibyte: DDBCSBuffer
  // Day -1, 1 BC / AD 1, the reform of 1752, 1900 (no leap day) and 2000.
  auto const day = &DDate::fromJulianDay;
  [[maybe_unused]] DDate const dates[] = {
      day(-1),      day(1721423), day(1721424), day(2361221),
      day(2361222), day(2415079), day(2451604)};
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
