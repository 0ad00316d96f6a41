// DBuffer comparison (bytes and the collation walk) and the character-class
// tests. strcoll is interposed here so that the walk's segments can be
// observed and a collation error can be produced; by default it forwards
// to the C library's own.
#include "dbuffer.hpp"
#include "dstring.hpp"
#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <cctype>
#include <cerrno>
#include <cstring>
#include <ctype.h>
#include <dlfcn.h>
#include <new>
#include <string>
#include <vector>

using dtest::bytes;

using dtest::make;

namespace {

std::vector<std::pair<std::string, std::string>> collated;
bool recordCollation = false;
int collationErrno = 0;

unsigned int compare(std::string const& a, std::string const& b) {
  DString const s = make(a);
  return s.buffer()->compare(b.data(), static_cast<unsigned int>(b.size()));
}

} // namespace

extern "C" int strcoll(char const* a, char const* b) noexcept {
  using Fn = int (*)(char const*, char const*);
  static Fn const real = reinterpret_cast<Fn>(dlsym(RTLD_NEXT, "strcoll"));
  if (recordCollation)
    collated.emplace_back(a, b);
  int const r = real(a, b);
  if (collationErrno != 0)
    errno = collationErrno;
  return r;
}

TEST(DBufferCompare, Bytes) {
  struct Case {
    std::string a, b;
    unsigned int want;
  };
  Case const cases[] = {
      {"abc", "abd", 2},
      {"abd", "abc", 1},
      {"ab", "abc", 2},
      {"abc", "ab", 1},
      {"", "", 0},
      {"", "x", 2},
      {"x", "", 1},
      {"abc", "abc", 0},
      {"\xE9", "e", 1},
      {"e", "\xE9", 2},
      {"\x7F", "\x80", 2},
      {std::string("a\0b", 3), std::string("a\0c", 3), 2},
      {std::string("a\0", 2), "a", 1},
      {std::string("a\0", 2), std::string("a\0", 2), 0},
  };
  dtest::I18NState const bytesMode(0);
  for (auto const& c : cases) {
    SCOPED_TRACE(c.a + " vs " + c.b);
    EXPECT_EQ(c.want, compare(c.a, c.b));
  }
}

TEST(DBufferCompare, NullAndSelf) {
  for (int state : {0, 1}) {
    dtest::I18NState const mode(state);
    DString const s("abc");
    DBuffer const* b = s.buffer();
    EXPECT_EQ(1u, b->compare(nullptr, 0));
    EXPECT_EQ(1u, DString().buffer()->compare(nullptr, 0));
    recordCollation = true;
    collated.clear();
    EXPECT_EQ(0u, b->compare(b->contents(), 3));
    EXPECT_TRUE(collated.empty());
    recordCollation = false;
    // The own text with another length is compared normally.
    EXPECT_EQ(1u, b->compare(b->contents(), 2));
    EXPECT_EQ(2u, b->compare(b->contents(), 4)); // the NUL behind the text
  }
}

TEST(DBufferCompare, CollationWalksNulSeparatedSegments) {
  dtest::I18NState const collation(1);
  struct Case {
    std::string a, b;
    unsigned int want;
    std::vector<std::pair<std::string, std::string>> segments;
  };
  using Seg = std::vector<std::pair<std::string, std::string>>;
  Case const cases[] = {
      {"abc", "abd", 2, Seg{{"abc", "abd"}}},
      {"abd", "abc", 1, Seg{{"abd", "abc"}}},
      {"ab", "abc", 2, Seg{{"ab", "ab"}}}, // only the common length
      {"abc", "ab", 1, Seg{{"ab", "ab"}}},
      {"", "x", 2, Seg{}},
      {"x", "", 1, Seg{}},
      {std::string("a\0b", 3), std::string("a\0c", 3), 2,
       Seg{{"a", "a"}, {"b", "c"}}},
      {std::string("a\0c", 3), std::string("a\0b", 3), 1,
       Seg{{"a", "a"}, {"c", "b"}}},
      // Runs of NULs: a shorter run on the receiver's side orders it after.
      {"ab", std::string("\0b", 2), 1, Seg{}},
      {std::string("\0b", 2), "ab", 2, Seg{}},
      {std::string("a\0b", 3), std::string("a\0\0", 3), 1, Seg{{"a", "a"}}},
      // A longer run after an equal segment leaves the equality pending,
      // so the lengths decide.
      {std::string("a\0\0", 3), std::string("a\0x", 3), 0, Seg{{"a", "a"}}},
      {std::string("a\0\0", 3), std::string("a\0xy", 4), 2, Seg{{"a", "a"}}},
      {std::string("a\0\0\0", 4), std::string("a\0x", 3), 1, Seg{{"a", "a"}}},
      // Trailing NULs: the walk ends, the lengths decide.
      {std::string("ab\0", 3), std::string("ab\0\0", 4), 2, Seg{{"ab", "ab"}}},
      {std::string("\0\0", 2), std::string("\0\0", 2), 0, Seg{}},
      {"\xE9", "e", 1, Seg{{"\xE9", "e"}}},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::Message() << '"' << c.a << "\" vs \"" << c.b << '"');
    collated.clear();
    recordCollation = true;
    unsigned int const got = compare(c.a, c.b);
    recordCollation = false;
    EXPECT_EQ(c.want, got);
    EXPECT_EQ(c.segments, collated);
  }
}

