// What the fuzz models rarely reach, one row each, alone and shared, in both
// values of fgI18NState: answer or exception, the NUL, buffer and counts.
#include "ddbcsb.hpp"
#include "dstring.hpp"
#include "dtest_support.hpp"

#include <cctype>
#include <cstring>
#include <functional>
#include <utility>

using dtest::bytes;
using dtest::make;
using std::string;
using D = DString;

namespace {

using Op = std::function<string(D&)>;
/// The buffer the handle ends up with: its own in any case, its own only
/// when it held it alone (edited in place), a new one, or either.
enum Back { same, inPlace, fresh, any };
struct Row {
  string source;
  Op op;
  string want;
  Back back = same;
  int state = -1; // the one fgI18NState value the row holds for, or both
};

/// A buffer slot called straight: the result carries one reference for
/// the caller, the receiver's count is raised when it comes back.
template <class F>
string slot(D& s, F f) {
  DBuffer* const b = s.buffer();
  unsigned int const count = b->useCount();
  DBuffer* const r = f(b);
  EXPECT_EQ(r == b ? count + 1 : 1u,
            r == b || r->length() ? r->useCount() : 1u);
  s = D(r);
  return bytes(s);
}

// An edit answering its text, a number or truth, a string, a buffer slot.
#define E(...) Op([](D& s) { return (__VA_ARGS__, bytes(s)); })
#define Q(...) Op([](D& s) { return ((void)s, std::to_string(__VA_ARGS__)); })
#define T(...) Op([](D& s) { return ((void)s, bytes(__VA_ARGS__)); })
#define B(...)                                                                 \
  Op([](D& s) { return slot(s, [](DBuffer* b) { return __VA_ARGS__; }); })

unsigned int const all = 0xFFFFFFFFu;
auto const R = DStringEnum::trailing;
DStringTest const space(::isspace);
char const* const none = nullptr;
// What a raising row answers: the exception, its id and its location.
string const r1010 = "DInvalidRequest 1010 dbuffer0:561",
             r1011 = "DInvalidRequest 1011 dstring5:";
// A derived predicate: its own test() replaces the function.
class Vowel : public DStringTest {
public:
  int test(int c) const override { return c != 0 && std::strchr("aeiou", c); }
} const vowel;

std::vector<Row> const rows = {
    // Buffer slots: in place only with one reference, the receiver when
    // nothing changes; arguments may point into the text edited.
    {"aZ09\xE0\xE9z", B(b->upperCase()), "AZ09\xE0\xE9Z", inPlace},
    {"Az\xC0Z", B(b->lowerCase()), "az\xC0z", inPlace},
    {"abcba", B(b->translate(b->contents(), 2, b->contents() + 1, 2, '*')),
     "bcccb", inPlace},
    {"xxabxx", B(b->strip("x", 1, DStringEnum::StripMode(7))), "ab", fresh},
    {"ab", B(b->strip("x", 1, DStringEnum::both)), "ab"},
    {" \t ", B(b->strip(space, R)), "", fresh},
    {"aa", B(b->reverse()), "aa", inPlace},
    {"abcd", B(b->overlayWith("", 0, 2, '.')), "abcd"},
    {"abcdef", B(b->remove(2, 0)), "abcdef", fresh},
    {"abcde", B(b->center(5, '.')), "abcde"},
    {"aaaaa", B(b->change("aa", 2, "bb", 2, 2, all)), "abbbb", inPlace},
    {"aaaaa", B(b->change("", 0, "b", 1, 1, 9)), "aaaaa"},
    {"abcb", B(b->change("bc", 2, b->contents() + 2, 2, 1, 9)), "acbb",
     inPlace},
    // Many matches: a small length difference times the matches.
    {string(140001, 'a'), B(b->change("aa", 2, "b", 1, 1, all)),
     string(70000, 'b') + "a", fresh},
    {"abc", B(b->subString(0)), "abc", fresh},
    // The handle: the direct members edit in place, the guarded ones never.
    {"abc", E(s.upperCase()), "ABC", inPlace},
    {"abc", E(s.translate(D("ab"), D("x"))), "x c", inPlace},
    {"ABC", E(s.lowerCase()), "abc", fresh},
    {"abcdef", E(s.remove(2, 0)), "abcdef"},
    {string(" \0 ", 3), E(s.strip()), string(1, '\0'), fresh},
    // The string forms, and the static ones, which edit a copy.
    {"abc", E(s.insert(D("X")).overlayWith(D("YZ"))), "YZbc", fresh},
    {"YZbc", E(s.strip(D("Yc")).translate("Z", 1, "", 0)), " b", fresh},
    {string("abc\0d", 5), T(D::change(s, D(string("c\0", 2)), D("-"))), "ab-d"},
    // An empty piece keeps the buffer; the piece may lie in the text.
    {"abc", E(s += none, s += "", s += D()), "abc"},
    {"ab", T((s + none) + (none + s)), "abab"},
    {"abcd", E(s += static_cast<char const*>(s) + 1), "abcdbcd", fresh},
    {string("ab\0cd", 5), E(s += static_cast<char const*>(s) + 3),
     string("ab\0cdcd", 7), fresh},
    // Bit operators: an empty mask changes nothing; the mask may be the text.
    {"abc", E(s.applyBitOp("x", 1, D::BitOperator(3))), "abc", inPlace},
    {"abc", E(s &= "", s |= none, s ^= D(), s ^= ""), "abc"},
    {"abcd", E(s ^= static_cast<char const*>(s) + 1), "\3\1\7\6", any},
    // Indexing: 0 and 1 name the first byte; const access never copies.
    {"xyz", Q(&s[0u] == &s[1u] && &s[0] == &s[1]), "1", inPlace},
    {"xyz", Q(&std::as_const(s)[0u] == &std::as_const(s)[1]), "1"},
    // Searches: a derived predicate.
    {"xyzzyeq", Q(s.indexOf(vowel) * 10 + s.lastIndexOf(vowel)), "66"},
    {"abc", Q(s.subString(2, 0).buffer() == DBuffer::defaultBuffer()), "1"},
    // isLike and isAbbrevFor beyond the generated patterns.
    {"", Q(s.isLike(none, 0, '*', '?') * 10 + s.isAbbrevFor(none, 0, 0)), "10"},
    {string(3000, 'a'), Q(s.isLike("*a*a*a*a*a*a*a*a*a*a*b", 22, '*', '?')),
     "0"},
    // Words: the arguments of indexOfWord, sums past 32 bits.
    {"ab cd", Q(s.indexOfWord(3, 1, 1) * 10 + s.indexOfWord(2, 1, 1)), "41"},
    {"ab cd", Q(s.indexOfWord(1, 0, 0) + s.indexOfWord(1, 6, 0)), "0"},
    {"\n a  b\tc d \r\n", T(s.words(2, 0xFFFFFFFEu)), "b\tc d"},
    {"a b c", E(s.removeWords(3, 0xFFFFFFFEu)), "a b ", fresh},
    {"abc", E(s.space(1, ' ')), "abc", fresh}, // always a new buffer
    // findPhrase: any non-zero index type answers words; no wrap.
    {"a b", Q(s.findPhrase(D("b"), 1, D::IndexType(7))), "2"},
    {" q r ", Q(s.findPhrase(s, 1, D::charIndex)), "2"},
    // Radix: the null text of invalid input. The one-step members: flag 0
    // widens on every step, flag 1 only under a non-zero top byte;
    // decimalMath keeps three digits of room.
    {"12x", Q(s.d2c().buffer() == D(D::null).buffer()), "1", fresh},
    {string("\0\x19", 2), E(s.binaryMath(5)), string("\0\0\xFF", 3), fresh, 0},
    {string("\0\x19", 2), E(s.binaryMath(5)), string("\0\xFF", 2), fresh, 1},
    {string("\0\x1A", 2), E(s.binaryMath(0)), "\x01\x04", fresh, 1},
    {"\xFF\xFF", E(s.binaryMath(9)), "\x09\xFF\xFF", fresh, 1},
    {"00000", E(s.decimalMath(7)), "00007", fresh},
    {"999", E(s.decimalMath(255)), "255999", fresh},
    // Growing past the bounds raises 1010 before reading or changing.
    {"ab", E(s.copy(0x80000000u)), r1010},
    {"x", E(s.copy(all)), r1010}, // passes copy's check, meets allocate()'s
    {"ab", E(s.change("a", 1, "r", 0xFFFFFFFEu, 1, 9)), r1010},
    {"aa", E(s.change("a", 1, "r", 0x80000000u, 1, 9)), r1010},
    {"ab", E(s.insert("r", 0xFFFFFFFEu, 1)), r1010},
    {"abc", E(s[all]), r1010},
    {"a b", E(s.space(all, '-')), r1010},           // the first gap
    {"a b", E(s.space(0xFFFFFFFEu, '-')), r1010},   // the second word
    {"a b", E(s.space(0xFFFFFFFDu, '-')), r1010},   // the factory
    {"a b c", E(s.space(0x80000000u, '-')), r1010}, // the second gap
    // Index errors, each with its own line; an empty const string has none.
    {"abc", E(s[-1]), r1011 + "197"},
    {"abc", E(std::as_const(s)[-1]), r1011 + "174"},
    {"abc", E(std::as_const(s)[4]), r1011 + "184"},
    {"", E(std::as_const(s)[0u]), r1011 + "130"},
};

} // namespace

