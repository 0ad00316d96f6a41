// Fuzz target: the radix conversions against a digit-by-digit model, in
// both values of DString::fgI18NState, plus round trips: c2x then x2c and
// c2b then b2c give the bytes back, d2c then c2d gives a decimal string
// without leading zeros back.
#include "fuzz_input.hpp"

#include "dstring.hpp"

#include <clocale>
#include <cstdint>
#include <string>
#include <vector>

using dfuzz::fail;
using dfuzz::show;

namespace {

using u32 = unsigned int;

std::string bytesOf(DString const& s) {
  return std::string(static_cast<char const*>(s), s.length());
}

DString make(std::string const& t) {
  return DString(t.data(), static_cast<u32>(t.size()));
}

int hexValue(char c) {
  if (c >= '0' && c <= '9')
    return c - '0';
  if (c >= 'a' && c <= 'f')
    return c - 'a' + 10;
  if (c >= 'A' && c <= 'F')
    return c - 'A' + 10;
  return -1;
}

std::string modelC2x(std::string const& t) {
  static char const digits[] = "0123456789ABCDEF";
  std::string out;
  for (unsigned char b : t) {
    out.push_back(digits[b >> 4]);
    out.push_back(digits[b & 15]);
  }
  return out;
}

std::string modelX2c(std::string t) {
  for (char c : t)
    if (hexValue(c) < 0)
      return std::string();
  if (t.size() % 2 != 0)
    t.insert(t.begin(), '0');
  std::string out;
  for (std::size_t i = 0; i < t.size(); i += 2)
    out.push_back(static_cast<char>(hexValue(t[i]) * 16 + hexValue(t[i + 1])));
  return out;
}

std::string modelC2b(std::string const& t) {
  std::string out;
  for (unsigned char b : t)
    for (int bit = 7; bit >= 0; --bit)
      out.push_back((b >> bit) & 1 ? '1' : '0');
  return out;
}

std::string modelB2c(std::string t) {
  if (t.empty())
    return t;
  for (char c : t)
    if (!(c == '0' || c == '1' || (c & 0x80) != 0))
      return std::string();
  while (t.size() % 8 != 0)
    t.insert(t.begin(), '0');
  std::string out;
  for (std::size_t i = 0; i < t.size(); i += 8) {
    unsigned v = 0;
    for (std::size_t j = 0; j < 8; ++j)
      v = v * 2 + (t[i + j] == '1' ? 1 : 0);
    out.push_back(static_cast<char>(v));
  }
  return out;
}

// Decimal digits to the shortest big-endian byte string (at least one).
std::string modelD2c(std::string const& t) {
  for (char c : t)
    if (c < '0' || c > '9')
      return std::string();
  if (t.empty())
    return t;
  std::vector<unsigned> number{0}; // big-endian bytes
  for (char c : t) {
    unsigned carry = static_cast<unsigned>(c - '0');
    for (std::size_t i = number.size(); i-- > 0;) {
      unsigned const v = number[i] * 10 + carry;
      number[i] = v & 0xFF;
      carry = v >> 8;
    }
    if (carry != 0)
      number.insert(number.begin(), carry);
  }
  std::size_t first = 0;
  while (first + 1 < number.size() && number[first] == 0)
    ++first;
  std::string out;
  for (std::size_t i = first; i < number.size(); ++i)
    out.push_back(static_cast<char>(number[i]));
  return out;
}

// Big-endian bytes to decimal, by repeated division by ten.
std::string modelC2d(std::string const& t) {
  if (t.empty())
    return t;
  std::vector<unsigned> number(t.begin(), t.end());
  for (unsigned& v : number)
    v &= 0xFF;
  bool allZero = true;
  for (unsigned v : number)
    allZero = allZero && v == 0;
  if (allZero)
    // Four bytes or fewer give "0"; from five on the zero padding stays.
    return std::string(t.size() < 5 ? 1 : 3 * t.size() - 11, '0');
  std::string digits;
  while (!allZero) {
    unsigned remainder = 0;
    allZero = true;
    for (unsigned& v : number) {
      unsigned const cur = remainder * 256 + v;
      v = cur / 10;
      remainder = cur % 10;
      allZero = allZero && v == 0;
    }
    digits.insert(digits.begin(), static_cast<char>('0' + remainder));
  }
  return digits;
}

template <class Op>
void check(char const* what, std::string const& input, std::string const& want,
           Op op) {
  DString s = make(input);
  DString const keep(s); // a sharing handle keeps the old text
  op(s);
  if (bytesOf(s) != want)
    fail(what, "input " + show(input) + " I18N " +
                   std::to_string(DString::fgI18NState) + " gave " +
                   show(bytesOf(s)) + ", model " + show(want));
  if (bytesOf(keep) != input)
    fail(what, "the sharing handle changed for " + show(input));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  static bool const ready = [] {
    std::setlocale(LC_ALL, "C");
    return true;
  }();
  (void)ready;
  if (size == 0)
    return 0;
  DString::fgI18NState = data[0] & 1;
  std::string const raw(reinterpret_cast<char const*>(data + 1), size - 1);
  std::string const bytes = raw.substr(0, 64);
  // A decimal string without leading zeros made from the input.
  std::string decimal;
  for (unsigned char b : raw.substr(0, 80))
    decimal.push_back(static_cast<char>('0' + b % 10));
  while (decimal.size() > 1 && decimal[0] == '0')
    decimal.erase(0, 1);
  // A hexadecimal and a binary string made from the input.
  std::string hex, binary;
  for (unsigned char b : raw.substr(0, 40)) {
    hex.push_back("0123456789abcdefABCDEF"[b % 22]);
    binary.push_back(b % 3 == 0 ? '1' : '0');
  }

  check("c2x", bytes, modelC2x(bytes), [](DString& s) { s.c2x(); });
  check("c2x x2c", bytes, bytes, [](DString& s) { s.c2x().x2c(); });
  check("x2c", hex, modelX2c(hex), [](DString& s) { s.x2c(); });
  check("x2c raw", bytes, modelX2c(bytes), [](DString& s) { s.x2c(); });
  check("c2b", bytes, modelC2b(bytes), [](DString& s) { s.c2b(); });
  check("c2b b2c", bytes, bytes, [](DString& s) { s.c2b().b2c(); });
  check("b2c", binary, modelB2c(binary), [](DString& s) { s.b2c(); });
  check("b2c raw", bytes, modelB2c(bytes), [](DString& s) { s.b2c(); });
  check("d2c", decimal, modelD2c(decimal), [](DString& s) { s.d2c(); });
  check("d2c c2d", decimal, decimal, [](DString& s) { s.d2c().c2d(); });
  check("d2c raw", bytes, modelD2c(bytes), [](DString& s) { s.d2c(); });
  check("c2d", bytes, modelC2d(bytes), [](DString& s) { s.c2d(); });
  DString::fgI18NState = 0;
  return 0;
}