TEST(DBufferCompare, CollationErrorIsReported) {
  dtest::I18NState const collation(1);
  dtest::RecordingTrace trace;
  DString const s("abc");
  collationErrno = EINVAL;
  bool thrown = false;
  try {
    s.buffer()->compare("abd", 3);
  } catch (DInvalidRequest const& e) {
    thrown = true;
    EXPECT_EQ(static_cast<unsigned long>(EINVAL), e.errorId());
    EXPECT_TRUE(e.isRecoverable());
    EXPECT_EQ("strcoll errno = " + std::to_string(EINVAL) + "\n",
              std::string(e.text()));
    ASSERT_EQ(1ul, e.locationCount());
    EXPECT_STREQ("dbuffer2", e.locationAtIndex(0)->fileName());
    EXPECT_EQ(247ul, e.locationAtIndex(0)->lineNumber());
  }
  collationErrno = 0;
  EXPECT_TRUE(thrown);
  EXPECT_EQ(1, trace.logged);
  // An errno left over from before the call is not a collation error, also
  // when the walk decides without calling strcoll.
  errno = ENOENT;
  EXPECT_EQ(1u, s.buffer()->compare("\0bc", 3));
  errno = ENOENT;
  EXPECT_EQ(0u, s.buffer()->compare("abc", 3));
  EXPECT_EQ(1, trace.logged);
}

TEST(DBufferCompare, BytesModeNeverCollates) {
  dtest::I18NState const bytesMode(0);
  collated.clear();
  recordCollation = true;
  EXPECT_EQ(2u, compare("abc", "abd"));
  recordCollation = false;
  EXPECT_TRUE(collated.empty());
}

TEST(DBufferClasses, WholeTextTests) {
  struct Case {
    std::string text;
    char const* want; // alnum alpha ascii cntrl digit graph xdigit lower
                      // print punct upper space, as 0/1
  };
  Case const cases[] = {
      {"", "000000000000"},
      {"0123", "101011101000"},
      {"12a", "101001101000"},
      {"abc", "111001111000"},
      {"ABCdef", "111001101000"},
      {"XYZ", "111001001010"},
      {"!?.", "001001001100"},
      {" \t\n", "001000000001"},
      {"\t\n", "001100000001"},
      {"a b", "001000001000"},
      {std::string(1, '\0'), "001100000000"},
      {"\x7F", "001100000000"},
      {"\xE9", "000000000000"},
      {"a\xE9", "000000000000"},
      {"fF09", "101001101000"},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::Message() << '"' << c.text << '"');
    DString const s = make(c.text);
    bool const got[] = {s.isAlphanumeric(), s.isAlphabetic(), s.isASCII(),
                        s.isControl(),      s.isDigits(),     s.isGraphics(),
                        s.isHexDigits(),    s.isLowerCase(),  s.isPrintable(),
                        s.isPunctuation(),  s.isUpperCase(),  s.isWhiteSpace()};
    std::string answer;
    for (bool g : got)
      answer += g ? '1' : '0';
    EXPECT_EQ(c.want, answer);
  }
}

