// {fmt} formatting of DString, DDate and DTime (dformatter.hpp) in the
// locale of the environment (ctest: C and en_US.UTF-8), on which it must
// not depend. Width and precision count as fmt counts UTF-8 text: code
// points, two columns for a wide East Asian character, one for each byte
// that is not valid UTF-8 and for an embedded NUL.
#include <dformatter.hpp>

#include <clocale>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

static_assert(D_FORMATTER_HAVE_FMT == 1, "the test needs {fmt}");

TEST(DFormatter, StringsDatesAndTimes) {
  std::setlocale(LC_ALL, "");
  using S = std::string;
  S const rows[][3] = {
      {"abc", "{:*^7}", "**abc**"},
      {"", "{:*>3}", "***"},
      {"abcdef", "{:_>4.2}", "__ab"},
      {S("a\0b", 3), "{:*>5}", S("**a\0b", 5)},
      {"\xE9t\xE9", "{:*>5}", "**\xE9t\xE9"},
      {"\xE6\x97\xA5", "{:*>4}", "**\xE6\x97\xA5"},
      {"\xC3\xA9z", "{:.1}", "\xC3\xA9"},
  };
  for (auto const& row : rows) {
    DString const text(row[0].data(), static_cast<unsigned>(row[0].size()),
                       ' ');
    EXPECT_EQ(row[2], fmt::format(fmt::runtime(row[1]), text)) << row[1];
  }
  DString const original("shared"), copy = original; // one shared buffer
  EXPECT_EQ("   shared|shared  ",
            fmt::format("{:>{}}|{:<8}", original, 9, copy));
  DDate const date(DDate::September, 14, 1752);
  DTime const time(13, 5, 9);
  std::ostringstream dateText, timeText;
  dateText << date;
  timeText << time;
  EXPECT_EQ(dateText.str() + "|" + timeText.str(),
            fmt::format("{}|{}", date, time));
  EXPECT_EQ(std::string(20 - dateText.str().size(), '#') + dateText.str(),
            fmt::format("{:#>20}", date));
}