TEST(DStringEdit, QuirkTable) {
  dtest::RecordingTrace trace;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    Row const& r = rows[i];
    for (int state : {0, 1}) {
      if (r.state >= 0 && r.state != state)
        continue;
      dtest::I18NState const flag(state);
      for (bool shared : {false, true}) {
        SCOPED_TRACE(testing::Message() << "row " << i << " i18n " << state
                                        << " shared " << shared);
        D s = make(r.source), other;
        if (shared)
          other = s;
        DBuffer* const before = s.buffer();
        int const logged = trace.logged;
        string got;
        try {
          got = r.op(s);
        } catch (DException const& e) {
          auto const* at = e.locationAtIndex(e.locationCount() - 1);
          got = string(e.name()) + " " + std::to_string(e.errorId()) + " " +
                at->fileName() + ":" + std::to_string(at->lineNumber()) +
                (e.isRecoverable() ? "" : " unrecoverable");
        }
        EXPECT_EQ(r.want, got);
        EXPECT_EQ(got.rfind("DInvalidRequest ", 0) == 0, trace.logged - logged);
        EXPECT_EQ('\0', static_cast<char const*>(s)[s.length()]);
        bool const kept =
            r.back == any ? s.buffer() == before
                          : r.back == same || (r.back == inPlace && !shared);
        EXPECT_EQ(kept, s.buffer() == before);
        EXPECT_TRUE(s.length() == 0 ||
                    s.buffer()->useCount() == (kept && shared ? 2u : 1u));
        EXPECT_EQ(shared ? r.source : "", shared ? bytes(other) : "");
        EXPECT_TRUE(!shared || r.source.empty() ||
                    before->useCount() == (kept ? 2u : 1u));
      }
    }
  }
  for (D const& t : {D(), D("\xE9\xE9")}) {
    DBuffer const* sb = t.buffer();
    EXPECT_TRUE(sb->isSBCS() && !sb->isMBCS() && !sb->isDBCS());
    EXPECT_TRUE(sb->isValidMBCS() && sb->isValidDBCS() && sb->includesSBCS());
    EXPECT_FALSE(sb->includesMBCS() || sb->includesDBCS());
  }
}

