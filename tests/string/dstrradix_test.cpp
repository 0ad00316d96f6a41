// Radix conversions of DString: x2c, c2x, b2c, c2b, d2c, c2d and the
// one-step members: edge cases, quirks and limits. fuzz_radix compares the
// conversions with the models of dmodels.hpp on generated inputs.
#include "string/dstrradix_p.hpp"

#include "dstring.hpp"
#include "dtest_support.hpp"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

using dtest::bytes;

namespace {

// Runs a conversion on a string that shares its buffer with a second
// handle, then checks that the second handle kept the old text, that the
// result has a buffer of its own (count 1) and a NUL behind its text.
std::string convert(std::string const& input, DString& (DString::*op)()) {
  DString s(std::string_view{input});
  DString const keeper(s);
  (s.*op)();
  EXPECT_EQ(input, bytes(keeper)) << "a shared buffer was modified";
  EXPECT_EQ('\0', static_cast<char const*>(s)[s.length()]);
  if (s.length() != 0 && bytes(s) != input) {
    EXPECT_NE(keeper.buffer(), s.buffer());
    EXPECT_EQ(1u, s.buffer()->useCount());
  }
  return bytes(s);
}

std::string digits(std::mt19937& random, std::size_t n) {
  std::string s(n, '0');
  for (char& c : s)
    c = static_cast<char>('0' + random() % 10);
  if (n > 0)
    s[0] = static_cast<char>('1' + random() % 9);
  return s;
}

} // namespace

//===--- Edge cases of every conversion -----------------------------------===//

TEST(DStringRadix, TableOfCases) {
  using Op = DString& (DString::*)();
  struct Case {
    char const* name;
    Op op;
    std::string in, want;
  };
  std::string const zeros5(5, '\0');
  Case const cases[] = {
      {"x2c f", &DString::x2c, "f", "\x0F"},
      {"x2c 0a0B", &DString::x2c, "0a0B", "\x0A\x0B"},
      {"x2c odd", &DString::x2c, "ABC", "\x0A\xBC"},
      {"x2c blank", &DString::x2c, "1 2", ""},
      {"x2c sign", &DString::x2c, "-1", ""},
      {"x2c g", &DString::x2c, "fg", ""},
      {"x2c nul", &DString::x2c, std::string("a\0", 2), ""},
      {"x2c high", &DString::x2c, "\xB0", ""},
      {"c2x", &DString::c2x, std::string("\0\xAB", 2), "00AB"},
      {"c2x ff", &DString::c2x, "\xFF\x7F", "FF7F"},
      {"b2c 1", &DString::b2c, "1", "\x01"},
      {"b2c nine", &DString::b2c, "100000001", "\x01\x01"},
      {"b2c eight", &DString::b2c, "11111111", "\xFF"},
      {"b2c 12", &DString::b2c, "12", ""},
      {"b2c blank", &DString::b2c, "1 ", ""},
      {"b2c high byte", &DString::b2c, "\xFF", std::string(1, '\0')},
      {"b2c high mix", &DString::b2c,
       "1\x80\xA0"
       "1",
       "\x09"},
      {"c2b", &DString::c2b, "\x41", "01000001"},
      {"c2b two", &DString::c2b, std::string("\x80\0", 2), "1000000000000000"},
      {"d2c 0", &DString::d2c, "0", std::string(1, '\0')},
      {"d2c 000", &DString::d2c, "000", std::string(1, '\0')},
      {"d2c 255", &DString::d2c, "255", "\xFF"},
      {"d2c 256", &DString::d2c, "256", std::string("\x01\0", 2)},
      {"d2c 65535", &DString::d2c, "65535", "\xFF\xFF"},
      {"d2c minus", &DString::d2c, "-1", ""},
      {"d2c blank", &DString::d2c, " 1", ""},
      {"d2c point", &DString::d2c, "1.5", ""},
      {"d2c hex", &DString::d2c, "1a", ""},
      {"d2c 2^64", &DString::d2c, "18446744073709551616",
       std::string("\x01\0\0\0\0\0\0\0\0", 9)},
      {"d2c 40 digits", &DString::d2c,
       "1234567890123456789012345678901234567890",
       "\x03\xA0\xC9\x20\x75\xC0\xDB\xF3\xB8\xAC\xBC\x5F\x96\xCE\x3F\x0A\xD2"},
      {"c2d 256", &DString::c2d, std::string("\x01\0", 2), "256"},
      {"c2d 2^32", &DString::c2d, std::string("\x01\0\0\0\0", 5), "4294967296"},
      {"c2d 4 zero", &DString::c2d, std::string(4, '\0'), "0"},
      {"c2d 1 zero", &DString::c2d, std::string(1, '\0'), "0"},
      {"c2d 5 zero", &DString::c2d, zeros5, "0000"},
      {"c2d 6 zero", &DString::c2d, std::string(6, '\0'), "0000000"},
      {"c2d ffff", &DString::c2d, "\xFF\xFF\xFF\xFF", "4294967295"},
      {"c2d 2^64-1", &DString::c2d, std::string(8, '\xFF'),
       "18446744073709551615"},
      {"c2d lead zero", &DString::c2d, std::string("\0\0\0\0\0\x07", 6), "7"},
  };
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    for (auto const& c : cases) {
      SCOPED_TRACE(std::string(c.name) + " flag " + std::to_string(flag));
      EXPECT_EQ(c.want, convert(c.in, c.op));
    }
  }
}

