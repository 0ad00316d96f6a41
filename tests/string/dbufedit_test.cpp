// Single-byte editing slots of DBuffer: results, the in-place rule (shared
// vs unshared receivers, seen through buffer pointers and use counts), the
// length overflow of copy and change, and the direct scans of exact DBuffer
// receivers against the search-driven path of a subclass.
#include "dbuffer.hpp"
#include "dstring.hpp"
#include "dtest_support.hpp"

#include <cctype>
#include <cstring>
#include <functional>
#include <new>
#include <random>
#include <string>

using dtest::bytes;

using dtest::len;
using dtest::make;

namespace {

using Edit = std::function<DBuffer*(DBuffer*)>;

/// Applies \p edit to a fresh buffer holding \p source, either unshared or
/// shared with a second handle, and checks the protocol: the result carries
/// one reference for the caller, its text is NUL-terminated, a shared
/// source keeps its text. Returns the text and whether the receiver came
/// back.
struct Outcome {
  std::string text;
  bool receiver;
};

Outcome applyEdit(std::string const& source, bool shared, Edit const& edit) {
  DString s = make(source);
  DString other;
  if (shared)
    other = s;
  DBuffer* const b = s.buffer();
  unsigned int const before = b->useCount();
  DBuffer* const r = edit(b);
  DString const result(r); // adopts the caller's reference
  Outcome out{bytes(result), r == b};
  EXPECT_EQ('\0', r->contents()[r->length()]);
  if (r == b) {
    EXPECT_EQ(before + 1, r->useCount());
  } else if (r->length() != 0) {
    EXPECT_EQ(1u, r->useCount());
  }
  EXPECT_EQ(before, b->useCount() - (r == b ? 1 : 0));
  if (shared) {
    EXPECT_EQ(source, bytes(other));
  }
  return out;
}

/// Which buffer comes back: the receiver in any case (nothing to do), the
/// receiver only when unshared (edited in place), or always a new one.
enum Back { same, inPlace, fresh };

struct Case {
  char const* name;
  std::string source;
  Edit edit;
  std::string want;
  Back back;
};

void runCases(std::vector<Case> const& cases) {
  for (auto const& c : cases) {
    for (bool shared : {false, true}) {
      SCOPED_TRACE(testing::Message() << c.name << " on \"" << c.source
                                      << (shared ? "\" shared" : "\""));
      Outcome const out = applyEdit(c.source, shared, c.edit);
      EXPECT_EQ(c.want, out.text);
      EXPECT_EQ(c.back == same || (c.back == inPlace && !shared), out.receiver);
    }
  }
}

std::string const nul3("a\0B", 3);

} // namespace

TEST(DBufferEdit, CaseConversion) {
  auto upper = [](DBuffer* b) { return b->upperCase(); };
  auto lower = [](DBuffer* b) { return b->lowerCase(); };
  runCases({
      {"upper", "abc", upper, "ABC", inPlace},
      {"upper", "aZ09\xE0\xE9z", upper, "AZ09\xE0\xE9Z", inPlace},
      {"upper", "ABC 123", upper, "ABC 123", same},
      {"upper", "", upper, "", same},
      {"upper", nul3, upper, std::string("A\0B", 3), inPlace},
      {"upper", "`{@[", upper, "`{@[", same},
      {"lower", "ABC", lower, "abc", inPlace},
      {"lower", "Az09\xC0\xC9Z", lower, "az09\xC0\xC9z", inPlace},
      {"lower", nul3, lower, std::string("a\0b", 3), inPlace},
      {"lower", "@[`{", lower, "@[`{", same},
  });
}

TEST(DBufferEdit, Translate) {
  auto tr = [](char const* from, char const* to, char pad) {
    return [=](DBuffer* b) {
      return b->translate(from, static_cast<unsigned int>(std::strlen(from)),
                          to, static_cast<unsigned int>(std::strlen(to)), pad);
    };
  };
  runCases({
      {"tr", "abcd", tr("ab", "X", '*'), "X*cd", inPlace},
      {"tr", "abcd", tr("ab", "XYZ", '*'), "XYcd", inPlace},
      {"tr", "abcd", tr("", "XYZ", '*'), "abcd", same},
      {"tr", "abcd", tr("xy", "XY", '*'), "abcd", same},
      {"tr", "abab", tr("aa", "12", '*'), "1b1b", inPlace}, // first one wins
      {"tr", "a\xE9z", tr("\xE9z", "z\xE9", '*'), "az\xE9", inPlace},
      {"tr", "", tr("a", "b", '*'), "", same},
  });
  // NUL bytes in from, to and the text.
  auto nulTr = [](DBuffer* b) { return b->translate("\0a", 2, "a\0", 2, ' '); };
  runCases({{"tr-nul", std::string("a\0a", 3), nulTr, std::string("\0a\0", 3),
             inPlace}});
}

