// Sample characters of the multibyte test locales, shared by the nls tests:
// for each codeset a narrow (one-column) and a wide multibyte character, its
// longest character, byte sequences that start no character and a lead that
// is cut short when it ends the text.
#ifndef D_TESTS_DMBSAMPLES_HPP
#define D_TESTS_DMBSAMPLES_HPP

#include "dtest_support.hpp"

#include <string>
#include <vector>

namespace dtest {

struct MbSamples {
  char const* codeset;
  std::string narrow;               // multibyte, one display column
  std::string wide;                 // multibyte, two display columns
  std::string two;                  // a two-byte character
  std::string longest;              // the longest character of the codeset
  std::string ideoSpace;            // U+3000, white space
  std::vector<std::string> invalid; // sequences that start no character
  std::string truncated; // a lead cut short (only valid at the text's end)
};

/// The samples of the current locale, or null outside the test locales.
inline MbSamples const* mbSamples() {
  static MbSamples const utf8{"UTF-8",
                              "\xC3\xA9",
                              "\xE3\x81\x82",
                              "\xC3\xA9",
                              "\xF0\x9F\x98\x80",
                              "\xE3\x80\x80",
                              {"\x80", "\xC0\xAF", "\xFF", "\xED\xA0\x80"},
                              "\xE3\x81"};
  static MbSamples const eucjp{"EUC-JP",
                               "\x8E\xB1",
                               "\xA4\xA2",
                               "\xA4\xA2",
                               "\x8F\xB0\xA1",
                               "\xA1\xA1",
                               {"\xFF", "\xA4\x41", "\x8E\x41"},
                               "\x8F\xB0"};
  static MbSamples const gb18030{"GB18030",
                                 "\x81\x30\x86\x38",
                                 "\xA4\xA2",
                                 "\xD6\xD0",
                                 "\x81\x30\x86\x38",
                                 "\xA1\xA1",
                                 {"\x80", "\xFF", "\x81\x30\x20"},
                                 "\x81\x30\x81"};
  for (MbSamples const* s : {&utf8, &eucjp, &gb18030})
    if (localeIs(s->codeset))
      return s;
  return nullptr;
}

} // namespace dtest

/// Skips the test outside the multibyte test locales; else binds \p name.
#define DTEST_MB_SAMPLES(name)                                                 \
  dtest::MbSamples const* name = dtest::mbSamples();                           \
  if (name == nullptr) {                                                       \
    GTEST_SKIP() << "not a multibyte test locale";                             \
  }                                                                            \
  static_cast<void>(0)

#endif // D_TESTS_DMBSAMPLES_HPP
