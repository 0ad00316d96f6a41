// Byte scanners of the radix conversions: indexThatIsNot, isAllDigits and
// isAllHexDigits work on bytes (NULs and bytes above 0x7F included) and
// answer for the empty text without reading it.
#include "dnlsutil.hpp"
#include "dtest_support.hpp"

#include <string>

TEST(DByteScan, IndexThatIsNot) {
  struct Case {
    std::string text;
    char c;
    unsigned int want;
  };
  std::string const zeros(40, '\0');
  Case const cases[] = {
      {"", '0', 0},
      {"0", '0', 0},
      {"1", '0', 1},
      {"0001", '0', 4},
      {std::string(17, '0') + "x", '0', 18},
      {zeros, '\0', 0},
      {zeros + "\x01", '\0', 41},
      {std::string(8, '\0') + "\x80" + zeros, '\0', 9},
      {std::string(9, '\xFF') + "a", '\xFF', 10},
      {std::string(7, '\0') + "\x01", '\0', 8},
      {"abc", '\0', 1},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.text.size());
    EXPECT_EQ(c.want,
              indexThatIsNot(c.text.data(),
                             static_cast<unsigned>(c.text.size()), c.c));
  }
  // Only len bytes are read: a difference past them does not count.
  EXPECT_EQ(0u, indexThatIsNot("000x", 3, '0'));
  EXPECT_EQ(0u, indexThatIsNot(nullptr, 0, 'a'));
}

TEST(DByteScan, DigitTests) {
  struct Case {
    std::string text;
    bool digits, hex;
  };
  Case const cases[] = {
      {"", true, true},
      {"0123456789", true, true},
      {"abcdefABCDEF", false, true},
      {"12a", false, true},
      {"g", false, false},
      {"1 2", false, false},
      {"-1", false, false},
      {std::string("1\0", 2), false, false},
      {"\xB2", false, false}, // superscript two in Latin-1
      {"\xFF", false, false},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.text);
    unsigned int const n = static_cast<unsigned>(c.text.size());
    EXPECT_EQ(c.digits, isAllDigits(c.text.data(), n));
    EXPECT_EQ(c.hex, isAllHexDigits(c.text.data(), n));
  }
  // Long texts are tested in blocks of 64: a stray byte in any position
  // of a block, or in the tail behind the blocks, still fails.
  for (unsigned int n : {63u, 64u, 65u, 128u, 200u}) {
    std::string const digits(n, '7');
    EXPECT_TRUE(isAllDigits(digits.data(), n));
    EXPECT_TRUE(isAllHexDigits(digits.data(), n));
    for (unsigned int at : {0u, 31u, 63u, 64u, n - 1}) {
      if (at >= n)
        continue;
      std::string bad = digits;
      bad[at] = 'f';
      EXPECT_FALSE(isAllDigits(bad.data(), n)) << n << " " << at;
      EXPECT_TRUE(isAllHexDigits(bad.data(), n)) << n << " " << at;
      bad[at] = '\x80';
      EXPECT_FALSE(isAllHexDigits(bad.data(), n)) << n << " " << at;
    }
  }
  EXPECT_TRUE(isAllDigits("12x", 2));
  EXPECT_TRUE(isAllHexDigits(nullptr, 0));
}