TEST(DBufferEdit, TranslateTablesMayAliasTheText) {
  // from and to point into the very buffer that is edited in place.
  DString s("abcba");
  DBuffer* b = s.buffer();
  DBuffer* r = b->translate(b->contents(), 2, b->contents() + 1, 2, '*');
  DString const keep(r);
  EXPECT_EQ(b, r);
  EXPECT_EQ("bcccb", bytes(s));
}

TEST(DBufferEdit, Strip) {
  auto st = [](char const* set, DStringEnum::StripMode mode) {
    return [=](DBuffer* b) {
      return b->strip(set, static_cast<unsigned int>(std::strlen(set)), mode);
    };
  };
  auto const L = DStringEnum::leading, T = DStringEnum::trailing,
             B = DStringEnum::both;
  auto const odd = static_cast<DStringEnum::StripMode>(7);
  runCases({
      {"strip", "xxabxx", st("x", L), "abxx", fresh},
      {"strip", "xxabxx", st("x", T), "xxab", fresh},
      {"strip", "xxabxx", st("x", B), "ab", fresh},
      {"strip", "xxabxx", st("x", odd), "ab", fresh},
      {"strip", "ab", st("x", B), "ab", same},
      {"strip", "ab", st("", B), "ab", same},
      {"strip", "", st("x", B), "", same},
      {"strip", "xyx", st("yx", L), "", fresh},
      {"strip", "xyx", st("yx", T), "", fresh},
      {"strip", "xyx", st("yx", B), "", fresh},
      {"strip",
       "\xE9"
       "a\xE9",
       st("\xE9", B), "a", fresh},
  });
  auto nulStrip = [](DBuffer* b) {
    return b->strip("\0", 1, DStringEnum::both);
  };
  runCases({{"strip-nul", std::string("\0a\0b\0", 5), nulStrip,
             std::string("a\0b", 3), fresh}});
  DStringTest const space(::isspace);
  auto sp = [&](DStringEnum::StripMode mode) {
    return [&, mode](DBuffer* b) { return b->strip(space, mode); };
  };
  runCases({
      {"strip-test", "  x\t", sp(B), "x", fresh},
      {"strip-test", "  x\t", sp(L), "x\t", fresh},
      {"strip-test", "  x\t", sp(T), "  x", fresh},
      {"strip-test", " \t ", sp(T), "", fresh},
      {"strip-test", "x", sp(B), "x", same},
  });
}

TEST(DBufferEdit, StrippingEverythingGivesTheEmptyBuffer) {
  for (auto mode :
       {DStringEnum::leading, DStringEnum::trailing, DStringEnum::both}) {
    DString s("  ");
    DString const r(s.buffer()->strip(" ", 1, mode));
    EXPECT_EQ(0u, r.length());
    EXPECT_EQ(DBuffer::defaultBuffer(), r.buffer());
  }
}

TEST(DBufferEdit, Reverse) {
  auto rev = [](DBuffer* b) { return b->reverse(); };
  runCases({
      {"reverse", "abc", rev, "cba", inPlace},
      {"reverse", "ab", rev, "ba", inPlace},
      {"reverse", "a", rev, "a", same},
      {"reverse", "", rev, "", same},
      {"reverse", "aa", rev, "aa", inPlace},
      {"reverse", nul3 + "\xE9", rev,
       std::string("\xE9"
                   "B\0a",
                   4),
       inPlace},
  });
}

