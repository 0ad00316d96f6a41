// Built against the library by scripts/consumer-check.sh and for the test
// catalogue.installed: edits a shared string and reads message 1010 from the
// catalogue (of argv[1] if given).
#include <dstring.hpp>

#include <cstdio>
#include <cstring>
#include <zyncmncoll.hpp>

// Out of line: the debugger check stops here.
__attribute__((noinline)) void consumerStop(DString const& s) {
  std::printf("stop at %s\n", static_cast<char const*>(s));
}

int main(int argc, char** argv) {
  if (argc > 1)
    DBase::setMessageFile(argv[1]);
  DString text("installed");
  DString copy = text;
  copy.upperCase();
  consumerStop(copy);
  try {
    DString tooLong(nullptr, 0xFFFFFFFFu, ' ');
  } catch (DInvalidRequest const& e) {
    std::printf("%s %lu, text %s\n", e.name(), e.errorId(), e.text());
    bool const fromCatalogue = std::strstr(e.text(), "too large") != nullptr;
    return text == "installed" && copy == "INSTALLED" && fromCatalogue ? 0 : 1;
  }
  return 1;
}
