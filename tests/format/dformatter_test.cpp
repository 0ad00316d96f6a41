// {fmt} formatting of DString, DDate and DTime (dformatter.hpp). Runs in the
// locale of the environment (ctest: C and en_US.UTF-8); string formatting
// must not depend on it.
#include <dformatter.hpp>

#include <clocale>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

static_assert(D_FORMATTER_HAVE_FMT == 1, "the test needs {fmt}");

namespace {

std::string bytes(char const* text, unsigned int length) {
  return std::string(text, length);
}

struct StringRow {
  char const* name;
  std::string text; // the DString's bytes
  char const* format;
  std::string expected;
};

TEST(DFormatter, StringsWithFormatSpecifications) {
  // Width and precision as fmt counts UTF-8 text: code points, two columns
  // for a wide East Asian character, one for each byte that is not valid
  // UTF-8 and for an embedded NUL.
  StringRow const rows[] = {
      {"plain", "abc", "{}", "abc"},
      {"empty", "", "[{}]", "[]"},
      {"empty, width", "", "{:*>3}", "***"},
      {"centre, fill", "abc", "{:*^7}", "**abc**"},
      {"centre, odd", "ab", "{:-^5}", "-ab--"},
      {"right", "abc", "{:>5}", "  abc"},
      {"left is the default", "abc", "{:5}|", "abc  |"},
      {"narrower than the text", "abcdef", "{:3}", "abcdef"},
      {"precision", "abcdef", "{:.2}", "ab"},
      {"precision and width", "abcdef", "{:_>4.2}", "__ab"},
      {"type s", "abc", "{:s}", "abc"},
      {"dynamic width", "abc", "{:>{}}", "    abc"},
      {"embedded NUL kept", bytes("a\0b", 3), "{}", bytes("a\0b", 3)},
      {"embedded NUL counts", bytes("a\0b", 3), "{:*>5}", bytes("**a\0b", 5)},
      {"Latin-1 bytes count one each", "\xE9t\xE9", "{:*>5}", "**\xE9t\xE9"},
      {"byte 0xFF", "\xFF", "{:.>2}", ".\xFF"},
      {"UTF-8 two-byte character", "\xC3\xA9", "{:*>4}", "***\xC3\xA9"},
      {"UTF-8 wide character", "\xE6\x97\xA5", "{:*>4}", "**\xE6\x97\xA5"},
      {"precision keeps characters whole", "\xC3\xA9z", "{:.1}", "\xC3\xA9"},
  };
  for (StringRow const& row : rows) {
    DString const text(row.text.data(),
                       static_cast<unsigned int>(row.text.size()), ' ');
    std::string const shown =
        row.format == std::string("{:>{}}")
            ? fmt::format(fmt::runtime(row.format), text, 7)
            : fmt::format(fmt::runtime(row.format), text);
    EXPECT_EQ(shown, row.expected) << row.name;
  }
}

TEST(DFormatter, SharedAndUnsharedStringsFormatAlike) {
  DString const original("shared");
  DString copy = original;
  EXPECT_EQ(fmt::format("{:>8}|{:<8}", original, copy), "  shared|shared  ");
  copy.upperCase(); // copy on write: the original keeps its text
  EXPECT_EQ(fmt::format("{} {}", original, copy), "shared SHARED");
}

TEST(DFormatter, DatesAndTimesAsTheirStreamOperators) {
  DDate const date(DDate::September, 14, 1752);
  DTime const time(13, 5, 9);
  std::ostringstream dateStream, timeStream;
  dateStream << date;
  timeStream << time;
  EXPECT_EQ(fmt::format("{}", date), dateStream.str());
  EXPECT_EQ(fmt::format("{}", time), timeStream.str());
  std::string const padded = fmt::format("{:#>20}", date);
  ASSERT_EQ(padded.size(), 20u);
  EXPECT_EQ(padded.substr(20 - dateStream.str().size()), dateStream.str());
  EXPECT_EQ(fmt::format("{:.2}", time), timeStream.str().substr(0, 2));
  // Another layout: format the DString of asString(format).
  EXPECT_EQ(fmt::format("{}", date.asString("%Y-%m-%d")), "1752-09-14");
}

} // namespace

int main(int argc, char** argv) {
  std::setlocale(LC_ALL, "");
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
