// The DString handle: construction, the length arithmetic and its bounds.
#include "dstring.hpp"

#include "string/dstring_p.hpp"
#include "string/dstrradix_p.hpp"

#include "dtest_support.hpp"

#include <climits>
#include <cstring>
#include <functional>
#include <sstream>

using dtest::bytes;
using std::string;

TEST(DStringConstruct, ValuesTextsAndPieces) {
  unsigned char const utext[] = {0xC3, 0xA9, 0};
  signed char const stext[] = {'a', 'b', 0};
  // A text ends at its first NUL.
  std::pair<DString, string> const rows[] = {
      {DString(static_cast<unsigned short>(65535)), "65535"},
      {DString(4294967295u), "4294967295"},
      {DString(LONG_MIN), "-9223372036854775808"},
      {DString(ULONG_MAX), "18446744073709551615"},
      {DString(1.0 / 3), "0.333333333333333"},
      {DString(1e20), "1e+20"},
      {DString('\0'), string(1, '\0')},
      {DString(static_cast<unsigned char>(0xE9)), "\xE9"},
      {DString(utext), "\xC3\xA9"},
      {DString(stext), "ab"},
      {DString("ab\0cd"), "ab"},
      {DString(static_cast<void const*>(nullptr), 3, '*'), "***"},
      {DString("ab", 2, nullptr, 2, '-'), "ab--"},
      {DString("a", 1, nullptr, 2, "bc", 2, '.'), "a..bc"},
      {DString("a\0b", 3), string("a\0b", 3)},
      {DString(std::string_view("x\0y", 3)), string("x\0y", 3)}};
  for (auto const& [value, want] : rows)
    EXPECT_EQ(want + '\0',
              string(static_cast<char const*>(value), value.length() + 1));
  std::ostringstream out;
  out << DString('\0') << DString("a\0b", 3);
  EXPECT_EQ("a", out.str()); // streams write up to the first NUL
  for (DString const& e :
       {DString(), DString(static_cast<char const*>(nullptr)), DString(""),
        DString("abc", 0)})
    EXPECT_EQ(DBuffer::defaultBuffer(), e.buffer());
  EXPECT_EQ(DString::nullBuf(), DBuffer::defaultBuffer()->contents());
  string const raw("a\0b", 3);
  DString const s{std::string_view(raw)};
  EXPECT_EQ(raw, static_cast<string>(s));
  EXPECT_EQ(std::hash<std::string_view>()(raw), std::hash<DString>()(s));
}

//===--- Length bounds ----------------------------------------------------===//

// A length is at most 0xFFFFFFFE, a buffer at most 4294967270 bytes; each
// check raises 1010 at dbuffer0 line 561. Nothing here allocates.
TEST(DBufferOverflow, CheckedLengthArithmetic) {
  using dinternal::c2dWidth;
  dtest::RecordingTrace trace;
  // The sizes of results: the largest that passes, then the first that
  // fails (c2b 512 MiB, c2x 2 GiB, c2d head digits + 3 * (n - 4)).
  std::pair<unsigned long, unsigned long> const fits[] = {
      {dinternal::checkedAdd(0xFFFFFFFDu, 1), 0xFFFFFFFEu},
      {dinternal::checkedAdd(0, 0xFFFFFFFEu), 0xFFFFFFFEu},
      {dinternal::checkedMultiply(0x7FFFFFFFu, 2), 0xFFFFFFFEu},
      {dinternal::checkedMultiply(0xFFFFFFFFu, 0), 0},
      {dinternal::checkedLength(0xFFFFFFFEu), 0xFFFFFFFEu},
      {dinternal::c2bLength(0x1FFFFFFEu), 0xFFFFFFF0u},
      {dinternal::c2xLength(0x7FFFFFFFu), 0xFFFFFFFEu},
      {c2dWidth(5, 1), 4},
      {c2dWidth(1004, 13), 3013},
      {c2dWidth(0x55555549u + 4, 11), 4294967270u},
      {c2dWidth(0x5555554Cu + 4, 2), 4294967270u}};
  for (auto const& [got, want] : fits)
    EXPECT_EQ(want, got);
  dinternal::checkAllocatable(4294967270u);
  auto nb = [](unsigned int a, unsigned int b, unsigned int c) {
    DBuffer::defaultBuffer()->newBuffer(nullptr, a, nullptr, b, nullptr, c,
                                        ' ');
  };
  std::function<void()> const raising[] = {
      [] { dinternal::checkedAdd(0xFFFFFFFEu, 1); },
      [] { dinternal::checkedAdd(0, 0xFFFFFFFFu); },
      [] { dinternal::checkedMultiply(0x80000000u, 2); },
      [] { dinternal::checkedMultiply(0x55555555u, 3); },
      [] { dinternal::checkedLength(0xFFFFFFFFu); },
      [] { dinternal::checkedLength(std::size_t{1} << 32); },
      [] { dinternal::checkAllocatable(4294967271u); },
      [] { dinternal::c2bLength(0x1FFFFFFFu); },
      [] { dinternal::c2xLength(0x80000000u); },
      [] { c2dWidth(0x55555549u + 4, 12); },
      [] { c2dWidth(0x5555554Cu + 4, 3); },
      [] { c2dWidth(0x55555554u + 4, 1); },
      [] { c2dWidth(0xFFFFFFFFu, 10); },
      [&] { nb(0xFFFFFFFFu, 0, 0); },
      [&] { nb(1, 0xFFFFFFFDu, 1); },
      [&] { nb(0xFFFFFFFEu, 0, 0); }, // passes the sum, not the size
      [] { DBuffer::defaultBuffer()->allocate(4294967271u); }};
  for (auto const& call : raising)
    EXPECT_DEXCEPTION(call(), DInvalidRequest, 1010, true, "dbuffer0", 561);
  EXPECT_EQ(static_cast<int>(std::size(raising)), trace.logged);
}

// Class, address, count, length, text (from 24 bytes on: ten, "...", ten).
TEST(DStringDescription, DebugInfo) {
  string const t30 = "0123456789abcdefghijKLMNOPQRST", t23(23, 'x');
  for (auto const& [text, shown] : std::vector<std::pair<string, string>>{
           {string("ab\0cd", 5), "ab"},
           {t23, t23},
           {t30, "0123456789...KLMNOPQRST"}}) {
    DString const s = dtest::make(text), copy(s);
    string const want =
        "DBuffer(@" +
        std::to_string(reinterpret_cast<unsigned long>(s.buffer())) +
        ",refs=2,len=" + std::to_string(text.size()) + ",data=[" + shown + "])";
    EXPECT_EQ("DString(@" +
                  std::to_string(reinterpret_cast<unsigned long>(&s)) +
                  ",pBuffer->" + want + ")",
              bytes(s.asDebugInfo()));
  }
}
