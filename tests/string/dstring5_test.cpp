// Concatenation, bit operators and indexing of DString: aliasing, shared
// buffers, cyclic masks and the index range errors with their locations.
#include "dexcept.hpp"
#include "dstring.hpp"
#include "dtest_support.hpp"

#include <gtest/gtest.h>
#include <string>

using dtest::make;

namespace {

using dtest::bytes;

// Bytes, the NUL behind them, and (for non-empty texts) the count.
void expectText(DString const& s, std::string const& want,
                unsigned int refs = 1) {
  EXPECT_EQ(want, bytes(s));
  EXPECT_EQ('\0', static_cast<char const*>(s)[s.length()]);
  if (!want.empty()) {
    EXPECT_EQ(refs, s.buffer()->useCount());
  }
}

char const* text(DString const& s) {
  return static_cast<char const*>(s);
}

//===--- Concatenation ----------------------------------------------------===//

struct ConcatCase {
  std::string left, right;
};
ConcatCase const concatCases[] = {
    {"abc", "de"},
    {"", "x"},
    {"x", ""},
    {"", ""},
    {std::string("a\0b", 3), std::string("\0c", 2)},
    {"\xE9\xFF", "\x80"},
};

TEST(DStringConcat, AllFormsJoinAllBytes) {
  for (auto const& c : concatCases) {
    SCOPED_TRACE(c.left + "|" + c.right);
    std::string const want = c.left + c.right;
    DString const l = make(c.left), r = make(c.right);
    expectText(l + r, want);
    DString appended = make(c.left);
    appended += r;
    expectText(appended, want);
    if (c.right.find('\0') == std::string::npos) {
      expectText(l + c.right.c_str(), want);
      DString viaText = make(c.left);
      viaText += c.right.c_str();
      expectText(viaText, want);
    }
    if (c.left.find('\0') == std::string::npos)
      expectText(c.left.c_str() + r, want);
    expectText(l, c.left); // value forms leave the receiver alone
  }
}

TEST(DStringConcat, EmptyArgumentKeepsTheBuffer) {
  DString s("abc");
  DString const other(s);
  char const* before = text(s);
  s += static_cast<char const*>(nullptr);
  s += "";
  s += DString();
  EXPECT_EQ(before, text(s));
  expectText(s, "abc", 2);
}

TEST(DStringConcat, NullTextPiecesAreEmpty) {
  char const* none = nullptr;
  expectText(DString("ab") + none, "ab");
  expectText(none + DString("ab"), "ab");
}

TEST(DStringConcat, AppendLeavesSharingHandleAlone) {
  DString s("abc");
  DString const other(s);
  s += "de";
  expectText(s, "abcde");
  expectText(other, "abc");
}

TEST(DStringConcat, AppendToItself) {
  DString s("abc");
  s += s;
  expectText(s, "abcabc");
  DString shared("xy");
  DString const other(shared);
  shared += shared;
  expectText(shared, "xyxy");
  expectText(other, "xy");
}

TEST(DStringConcat, AppendTextInsideOwnBuffer) {
  // The only handle on "abcd" appends a pointer into its own text: the old
  // buffer must outlive the copy.
  DString s("abcd");
  s += text(s) + 1;
  expectText(s, "abcdbcd");
  DString t(std::string_view("ab\0cd", 5));
  t += text(t) + 3; // "cd", behind the NUL
  expectText(t, std::string("ab\0cdcd", 7));
}

//===--- Bit operators ----------------------------------------------------===//

struct BitCase {
  std::string receiver, mask;
  DString::BitOperator op;
  std::string want;
};
BitCase const bitCases[] = {
    // Cyclic mask: bytes 1-9 take the mask three times, byte 10 its first.
    {"abcdefghij", "\x01\x02\x03", DString::bitXor, "```egefjjk"},
    {"ABCDEFG", " ", DString::bitOr, "abcdefg"},
    {"abcdefg", "\xDF", DString::bitAnd, "ABCDEFG"},
    // A mask longer than the receiver is used up to the receiver's length.
    {"AB", "  xyz", DString::bitOr, "ab"},
    {"", "abc", DString::bitXor, ""},
    {"\xF0\x0F\xFF", "\x0F", DString::bitAnd, std::string("\0\x0F\x0F", 3)},
    {"AAAAAAA", "\x20\x03", DString::bitXor, "aBaBaBa"},
    // Any other operator value leaves the bytes as they were.
    {"abc", "x", static_cast<DString::BitOperator>(3), "abc"},
};

TEST(DStringBitOp, ApplyCombinesCyclically) {
  for (auto const& c : bitCases) {
    SCOPED_TRACE(c.receiver + "/" + c.mask);
    DString s = make(c.receiver);
    s.applyBitOp(c.mask.data(), static_cast<unsigned int>(c.mask.size()), c.op);
    expectText(s, c.want);
  }
}

TEST(DStringBitOp, EmptyMaskDoesNotUnshare) {
  DString s("abc");
  DString const other(s);
  s &= "";
  s |= static_cast<char const*>(nullptr);
  s ^= DString();
  s.applyBitOp("x", 0, DString::bitXor);
  EXPECT_EQ(text(other), text(s));
  expectText(s, "abc", 2);
}

TEST(DStringBitOp, SharedReceiverIsCopiedFirst) {
  DString s("abc");
  DString const other(s);
  s ^= "   ";
  expectText(s, "ABC");
  expectText(other, "abc");
}

TEST(DStringBitOp, StringMaskKeepsItsNulBytes) {
  DString s("abcd");
  s &= DString(std::string_view("\xFF\0", 2));
  expectText(s, std::string("a\0c\0", 4));
  DString t("abcd");
  t &= "\xFF"; // the text form stops at its NUL: a one-byte mask
  expectText(t, "abcd");
}

TEST(DStringBitOp, MaskIsTheReceiverItself) {
  DString s("abcd");
  s ^= s;
  expectText(s, std::string(4, '\0'));
  DString t("abcd");
  t |= t;
  expectText(t, "abcd");
}

TEST(DStringBitOp, MaskInsideOwnTextSeesOriginalBytes) {
  // Mask "bcd": a^b, b^c, c^d, and byte 4 takes the mask's first byte,
  // which must still be the original b.
  DString s("abcd");
  s ^= text(s) + 1;
  expectText(s, "\x03\x01\x07\x06");
}

TEST(DStringBitOp, FreeFormsTakeTheTextsLength) {
  DString const mask("\x01\x01\x01\x01\x01");
  expectText("ab" ^ mask, "`c");
  expectText("abcdefg" | DString(" "), "abcdefg");
  expectText("ABCDEFG" & DString("\xFF\xDF"), "ABCDEFG");
  expectText("abc" & DString(), "abc"); // empty mask: the text as it is
  EXPECT_EQ(0u, (static_cast<char const*>(nullptr) ^ mask).length());
}

//===--- Indexing ---------------------------------------------------------===//

TEST(DStringIndex, ZeroAndOneNameTheFirstByte) {
  DString s("xyz");
  DString const& cs = s;
  EXPECT_EQ(&s[0u], &s[1u]);
  EXPECT_EQ(&s[0], &s[1]);
  EXPECT_EQ(&cs[0u], &cs[1u]);
  EXPECT_EQ(&cs[0], text(s));
  EXPECT_EQ('z', cs[3]);
  EXPECT_EQ('z', s[3u]);
}

TEST(DStringIndex, WriteThroughPrivateBufferStaysInPlace) {
  DString s("abc");
  char const* before = text(s);
  s[2] = 'B';
  EXPECT_EQ(before, text(s));
  expectText(s, "aBc");
}

TEST(DStringIndex, ConstAccessNeverCopies) {
  DString const s("abc");
  DString const other(s);
  EXPECT_EQ(text(other) + 1, &s[2u]);
  EXPECT_EQ(text(other) + 2, &s[3]);
  expectText(s, "abc", 2);
}

TEST(DStringIndex, RangeErrorsCarryTheirLines) {
  DString s("abc");
  DString const& cs = s;
  DString const empty;
  dtest::RecordingTrace trace;
  EXPECT_DEXCEPTION(s[-1], DInvalidRequest, 1011, true, "dstring5", 197);
  EXPECT_DEXCEPTION(cs[4u], DInvalidRequest, 1011, true, "dstring5", 130);
  EXPECT_DEXCEPTION(cs[-1], DInvalidRequest, 1011, true, "dstring5", 174);
  EXPECT_DEXCEPTION(cs[4], DInvalidRequest, 1011, true, "dstring5", 184);
  // An empty const string has no byte at all, index 0 included.
  EXPECT_DEXCEPTION(empty[0u], DInvalidRequest, 1011, true, "dstring5", 130);
  EXPECT_DEXCEPTION(empty[0], DInvalidRequest, 1011, true, "dstring5", 184);
  EXPECT_DEXCEPTION(s[-2147483647 - 1], DInvalidRequest, 1011, true, "dstring5",
                    197);
  EXPECT_EQ(7, trace.logged); // each logged once before it was thrown
  expectText(s, "abc");
  EXPECT_EQ(0u, empty.length());
}

//===--- Multibyte locales: the operators still work on bytes -------------===//

TEST(MbDStringOps, BytesNotCharacters) {
  if (!dtest::localeIs("UTF-8"))
    GTEST_SKIP() << "needs a UTF-8 locale";
  for (int state : {0, 1}) {
    dtest::I18NState mode(state);
    DString s("\xC3\xA9t\xC3\xA9"); // e-acute, t, e-acute
    DString const& cs = s;
    EXPECT_EQ('\xA9', cs[2]);
    s += "\xC3";
    EXPECT_EQ(6u, s.length());
    s[7u] = '!';
    expectText(s, "\xC3\xA9t\xC3\xA9\xC3!");
    expectText(~~s, "\xC3\xA9t\xC3\xA9\xC3!");
    expectText("\xC3\xA9" ^ DString("\x01"), "\xC2\xA8");
  }
}

} // namespace
