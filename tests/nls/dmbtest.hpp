// Sample characters of the multibyte test locales, for the Mb* suites.
#ifndef D_TESTS_DMBTEST_HPP
#define D_TESTS_DMBTEST_HPP

#include "dtest_support.hpp"

#include <cstdlib>
#include <string>
#include <vector>

namespace dtest {

struct Mb {
  std::string wide;      // a character of three or four bytes
  std::string two;       // a character of two bytes
  std::string truncated; // a lead cut short (valid only at the text's end)
  std::vector<std::string> invalid; // sequences that start no character
  unsigned int l() const { return static_cast<unsigned int>(wide.size()); }
};

/// The samples of the current locale, or null outside the test locales.
inline Mb const* mbSamples() {
  // Codeset, wide, two, truncated, then the invalid sequences.
  static char const* const all[] = {
      "UTF-8|\xF0\x9F\x98\x80|\xC3\xA9|\xE3\x81|\x80|\xC0\xAF|\xFF|"
      "\xED\xA0\x80",
      "EUC-JP|\x8F\xB0\xA1|\xA4\xA2|\x8F\xB0|\xFF|\xA4\x41|\x8E\x41",
      "GB18030|\x81\x30\x86\x38|\xD6\xD0|\x81\x30\x81|\x80|\xFF|\x81\x30\x20"};
  static Mb samples;
  for (std::string const row : all) {
    std::vector<std::string> f(1);
    for (char c : row)
      c == '|' ? f.emplace_back() : (f.back() += c);
    if (MB_CUR_MAX > 1 && localeIs(f[0].c_str()))
      return &(samples = {f[1], f[2], f[3], {f.begin() + 4, f.end()}});
  }
  return nullptr;
}

} // namespace dtest

/// Skips the test outside the multibyte test locales; else binds \p name.
#define DTEST_MB(name)                                                         \
  dtest::Mb const* const name##p = dtest::mbSamples();                         \
  if (name##p == nullptr)                                                      \
    GTEST_SKIP() << "not a multibyte test locale";                             \
  dtest::Mb const& name = *name##p;                                            \
  static_cast<void>(name)

#endif // D_TESTS_DMBTEST_HPP
