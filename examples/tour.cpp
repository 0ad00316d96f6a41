// A short tour of libzyncmncoll: make strings, share them, edit one copy
// (copy on write, seen through the buffer's reference count), and catch a
// logged exception with its trace report.
#include <iostream>
#include <zyncmncoll.hpp>

int main() {
  DString greeting("hello, world");
  DString copy = greeting; // shares the buffer: one count more, no copy
  std::cout << "text: " << greeting << " (length " << greeting.length()
            << ", buffer shared by " << greeting.buffer()->useCount()
            << " handles)\n";

  // Editing a shared string gives the edited handle its own buffer; the
  // other handle keeps the old text.
  copy.upperCase();
  std::cout << "after upperCase on the copy: \"" << greeting << "\" ("
            << greeting.buffer()->useCount() << " holder) and \"" << copy
            << "\" (" << copy.buffer()->useCount() << " holder)\n";

  // An unshared buffer is edited where it is when the edit allows it.
  DBuffer const* before = copy.buffer();
  copy.upperCase();
  std::cout << "upperCase again, same buffer: "
            << (copy.buffer() == before ? "yes" : "no") << "\n";

  // change() replaces occurrences (all by default), insert() puts text
  // behind a 1-based byte position (0: in front).
  DString line("one fish, two fish");
  line.change("fish", "cat");
  line.insert(DString("red "), 9);
  std::cout << "changed and inserted: " << line << "\n";
  std::cout << "\"two\" found at byte " << line.indexOf("two") << "\n";

  DString number(42L);
  DString ratio(1.0 / 3);
  std::cout << "numbers: " << number << " and " << ratio << "\n";

  // An impossible length raises a logged DInvalidRequest: the library's
  // trace writer prints the report on standard error before the throw.
  try {
    DString tooLong(nullptr, 0xFFFFFFFFu, ' ');
  } catch (DInvalidRequest const& e) {
    std::cout << "caught " << e.name() << " " << e.errorId() << ": " << e.text()
              << "\n";
    std::cout << "raised in " << e.locationAtIndex(0)->fileName() << " line "
              << e.locationAtIndex(0)->lineNumber() << "\n";
  }

  // The example doubles as a test: a wrong answer fails it.
  bool const ok = greeting == "hello, world" && copy == "HELLO, WORLD" &&
                  line == "one cat, red two cat";
  return ok ? 0 : 1;
}