namespace {

// Slots that answer what the factory's classes never would, so that a handle
// shortcut that skips them shows. No data members.
template <class Base>
class ProbeBuffer : public Base {
public:
  explicit ProbeBuffer(unsigned int n) : Base(n) {}
  ~ProbeBuffer() override { ++destroyed; }
  static inline int destroyed = 0;
  DBuffer* allocate(unsigned int n) const override {
    return new (::operator new[](sizeof(ProbeBuffer) + n + 1)) ProbeBuffer(n);
  }
  unsigned int compare(void const*, unsigned int) const override { return 1; }
  unsigned int indexOf(char const* pattern, unsigned int length,
                       unsigned int start) const override {
    return length == 1 ? 77 : Base::indexOf(pattern, length, start);
  }
  unsigned int indexOfAnyOf(char const*, unsigned int,
                            unsigned int) const override {
    return 0;
  }
  bool isHexDigits() const override { return false; }
  DBuffer* upperCase() override {
    this->addRef();
    return this;
  }
};

// A one-piece buffer comes from the allocate() slot; its destructor runs.
template <class Probe>
void expectMadeAndDestroyedThroughSlots() {
  D const text = dtest::makeIn<Probe>("ab");
  int const destroyed = Probe::destroyed;
  EXPECT_EQ(77u,
            D(text.buffer()->newBuffer("x", 1, nullptr, 0, nullptr, 0, ' '))
                .indexOf('x'));
  EXPECT_EQ(destroyed + 1, Probe::destroyed);
}

} // namespace

TEST(DStringEdit, DerivedBufferSlotsAreAsked) {
  using Probe = ProbeBuffer<DBuffer>;
  for (int flag : {0, 1}) {
    dtest::I18NState state(flag);
    D const text = dtest::makeIn<Probe>("ab  cd"),
            twin(dtest::makeIn<Probe>("ab  cd"));
    D spaced(text), upper = dtest::makeIn<Probe>("ab"),
                    hex = dtest::makeIn<Probe>("0a");
    spaced.space(1, '_');
    EXPECT_EQ(77u * 2, text.indexOf('c') + text.indexOf('z', 3));
    EXPECT_TRUE(text != twin && !(text == twin) && !(text == D("ab  cd")));
    EXPECT_EQ(1u, text.numWords());
    EXPECT_EQ("ab  cd", bytes(text.word(1)));
    EXPECT_EQ("ab  cd", bytes(spaced));
    EXPECT_EQ("ab", bytes(upper.upperCase()));
    // Flag 1 tests the bytes with isxdigit whatever the buffer says.
    EXPECT_EQ(flag ? string("\x0A") : "", bytes(hex.x2c()));
    expectMadeAndDestroyedThroughSlots<Probe>();
    expectMadeAndDestroyedThroughSlots<ProbeBuffer<DDBCSBuffer>>();
  }
}
