// Fuzz target: the radix conversions against models and round trips, in both
// values of fgI18NState, on a shared handle (the other keeps its text).
#include "../tests/support/dmodels.hpp"
#include "fuzz_input.hpp"

#include <clocale>
#include <cstdint>
#include <string>

namespace {

template <class Op>
void check(char const* what, std::string const& input, std::string const& want,
           Op op) {
  DString s = dtest::make(input);
  DString const keep(s);
  op(s);
  std::string const got = dtest::bytes(s);
  if (got != want || static_cast<char const*>(s)[s.length()] != '\0' ||
      dtest::bytes(keep) != input)
    dfuzz::fail(what, "input " + dfuzz::show(input) + " I18N " +
                          std::to_string(DString::fgI18NState) + " gave " +
                          dfuzz::show(got) + ", model " + dfuzz::show(want) +
                          ", the sharing handle " +
                          dfuzz::show(dtest::bytes(keep)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  static char const* const locale = std::setlocale(LC_ALL, "C");
  (void)locale;
  if (size == 0)
    return 0;
  DString::fgI18NState = data[0] & 1;
  // Long inputs reach the word-at-a-time paths (heads of 4 bytes and 18
  // digits, limbs of 8 bytes and 19 digits).
  std::string const raw(reinterpret_cast<char const*>(data + 1), size - 1);
  std::string const bytes = raw.substr(0, 300);
  std::string decimal, hex, binary;
  for (unsigned char b : raw.substr(0, 400))
    decimal.push_back(static_cast<char>('0' + b % 10));
  decimal.erase(0, std::min(decimal.find_first_not_of('0'),
                            decimal.empty() ? 0 : decimal.size() - 1));
  // Multiples of 10^19, 10^38 and 10^57 end in all-zero chunks, where the
  // remainders at the divisor's exact value hide.
  if (decimal.size() > 1 || (decimal.size() == 1 && decimal[0] != '0'))
    decimal.append(19u * ((data[0] >> 1) & 3u), '0');
  for (unsigned char b : raw.substr(0, 80)) {
    hex.push_back("0123456789abcdefABCDEF"[b % 22]);
    binary.push_back(b % 3 == 0 ? '1' : '0');
  }
  using namespace dmodel;
  check("c2x", bytes, c2x(bytes), [](DString& s) { s.c2x(); });
  check("c2x x2c", bytes, bytes, [](DString& s) { s.c2x().x2c(); });
  check("x2c", hex, x2c(hex), [](DString& s) { s.x2c(); });
  check("x2c raw", bytes, x2c(bytes), [](DString& s) { s.x2c(); });
  check("c2b", bytes, c2b(bytes), [](DString& s) { s.c2b(); });
  check("c2b b2c", bytes, bytes, [](DString& s) { s.c2b().b2c(); });
  check("b2c", binary, b2c(binary), [](DString& s) { s.b2c(); });
  check("b2c raw", bytes, b2c(bytes), [](DString& s) { s.b2c(); });
  check("d2c", decimal, d2c(decimal), [](DString& s) { s.d2c(); });
  check("d2c c2d", decimal, decimal, [](DString& s) { s.d2c().c2d(); });
  check("d2c raw", bytes, d2c(bytes), [](DString& s) { s.d2c(); });
  check("c2d", bytes, c2d(bytes), [](DString& s) { s.c2d(); });
  DString::fgI18NState = 0;
  return 0;
}