TEST(DStringRadix, EmptyStaysEmpty) {
  using Op = DString& (DString::*)();
  Op const ops[] = {&DString::x2c, &DString::c2x, &DString::b2c,
                    &DString::c2b, &DString::d2c, &DString::c2d};
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    for (Op op : ops) {
      DString s;
      EXPECT_EQ(&s, &(s.*op)());
      EXPECT_EQ(0u, s.length());
      EXPECT_STREQ("", s);
    }
  }
}

TEST(DStringRadix, InvalidInputGivesTheNullText) {
  // Not unchanged and no exception: the text DString::null, on a handle
  // that shared its old buffer with another one.
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    DString s("12x");
    DString const other(s);
    EXPECT_EQ(&s, &s.d2c());
    EXPECT_EQ(DString(DString::null).buffer(), s.buffer());
    EXPECT_EQ("12x", bytes(other));
  }
}

// A buffer class of a user of the library: with the flag off x2c must ask
// its own isHexDigits, and its destructor runs when the last handle goes.
namespace {
int userBuffersDeleted = 0;

class NoHexBuffer : public DBuffer {
public:
  explicit NoHexBuffer(unsigned int n) : DBuffer(n) {}
  ~NoHexBuffer() override { ++userBuffersDeleted; }
  bool isHexDigits() const override { return false; }
  static DString make(std::string const& text) {
    auto const n = static_cast<unsigned int>(text.size());
    void* storage = ::operator new[](sizeof(NoHexBuffer) + n + 1);
    auto* b = new (storage) NoHexBuffer(n);
    std::memcpy(b->contents(), text.data(), n);
    return DString(static_cast<DBuffer*>(b));
  }
};
} // namespace

TEST(DStringRadix, X2CAsksAnOverriddenHexTest) {
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    userBuffersDeleted = 0;
    {
      DString s = NoHexBuffer::make("0a");
      DString const kept(s);
      s.x2c();
      // Flag 1 tests the bytes with isxdigit, whatever the buffer says.
      EXPECT_EQ(flag ? std::string("\x0A") : "", bytes(s));
      EXPECT_EQ("0a", bytes(kept));
      EXPECT_EQ(0, userBuffersDeleted);
    }
    EXPECT_EQ(1, userBuffersDeleted);
  }
}

TEST(DStringRadix, HeadLengthFollowsMaxLong) {
  // The head that strtol converts is strlen(maxLong) - 1 digits, whatever
  // maxLong holds: with an 11-character text a 10-digit head.
  char const* const saved = DString::maxLong;
  EXPECT_EQ(19u, std::strlen(saved));
  char const* const shortText = "0x7fffffffL";
  DString::maxLong = shortText;
  std::string const in = "98765432109876543210987654321";
  std::string const got = convert(in, &DString::d2c);
  DString::maxLong = saved;
  EXPECT_EQ(dmodel::d2c(in), got); // the value does not depend on it
  // A head of more than 18 digits may pass LONG_MAX: strtol clamps it, and
  // the conversion keeps that clamp rather than wrapping.
  char const* const longText = "0x7fffffffffffffffffffffffL";
  DString::maxLong = longText;
  std::string const big = "99999999999999999999999999";
  std::string const clamped = convert(big, &DString::d2c);
  DString::maxLong = saved;
  EXPECT_EQ("\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF", clamped);
}

//===--- The one-step members ---------------------------------------------===//

TEST(DStringRadix, BinaryMathWidensByFlag) {
  struct Case {
    std::string in;
    unsigned char digit;
    int flag;
    std::string want;
  };
  Case const cases[] = {
      // Flag 0 widens on every step, flag 1 only under a non-zero top byte.
      {std::string("\0\x19", 2), 5, 0, std::string("\0\0\xFF", 3)},
      {std::string("\0\x19", 2), 5, 1, std::string("\0\xFF", 2)},
      {std::string("\0\x1A", 2), 0, 1, std::string("\x01\x04", 2)},
      {"\x1A", 0, 1, std::string("\x01\x04", 2)},
      {"\x1A", 9, 0, std::string("\x01\x0D", 2)},
      {std::string(3, '\0'), 7, 1, std::string("\0\0\x07", 3)},
      {std::string(3, '\0'), 7, 0, std::string("\0\0\0\x07", 4)},
      {"\xFF\xFF", 9, 1, "\x09\xFF\xFF"},
  };
  for (auto const& c : cases) {
    dtest::I18NState state(c.flag);
    DString s(std::string_view{c.in});
    DString const keeper(s);
    s.binaryMath(c.digit);
    EXPECT_EQ(c.want, bytes(s)) << dmodel::c2x(c.in) << " flag " << c.flag;
    EXPECT_EQ(c.in, bytes(keeper));
  }
}

