// A short tour of libzyncmncoll: make strings, share them, edit one copy
// (copy on write), and catch a logged exception with its trace report.
#include <zyncmncoll.hpp>

#include <iostream>

int main() {
  DString greeting("hello, world");
  DString copy = greeting; // shares the buffer: one count more, no copy
  std::cout << "text: " << greeting << " (length " << greeting.length()
            << ", buffer shared by " << greeting.buffer()->useCount()
            << " handles)\n";

  copy.prepareToChange(); // copy on write: copy gets its own buffer
  std::cout << "after copy on write: " << greeting.buffer()->useCount()
            << " and " << copy.buffer()->useCount() << " holders\n";

  DString number(42L);
  DString ratio(1.0 / 3);
  std::cout << "numbers: " << number << " and " << ratio << "\n";

  // An impossible length raises a logged DInvalidRequest: the library's
  // trace writer prints the report on standard error before the throw.
  try {
    DString tooLong(nullptr, 0xFFFFFFFFu, ' ');
  } catch (DInvalidRequest const& e) {
    std::cout << "caught " << e.name() << " " << e.errorId() << ": "
              << e.text() << "\n";
  }
  return 0;
}