TEST(DBufferEdit, OverlayInsertRemove) {
  auto ov = [](char const* d, unsigned int pos) {
    return [=](DBuffer* b) {
      return b->overlayWith(d, static_cast<unsigned int>(std::strlen(d)), pos,
                            '.');
    };
  };
  auto ins = [](char const* d, unsigned int pos) {
    return [=](DBuffer* b) {
      return b->insert(d, static_cast<unsigned int>(std::strlen(d)), pos, '.');
    };
  };
  auto rm = [](unsigned int start, unsigned int count) {
    return [=](DBuffer* b) { return b->remove(start, count); };
  };
  runCases({
      {"overlay", "abcd", ov("XY", 2), "aXYd", fresh},
      {"overlay", "abcd", ov("XY", 4), "abcXY", fresh},
      {"overlay", "abcd", ov("XY", 5), "abcdXY", fresh},
      {"overlay", "abcd", ov("XY", 6), "abcd.XY", fresh},
      {"overlay", "abcd", ov("XY", 0), "XYcd", fresh},
      {"overlay", "abcd", ov("XY", 1), "XYcd", fresh},
      {"overlay", "abcd", ov("XYZW", 1), "XYZW", fresh},
      {"overlay", "abcd", ov("", 2), "abcd", same},
      {"overlay", "abcd", ov("", 5), "abcd", fresh},
      {"overlay", "abcd", ov("", 7), "abcd..", fresh},
      {"overlay", "", ov("XY", 0), "XY", fresh},
      {"insert", "abc", ins("XY", 0), "XYabc", fresh},
      {"insert", "abc", ins("XY", 1), "aXYbc", fresh},
      {"insert", "abc", ins("XY", 3), "abcXY", fresh},
      {"insert", "abc", ins("XY", 5), "abc..XY", fresh},
      {"insert", "abc", ins("", 2), "abc", same},
      {"insert", "abc", ins("", 5), "abc..", fresh},
      {"remove", "abcdef", rm(3, 0xFFFFFFFFu), "ab", fresh},
      {"remove", "abcdef", rm(0, 2), "cdef", fresh},
      {"remove", "abcdef", rm(1, 2), "cdef", fresh},
      {"remove", "abcdef", rm(6, 9), "abcde", fresh},
      {"remove", "abcdef", rm(7, 1), "abcdef", same},
      {"remove", "abcdef", rm(2, 0), "abcdef", fresh},
      {"remove", "abcdef", rm(1, 6), "", fresh},
      {"remove", "", rm(0, 1), "", same},
      {"remove", nul3, rm(2, 1), "aB", fresh},
  });
}

TEST(DBufferEdit, Justification) {
  auto lj = [](unsigned int w) {
    return [=](DBuffer* b) { return b->leftJustify(w, '.'); };
  };
  auto rj = [](unsigned int w) {
    return [=](DBuffer* b) { return b->rightJustify(w, '.'); };
  };
  auto ce = [](unsigned int w) {
    return [=](DBuffer* b) { return b->center(w, '.'); };
  };
  runCases({
      {"left", "abc", lj(5), "abc..", fresh},
      {"left", "abc", lj(2), "ab", fresh},
      {"left", "abc", lj(3), "abc", same},
      {"left", "abc", lj(0), "", fresh},
      {"right", "abc", rj(5), "..abc", fresh},
      {"right", "abc", rj(2), "bc", fresh},
      {"right", "abc", rj(3), "abc", same},
      {"center", "abc", ce(6), ".abc..", fresh},
      {"center", "abc", ce(5), ".abc.", fresh},
      {"center", "abcde", ce(2), "bc", fresh},
      {"center", "abcdef", ce(3), "bcd", fresh},
      {"center", "abcde", ce(5), "abcde", same},
      {"center", "", ce(3),
       ".."
       ".",
       fresh},
      {"center", "abc", ce(0), "", fresh},
  });
}

TEST(DBufferEdit, CopyDoubles) {
  auto cp = [](unsigned int times) {
    return [=](DBuffer* b) { return b->copy(times); };
  };
  std::string seven;
  for (int i = 0; i < 7; ++i)
    seven += nul3;
  runCases({
      {"copy", "ab", cp(3), "ababab", fresh},
      {"copy", "ab", cp(0), "", fresh},
      {"copy", "ab", cp(1), "ab", same},
      {"copy", "", cp(5), "", same},
      {"copy", "x", cp(8), "xxxxxxxx", fresh},
      {"copy", nul3, cp(7), seven, fresh},
  });
}

TEST(DBufferEdit, Change) {
  auto ch = [](char const* p, char const* r, unsigned int start,
               unsigned int count) {
    return [=](DBuffer* b) {
      return b->change(p, static_cast<unsigned int>(std::strlen(p)), r,
                       static_cast<unsigned int>(std::strlen(r)), start, count);
    };
  };
  unsigned int const all = 0xFFFFFFFFu;
  runCases({
      {"change", "aaaaa", ch("aa", "b", 1, 2), "bba", fresh},
      {"change", "aaaaa", ch("aa", "b", 1, all), "bba", fresh},
      {"change", "aaaaa", ch("", "b", 1, all), "aaaaa", same},
      {"change", "aaaaa", ch("aa", "b", 1, 0), "aaaaa", same},
      {"change", "aaaaa", ch("x", "b", 1, all), "aaaaa", same},
      {"change", "aaaaa", ch("aa", "bb", 2, all), "abbbb", inPlace},
      {"change", "aaaaa", ch("aa", "", 1, all), "a", fresh},
      {"change", "abcabc", ch("bc", "XYZ", 1, all), "aXYZaXYZ", fresh},
      {"change", "abcabc", ch("bc", "XYZ", 3, all), "abcaXYZ", fresh},
      {"change", "abcabc", ch("abc", "", 1, all), "", fresh},
      {"change", "abcabc", ch("c", "", 1, 1), "ababc", fresh},
      {"change", "abc", ch("c", "CC", 1, all), "abCC", fresh},
      {"change", "abc", ch("a", "AA", 1, all), "AAbc", fresh},
      {"change", "abc", ch("b", "B", 9, all), "abc", same},
      {"change", "a\xE9\xE9", ch("\xE9", "e", 1, all), "aee", inPlace},
  });
  auto nulChange = [](DBuffer* b) { return b->change("\0", 1, "--", 2, 1, 9); };
  runCases({{"change-nul", nul3, nulChange, "a--B", fresh}});
}