TEST(DStringRadix, DecimalMathKeepsThreeDigitsOfRoom) {
  struct Case {
    char const* in;
    unsigned char byte;
    char const* want;
  };
  Case const cases[] = {
      {"1", 0, "0256"},       // no zeros: three more digits
      {"01", 255, "0511"},    // one zero: two more
      {"0001", 1, "0257"},    // three zeros: the length stays
      {"00000", 7, "00007"},  // all zeros: z is the whole length
      {"999", 255, "255999"}, // the carry fills the room
      {"000", 0, "000"},
  };
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    for (auto const& c : cases) {
      DString s(c.in);
      DString const keeper(s);
      s.decimalMath(c.byte);
      EXPECT_EQ(c.want, bytes(s)) << c.in << " flag " << flag;
      EXPECT_STREQ(c.in, keeper);
    }
  }
}

TEST(DStringRadix, OneStepMembersOnAnEmptyReceiver) {
  // d2c and c2d never pass an empty string to these members; called
  // directly, the library reads the empty receiver as 0 in both.
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    DString b;
    b.binaryMath(7);
    EXPECT_EQ("\x07", bytes(b));
    DString d;
    d.decimalMath(42);
    EXPECT_EQ("042", bytes(d));
  }
}

//===--- Length limits ----------------------------------------------------===//
// The limits sit at 512 MiB (c2b), 2 GiB (c2x) and 1.4 GB (c2d) of input,
// which a unit test cannot allocate. The conversions run these inline
// checks before allocating or changing anything, so the checks are probed
// here at their exact bounds.

TEST(DStringRadix, LengthLimits) {
  dtest::RecordingTrace trace;
  EXPECT_EQ(0xFFFFFFF0u, dinternal::c2bLength(0x1FFFFFFEu));
  EXPECT_EQ(8u, dinternal::c2bLength(1));
  EXPECT_DEXCEPTION(dinternal::c2bLength(0x1FFFFFFFu), DInvalidRequest, 1010,
                    true, "dbuffer0", 561);
  EXPECT_DEXCEPTION(dinternal::c2bLength(0xFFFFFFFFu), DInvalidRequest, 1010,
                    true, "dbuffer0", 561);

  EXPECT_EQ(0xFFFFFFFCu, dinternal::c2xLength(0x7FFFFFFEu));
  EXPECT_EQ(0xFFFFFFFEu, dinternal::c2xLength(0x7FFFFFFFu));
  EXPECT_DEXCEPTION(dinternal::c2xLength(0x80000000u), DInvalidRequest, 1010,
                    true, "dbuffer0", 561);

  // c2d: head digits + 3 * (n - 4), allocatable (at most 4294967270), and
  // n - 4 below 0x55555555.
  EXPECT_EQ(4u, dinternal::c2dWidth(5, 1));
  EXPECT_EQ(13u + 3u * 1000u, dinternal::c2dWidth(1004, 13));
  EXPECT_EQ(4294967270u, dinternal::c2dWidth(0x55555549u + 4, 11));
  EXPECT_DEXCEPTION(dinternal::c2dWidth(0x55555549u + 4, 12), DInvalidRequest,
                    1010, true, "dbuffer0", 561);
  EXPECT_EQ(4294967270u, dinternal::c2dWidth(0x5555554Cu + 4, 2));
  EXPECT_DEXCEPTION(dinternal::c2dWidth(0x5555554Cu + 4, 3), DInvalidRequest,
                    1010, true, "dbuffer0", 561);
  // 3 * 0x55555554 + 1 passes 32 bits; 0x55555555 fails the count test.
  EXPECT_DEXCEPTION(dinternal::c2dWidth(0x55555554u + 4, 1), DInvalidRequest,
                    1010, true, "dbuffer0", 561);
  EXPECT_DEXCEPTION(dinternal::c2dWidth(0x55555555u + 4, 1), DInvalidRequest,
                    1010, true, "dbuffer0", 561);
  EXPECT_DEXCEPTION(dinternal::c2dWidth(0xFFFFFFFFu, 10), DInvalidRequest, 1010,
                    true, "dbuffer0", 561);
  // Each raise was reported once.
  EXPECT_EQ(8, trace.logged);
}

