// A program built against an installed libzyncmncoll
// (scripts/consumer-check.sh): includes a single family header by its own name
// and the umbrella header, edits a shared string and reads a message from the
// installed catalogue.
#include <dstring.hpp>

#include <cstdio>
#include <cstring>
#include <zyncmncoll.hpp>

// Kept out of line so the debugger check has a place to stop.
__attribute__((noinline)) void consumerStop(DString const& s) {
  std::printf("stop at %s\n", static_cast<char const*>(s));
}

int main() {
  DString text("installed");
  DString copy = text;
  copy.upperCase();
  consumerStop(copy);
  try {
    DString tooLong(nullptr, 0xFFFFFFFFu, ' ');
  } catch (DInvalidRequest const& e) {
    std::printf("%s %lu: %s\n", e.name(), e.errorId(), e.text());
    bool const fromCatalogue = std::strstr(e.text(), "too large") != nullptr;
    return text == "installed" && copy == "INSTALLED" && fromCatalogue ? 0 : 1;
  }
  return 1;
}