TEST(DBufferEdit, ChangeEditsInPlaceOnlyWithExactlyOneReference) {
  DString s("xaxa");
  DBuffer* b = s.buffer();
  DString const r(b->change("a", 1, "b", 1, 1, 9));
  EXPECT_EQ(b, r.buffer());
  EXPECT_EQ("xbxb", bytes(s));
  EXPECT_EQ(2u, b->useCount());
}

TEST(DBufferEdit, ChangeKeepsReplacementThatAliasesTheText) {
  DString s("abcb");
  DBuffer* b = s.buffer();
  // Replace each b with the two bytes at position 3 of the text ("cb").
  DString const r(b->change("bc", 2, b->contents() + 2, 2, 1, 9));
  EXPECT_EQ(b, r.buffer());
  EXPECT_EQ("acbb", bytes(s));
}

TEST(DBufferEdit, ShrinkingChangeWithManyMatches) {
  // 70000 matches: the length difference times the matches is small, so
  // nothing overflows however many matches there are.
  DString s(std::string(140001, 'a'));
  DString const r(s.buffer()->change("aa", 2, "b", 1, 1, 0xFFFFFFFFu));
  EXPECT_EQ(std::string(70000, 'b') + "a", bytes(r));
  DString g(std::string(70000, 'a'));
  DString const grown(g.buffer()->change("a", 1, "xyz", 3, 1, 0xFFFFFFFFu));
  EXPECT_EQ(210000u, grown.length());
  EXPECT_EQ(70000u, grown.occurrencesOf("xyz"));
}

// A subclass that keeps every DBuffer operation: its edits take the
// search-driven path (one virtual search per match) and must give exactly
// what the direct scans of an exact DBuffer give.
namespace {

class PlainSubclass : public DBuffer {
public:
  explicit PlainSubclass(unsigned int n) : DBuffer(n) {}
};

std::string editThroughSubclass(std::string const& source,
                                std::function<DBuffer*(DBuffer*)> const& edit) {
  std::string storage(sizeof(DBuffer) + source.size() + 1 + alignof(DBuffer),
                      '\0');
  void* place = storage.data();
  std::size_t space = storage.size();
  place = std::align(alignof(DBuffer), sizeof(DBuffer) + source.size() + 1,
                     place, space);
  auto* b = new (place) PlainSubclass(static_cast<unsigned int>(source.size()));
  std::memcpy(b->contents(), source.data(), source.size());
  DBuffer* r = edit(b); // count 1: edited in place, count raised
  EXPECT_EQ(static_cast<DBuffer*>(b), r);
  EXPECT_EQ(2u, b->useCount());
  std::string const out(b->contents(), b->length());
  b->~PlainSubclass();
  return out;
}

} // namespace

TEST(DBufferEdit, DirectScansMatchTheSearchDrivenPath) {
  std::mt19937 rng(7);
  char const alphabet[] = {'a', 'z', 'A',  'Z',    'm',    '@', '[',
                           '`', '{', '\0', '\xE9', '\xC9', '0'};
  for (int round = 0; round < 300; ++round) {
    // Up to 80 bytes: the case conversions work eight bytes at a time from
    // the first letter on, then byte by byte.
    std::string src(rng() % (round < 200 ? 40 : 80), ' ');
    for (char& c : src)
      c = alphabet[rng() % sizeof alphabet];
    std::string from(rng() % 5, ' '), to(rng() % 5, ' ');
    for (char& c : from)
      c = alphabet[rng() % sizeof alphabet];
    for (char& c : to)
      c = alphabet[rng() % sizeof alphabet];
    std::function<DBuffer*(DBuffer*)> const edits[] = {
        [](DBuffer* b) { return b->upperCase(); },
        [](DBuffer* b) { return b->lowerCase(); },
        [&](DBuffer* b) {
          return b->translate(from.data(),
                              static_cast<unsigned int>(from.size()), to.data(),
                              static_cast<unsigned int>(to.size()), '#');
        },
    };
    for (auto const& edit : edits) {
      DString s = make(src);
      DString const direct(edit(s.buffer()));
      std::string const viaSearch = editThroughSubclass(src, edit);
      ASSERT_EQ(viaSearch, bytes(direct)) << "round " << round;
    }
  }
}
