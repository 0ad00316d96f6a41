// Radix conversions: each edits the string in place. Hex and binary digits
// become bytes and back; decimal digits of any length become the shortest
// big-endian byte string and back. Invalid digits empty the string.
#include <iostream>
#include <string>
#include <zyncmncoll.hpp>

int main() {
  // Hexadecimal: x2c packs two digits per byte (an odd count gets a
  // leading 0), c2x always writes upper case.
  DString hex("48656c6c6f");
  hex.x2c();
  std::cout << "x2c(\"48656c6c6f\") = \"" << hex << "\"\n";
  DString back = hex;
  back.c2x();
  std::cout << "c2x of it = " << back << "\n";

  // Binary: eight digits per byte, most significant bit first.
  DString bits("A");
  bits.c2b();
  std::cout << "c2b(\"A\") = " << bits << "\n";

  // Decimal of any length: a 40-digit number to 17 bytes and back.
  DString const number("1234567890123456789012345678901234567890");
  DString bytes = number;
  bytes.d2c();
  DString shown = bytes;
  shown.c2x();
  std::cout << "d2c(" << number << ") = " << bytes.length()
            << " bytes: " << shown << "\n";
  DString decimal = bytes;
  decimal.c2d();
  std::cout << "c2d of them = " << decimal << "\n";

  // Invalid input makes the receiver empty; nothing is thrown.
  DString bad("12 34");
  bad.d2c();
  std::cout << "d2c(\"12 34\") is empty: " << (bad.length() == 0) << "\n";

  bool const ok = hex == "Hello" && back == "48656C6C6F" &&
                  bits == "01000001" && bytes.length() == 17 &&
                  shown == "03A0C92075C0DBF3B8ACBC5F96CE3F0AD2" &&
                  decimal == number && bad.length() == 0;
  return ok ? 0 : 1;
}