TEST(DStringRadix, MultiplesOfTheChunkBaseRoundTrip) {
  // Numbers divisible by 10^19 and 10^38 end in all-zero 19-digit chunks:
  // the rare remainders at the divisor's exact value hide there.
  std::mt19937 random(31337);
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    for (std::size_t n = 1; n <= 120; ++n) {
      for (std::size_t zeros : {19, 38, 57}) {
        std::string const in = digits(random, n) + std::string(zeros, '0');
        DString s(in.c_str());
        EXPECT_EQ(in, bytes(s.d2c().c2d())) << "flag " << flag;
      }
    }
  }
}

//===--- Multibyte locales ------------------------------------------------===//

TEST(MbStringRadix, ConversionsAreByteWise) {
  // Binary results hold bytes that are not characters of the locale; the
  // conversions neither split nor reject them.
  std::string const raw = "\xA4\xA2\xE3\x81\x82\x80\xFF";
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    std::string const hex = convert(raw, &DString::c2x);
    EXPECT_EQ("A4A2E3818280FF", hex);
    EXPECT_EQ(raw, convert(hex, &DString::x2c));
    std::string const decimal = convert(raw, &DString::c2d);
    EXPECT_EQ(dmodel::c2d(raw), decimal);
    EXPECT_EQ(raw, convert(decimal, &DString::d2c));
    EXPECT_EQ(dmodel::c2b(raw), convert(raw, &DString::c2b));
  }
}

TEST(MbStringRadix, ValidityInTheBufferClass) {
  // The results keep the class of the receiver's buffer, and with the flag
  // off the multibyte buffer's own character tests decide validity: a
  // multibyte character (or a stray byte) is never a digit.
  DString probe("12");
  char const* const className = probe.buffer()->className();
  struct Case {
    char const* text;
    DString& (DString::*op)();
    std::string want;
  };
  Case const cases[] = {
      {"4142", &DString::x2c, "AB"},       {"65535", &DString::d2c, "\xFF\xFF"},
      {"\xA4\xA2", &DString::x2c, ""},     {"1\xA4\xA2", &DString::d2c, ""},
      {"\xEF\xBC\x91", &DString::d2c, ""}, // fullwidth one in UTF-8
      {"\xFF", &DString::x2c, ""},         {"\xFF", &DString::d2c, ""},
  };
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    for (auto const& c : cases) {
      SCOPED_TRACE(std::string(c.text) + " flag " + std::to_string(flag));
      DString s(c.text);
      (s.*c.op)();
      EXPECT_EQ(c.want, bytes(s));
      if (!c.want.empty()) {
        EXPECT_EQ(className, s.buffer()->className());
      }
    }
  }
}

//===--- Debug descriptions of the root classes ---------------------------===//
// DBase and DVBase render their address as the decimal text of the number,
// then d2c, then c2x: upper-case hexadecimal of the shortest byte string,
// so an odd count of hexadecimal digits gains a leading 0.

namespace {
std::string hexOfAddress(void const* p) {
  char text[32];
  std::snprintf(text, sizeof text, "%lX", reinterpret_cast<unsigned long>(p));
  std::string const hex = text;
  return hex.size() % 2 ? "0" + hex : hex;
}
} // namespace

TEST(DBaseDebugInfo, AddressChainOfD2CThenC2X) {
  struct Case {
    unsigned long value;
    char const* want;
  };
  Case const cases[] = {{0ul, "00"},
                        {15ul, "0F"},
                        {256ul, "0100"},
                        {0x7FFD12345678ul, "7FFD12345678"},
                        {0x55A1B2C3D4Eul, "055A1B2C3D4E"},
                        {~0ul, "FFFFFFFFFFFFFFFF"}};
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    for (auto const& c : cases) {
      DString s(c.value);
      EXPECT_EQ(c.want, bytes(s.d2c().c2x())) << c.value << " flag " << flag;
    }
  }
}

TEST(DBaseDebugInfo, StackHeapAndStaticObjects) {
  static DBase const staticBase;
  static DVBase const staticVBase;
  DBase const stackBase;
  DVBase const stackVBase;
  std::unique_ptr<DVBase> heapVBase(new DVBase);
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    for (DBase const* b : {&staticBase, &stackBase})
      EXPECT_EQ("DBase(@" + hexOfAddress(b) + ")", bytes(b->asDebugInfo()));
    for (DVBase const* v : {&staticVBase, &stackVBase,
                            static_cast<DVBase const*>(heapVBase.get())}) {
      EXPECT_EQ("DVBase(@" + hexOfAddress(v) + ")", bytes(v->asDebugInfo()));
      // The non-virtual DBase form names its own subobject.
      DBase const* const base = v;
      EXPECT_EQ("DBase(@" + hexOfAddress(base) + ")",
                bytes(base->asDebugInfo()));
    }
  }
}