// The class tests must agree with the <ctype.h> functions given each byte
// as a signed char, for every byte value and for every pair of bytes
// (a pair passes only when both bytes do).
TEST(DBufferClasses, AgreeWithCtypeForEveryByte) {
  using Member = bool (DString::*)() const;
  struct Class {
    Member member;
    int (*function)(int);
  };
  Class const classes[] = {{&DString::isAlphanumeric, ::isalnum},
                           {&DString::isAlphabetic, ::isalpha},
                           {&DString::isControl, ::iscntrl},
                           {&DString::isDigits, ::isdigit},
                           {&DString::isGraphics, ::isgraph},
                           {&DString::isHexDigits, ::isxdigit},
                           {&DString::isLowerCase, ::islower},
                           {&DString::isPrintable, ::isprint},
                           {&DString::isPunctuation, ::ispunct},
                           {&DString::isUpperCase, ::isupper},
                           {&DString::isWhiteSpace, ::isspace}};
  auto passes = [](int (*f)(int), int byte) {
    return f(static_cast<signed char>(byte)) != 0;
  };
  for (auto const& c : classes) {
    for (int a = 0; a < 256; ++a) {
      std::string one(1, static_cast<char>(a));
      ASSERT_EQ(passes(c.function, a), (make(one).*c.member)()) << a;
      for (int b :
           {int('0'), int('a'), int('Z'), int(' '), int('!'), 0x7F, 0xE9}) {
        std::string two = one + static_cast<char>(b);
        ASSERT_EQ(passes(c.function, a) && passes(c.function, b),
                  (make(two).*c.member)())
            << a << "," << b;
      }
    }
  }
}

TEST(DBufferClasses, AsciiScansLongTexts) {
  std::string const plain(1000, 'a');
  EXPECT_TRUE(make(plain).isASCII());
  for (std::size_t at : {0u, 255u, 256u, 257u, 511u, 999u}) {
    std::string t = plain;
    t[at] = '\x80';
    EXPECT_FALSE(make(t).isASCII()) << at;
  }
}

TEST(DBufferClasses, MultibyteAnswersAreConstants) {
  for (char const* t : {"", "abc", "\xE9\xE9"}) {
    SCOPED_TRACE(t);
    DString const s(t);
    DBuffer const* b = s.buffer();
    EXPECT_TRUE(b->isSBCS());
    EXPECT_FALSE(b->isMBCS());
    EXPECT_FALSE(b->isDBCS());
    EXPECT_TRUE(b->isValidMBCS());
    EXPECT_TRUE(b->isValidDBCS());
    EXPECT_TRUE(b->includesSBCS());
    EXPECT_FALSE(b->includesMBCS());
    EXPECT_FALSE(b->includesDBCS());
  }
}

// Long texts of an exact DBuffer are read straight through the locale's
// classification table: every class must still answer as the byte-by-byte
// predicate does, with bytes from 0x80 passed as negative values, wherever
// the one failing byte sits.
TEST(DBufferClasses, LongTextsAgreeWithTheBytePredicates) {
  int (*const classes[])(int) = {::isalnum, ::isalpha,  ::iscntrl, ::isdigit,
                                 ::isgraph, ::isxdigit, ::islower, ::isprint,
                                 ::ispunct, ::isupper,  ::isspace};
  auto answers = [](DString const& s) {
    return std::vector<bool>{
        s.isAlphanumeric(), s.isAlphabetic(), s.isControl(),   s.isDigits(),
        s.isGraphics(),     s.isHexDigits(),  s.isLowerCase(), s.isPrintable(),
        s.isPunctuation(),  s.isUpperCase(),  s.isWhiteSpace()};
  };
  auto expected = [&](std::string const& t) {
    std::vector<bool> want;
    for (auto classify : classes) {
      bool all = true;
      for (char c : t)
        all = all && classify(static_cast<signed char>(c)) != 0;
      want.push_back(all);
    }
    return want;
  };
  std::string const fillers[] = {"7", "b", "Q", " ", "\x01", "~"};
  for (std::string const& fill : fillers)
    for (std::size_t length : {255u, 256u, 300u, 1000u})
      for (int other = 0; other < 256; other += 5)
        for (std::size_t at : {std::size_t(0), length / 2, length - 1}) {
          std::string t(length, fill[0]);
          t[at] = static_cast<char>(other);
          SCOPED_TRACE(testing::Message()
                       << "fill " << int(fill[0]) << " length " << length
                       << " byte " << other << " at " << at);
          ASSERT_EQ(expected(t), answers(make(t)));
        }
}

