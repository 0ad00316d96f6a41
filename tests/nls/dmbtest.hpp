// Sample characters of the multibyte test locales and helpers shared by the
// multibyte suites.
#ifndef D_TESTS_DMBTEST_HPP
#define D_TESTS_DMBTEST_HPP

#include "dmbmodels.hpp"
#include "dtest_support.hpp"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace dtest {

struct Mb {
  char const* codeset;
  std::string narrow, dbl; // multibyte, one and two display columns
  std::string two;         // a two-byte character
  std::string wide;        // a character of three or four bytes
  std::string longest, ideoSpace, alpha, capitalAlpha;
  std::vector<std::string> invalid; // sequences that start no character
  std::string truncated; // a lead cut short (only valid at the text's end)
  unsigned int l() const { return static_cast<unsigned int>(wide.size()); }
};

/// The samples of the current locale, or null outside the test locales.
inline Mb const* mbSamples() {
  static Mb const all[] = {{"UTF-8",
                            "\xC3\xA9",
                            "\xE3\x81\x82",
                            "\xC3\xA9",
                            "\xE3\x81\x82",
                            "\xF0\x9F\x98\x80",
                            "\xE3\x80\x80",
                            "\xCE\xB1",
                            "\xCE\x91",
                            {"\x80", "\xC0\xAF", "\xFF", "\xED\xA0\x80"},
                            "\xE3\x81"},
                           {"EUC-JP",
                            "\x8E\xB1",
                            "\xA4\xA2",
                            "\xA4\xA2",
                            "\x8F\xB0\xA1",
                            "\x8F\xB0\xA1",
                            "\xA1\xA1",
                            "\xA6\xC1",
                            "\xA6\xA1",
                            {"\xFF", "\xA4\x41", "\x8E\x41"},
                            "\x8F\xB0"},
                           {"GB18030",
                            "\x81\x30\x86\x38",
                            "\xA4\xA2",
                            "\xD6\xD0",
                            "\x81\x30\x81\x30",
                            "\x81\x30\x86\x38",
                            "\xA1\xA1",
                            "\xA6\xC1",
                            "\xA6\xA1",
                            {"\x80", "\xFF", "\x81\x30\x20"},
                            "\x81\x30\x81"}};
  for (Mb const& s : all)
    if (MB_CUR_MAX > 1 && localeIs(s.codeset))
      return &s;
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
