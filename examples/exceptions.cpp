// Exceptions: every exception the library raises is first written to the
// installed trace function, then thrown. This example installs its own
// trace function that collects the report instead of printing it, raises
// and catches exceptions, adds texts and locations on the way out, and
// restores the previous trace function.
#include <cstddef>
#include <iostream>
#include <string>
#include <vector>
#include <zyncmncoll.hpp>

namespace {

// Keeps the report lines; exceptionLogged() marks the end of one report.
class CollectingTrace : public DException::TraceFn {
public:
  void write(char const* line) override { lines.emplace_back(line); }
  void exceptionLogged() override { ++reports; }

  std::vector<std::string> lines;
  int reports = 0;
};

// A function of ours that adds context to an exception passing through.
void loadSettings() {
  try {
    DString name("settings");
    name[-1] = 'x'; // a negative index raises DInvalidRequest 1011
  } catch (DException& e) {
    e.setText("while loading the settings");
    e.addLocation(
        DExceptionLocation("exceptions.cpp", "loadSettings", __LINE__));
    throw;
  }
}

} // namespace

int main() {
  CollectingTrace trace;
  DException::TraceFn* previous = DException::setTraceFunction(trace);

  bool ok = false;
  try {
    loadSettings();
  } catch (DInvalidRequest const& e) {
    std::cout << e.name() << ", error id " << e.errorId() << ", "
              << (e.isRecoverable() ? "recoverable" : "unrecoverable")
              << ", group \"" << e.errorCodeGroup() << "\"\n";
    // Text 0 is the newest line; locations are in the order they were added.
    for (unsigned long i = 0; i < e.textCount(); ++i)
      std::cout << "  text " << i << ": " << e.text(i) << "\n";
    for (unsigned long i = 0; i < e.locationCount(); ++i) {
      DExceptionLocation const* where = e.locationAtIndex(i);
      std::cout << "  location " << i << ": " << where->fileName() << ", "
                << where->functionName() << ", line " << where->lineNumber()
                << "\n";
    }
    ok = e.errorId() == 1011 && e.textCount() == 2 && e.locationCount() == 2;
  }

  // The report the library wrote when it raised the exception.
  std::cout << "trace reports: " << trace.reports << "\n";
  // A write may carry several lines; indent each of them.
  for (std::string const& line : trace.lines) {
    std::string indented = "  | " + line;
    for (std::size_t at = indented.find('\n'); at != std::string::npos;
         at = indented.find('\n', at + 1))
      indented.replace(at, 1, "\n  | ");
    std::cout << indented << "\n";
  }

  // Programs can log their own exceptions the same way before throwing.
  DInvalidParameter own("the port number must be below 65536", 7,
                        DException::recoverable);
  own.addLocation(DExceptionLocation("exceptions.cpp", "main", __LINE__));
  own.logExceptionData();
  std::cout << "trace reports after logging our own: " << trace.reports << "\n";

  DException::setTraceFunction(*previous);
  return ok && trace.reports == 2 ? 0 : 1;
}