namespace {

// Requests of a given size or more fail for the guard's lifetime, in this
// process (the test program's allocation operators, dtest_alloc.cpp).
class FailingAllocations {
public:
  explicit FailingAllocations(std::size_t from) {
    dtest::failAllocationsFrom(from);
  }
  ~FailingAllocations() { dtest::failAllocationsFrom(0); }
  FailingAllocations(FailingAllocations const&) = delete;
  FailingAllocations& operator=(FailingAllocations const&) = delete;
};

// With internationalised mode on, compare() works on NUL-terminated copies
// (and, for multibyte text, wide arrays). When they cannot be allocated the
// answer is 2 (before): no exception, no errno taken for a collation
// error, and no out-of-memory report, as nothing failed for the caller.
void copiesThatCannotBeMadeAnswerBefore() {
  dtest::I18NState const collation(1);
  struct Case {
    std::string mine, other;
    unsigned int normally;
  };
  // Long enough that the copies fail while a report would still fit.
  std::string const tail(4000, 'x');
  Case const cases[] = {
      {"b" + tail, "a" + tail, 1},
      {"a" + tail, "b" + tail, 2},
      {"a" + tail, "a" + tail + "y", 2},
      {std::string("a\0b", 3) + tail, std::string("a\0a", 3) + tail, 1},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.mine.substr(0, 3));
    DString const s(c.mine.data(), static_cast<unsigned int>(c.mine.size()));
    unsigned int const otherLength = static_cast<unsigned int>(c.other.size());
    EXPECT_EQ(c.normally, s.buffer()->compare(c.other.data(), otherLength));
    dtest::RecordingTrace trace;
    unsigned int answer = 99;
    bool raised = false;
    {
      FailingAllocations const exhausted(c.mine.size() / 2);
      try {
        answer = s.buffer()->compare(c.other.data(), otherLength);
      } catch (...) {
        raised = true;
      }
    }
    EXPECT_FALSE(raised);
    EXPECT_EQ(2u, answer);
    EXPECT_EQ(0, trace.logged);
    EXPECT_TRUE(trace.lines.empty());
    // Allocation works again: the usual answer.
    EXPECT_EQ(c.normally, s.buffer()->compare(c.other.data(), otherLength));
  }
}

// The library's own out-of-memory path still runs where memory is needed
// for the caller's result.
void resultsThatCannotBeMadeStillRaise() {
  std::string const text(4096, 'a');
  DString s(text.c_str());
  dtest::RecordingTrace trace;
  bool outOfMemory = false;
  {
    FailingAllocations const exhausted(text.size() / 2);
    try {
      s.insert("b", 1, 1);
    } catch (DOutOfMemory const&) {
      outOfMemory = true;
    }
  }
  EXPECT_TRUE(outOfMemory);
  EXPECT_EQ(1, trace.logged);
  EXPECT_EQ(text, dtest::bytes(s));
}

} // namespace

// Both run with the single-byte buffer (C locale) and the multibyte one
// (the Mb runs), where operator new can fail on demand.
#define D_COLLATION_MEMORY_TEST(suite, name, body)                             \
  TEST(suite, name) {                                                          \
    if (!dtest::allocationsCanFail())                                          \
      GTEST_SKIP() << "another allocator replaced the test program's";         \
    body();                                                                    \
  }
D_COLLATION_MEMORY_TEST(DBufferCollationMemory,
                        CopiesThatCannotBeMadeAnswerBefore,
                        copiesThatCannotBeMadeAnswerBefore)
D_COLLATION_MEMORY_TEST(MbCollationMemory, CopiesThatCannotBeMadeAnswerBefore,
                        copiesThatCannotBeMadeAnswerBefore)
D_COLLATION_MEMORY_TEST(DBufferCollationMemory,
                        ResultsThatCannotBeMadeStillRaise,
                        resultsThatCannotBeMadeStillRaise)
D_COLLATION_MEMORY_TEST(MbCollationMemory, ResultsThatCannotBeMadeStillRaise,
                        resultsThatCannotBeMadeStillRaise)
