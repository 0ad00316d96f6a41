// DString's editing members: the direct and guarded calling protocols (what
// count the buffer sees, which buffer the handle ends up with), the handle
// shortcuts of remove and rightJustify, strip(), the static forms, and the
// handle staying valid when a buffer operation raises.
#include "dstring.hpp"
#include "dtest_support.hpp"

#include <cstring>
#include <ctype.h>
#include <functional>
#include <new>
#include <string>

using dtest::bytes;

namespace {

// A buffer whose editing slots record the count they see and then either
// hand back the receiver or raise the 1010 overflow. No data members: the
// text must stay right behind the DBuffer header.
int seenCount = -1;
bool probeRaises = false;

class ProbeBuffer : public DBuffer {
public:
  explicit ProbeBuffer(unsigned int n) : DBuffer(n) {}
  static DString make(char const* text) {
    unsigned int const n = static_cast<unsigned int>(std::strlen(text));
    void* storage = ::operator new[](sizeof(ProbeBuffer) + n + 1);
    auto* b = new (storage) ProbeBuffer(n);
    std::memcpy(b->contents(), text, n);
    return DString(static_cast<DBuffer*>(b));
  }

  DBuffer* center(unsigned int, char) override { return probe(); }
  DBuffer* change(char const*, unsigned int, char const*, unsigned int,
                  unsigned int, unsigned int) override {
    return probe();
  }
  DBuffer* copy(unsigned int) override { return probe(); }
  DBuffer* insert(char const*, unsigned int, unsigned int, char) override {
    return probe();
  }
  DBuffer* leftJustify(unsigned int, char) override { return probe(); }
  DBuffer* lowerCase() override { return probe(); }
  DBuffer* overlayWith(char const*, unsigned int, unsigned int, char) override {
    return probe();
  }
  DBuffer* remove(unsigned int, unsigned int) override { return probe(); }
  DBuffer* reverse() override { return probe(); }
  DBuffer* rightJustify(unsigned int, char) override { return probe(); }
  DBuffer* strip(char const*, unsigned int, DStringEnum::StripMode) override {
    return probe();
  }
  DBuffer* strip(DStringTest const&, DStringEnum::StripMode) override {
    return probe();
  }
  DBuffer* translate(char const*, unsigned int, char const*, unsigned int,
                     char) override {
    return probe();
  }
  DBuffer* upperCase() override { return probe(); }

private:
  DBuffer* probe() {
    seenCount = static_cast<int>(useCount());
    if (probeRaises)
      DBuffer::overflow();
    addRef();
    return this;
  }
};

struct Member {
  char const* name;
  std::function<void(DString&)> call;
  bool direct;
};

std::vector<Member> const members = {
    {"upperCase", [](DString& s) { s.upperCase(); }, true},
    {"translate", [](DString& s) { s.translate("a", 1, "b", 1); }, true},
    {"strip(set)", [](DString& s) { s.strip("x", 1); }, true},
    {"strip(test)",
     [](DString& s) { s.strip(DStringTest(::isspace), DStringEnum::both); },
     true},
    {"strip()", [](DString& s) { s.strip(); }, true},
    {"lowerCase", [](DString& s) { s.lowerCase(); }, false},
    {"reverse", [](DString& s) { s.reverse(); }, false},
    {"overlayWith", [](DString& s) { s.overlayWith("x", 1, 1); }, false},
    {"insert", [](DString& s) { s.insert("x", 1, 1); }, false},
    {"remove", [](DString& s) { s.remove(1, 1); }, false},
    {"remove(start)", [](DString& s) { s.remove(2); }, false},
    {"leftJustify", [](DString& s) { s.leftJustify(5); }, false},
    {"rightJustify", [](DString& s) { s.rightJustify(5); }, false},
    {"center", [](DString& s) { s.center(5); }, false},
    {"copy", [](DString& s) { s.copy(2); }, false},
    {"change", [](DString& s) { s.change("a", 1, "b", 1); }, false},
};

} // namespace

TEST(DStringEdit, DirectAndGuardedProtocols) {
  for (auto const& m : members) {
    SCOPED_TRACE(m.name);
    DString s = ProbeBuffer::make("abc");
    DBuffer* const b = s.buffer();
    seenCount = -1;
    m.call(s);
    // Direct: the handle lends its own reference; guarded: one more.
    EXPECT_EQ(m.direct ? 1 : 2, seenCount);
    EXPECT_EQ(b, s.buffer());
    EXPECT_EQ(1u, b->useCount());

    DString const other(s); // shared: both ways see one more
    seenCount = -1;
    m.call(s);
    EXPECT_EQ(m.direct ? 2 : 3, seenCount);
    EXPECT_EQ(2u, b->useCount());
  }
}

TEST(DStringEdit, RaisingBufferLeavesTheHandleAlone) {
  dtest::RecordingTrace trace;
  for (auto const& m : members) {
    SCOPED_TRACE(m.name);
    DString s = ProbeBuffer::make("abc");
    DBuffer* const b = s.buffer();
    probeRaises = true;
    EXPECT_DEXCEPTION(m.call(s), DInvalidRequest, 1010, true, "dbuffer0", 561);
    probeRaises = false;
    // Both ways: the handle still owns its one reference to its old text.
    EXPECT_EQ(b, s.buffer());
    EXPECT_EQ(1u, b->useCount());
    EXPECT_EQ("abc", bytes(s));
  }
}

TEST(DStringEdit, InPlaceOnlyInTheDirectWay) {
  struct Case {
    char const* name;
    char const* source;
    std::function<void(DString&)> call;
    char const* want;
    bool sameBufferUnshared;
  };
  Case const cases[] = {
      {"upperCase", "abc", [](DString& s) { s.upperCase(); }, "ABC", true},
      {"translate", "abc",
       [](DString& s) { s.translate(DString("ab"), DString("x")); }, "x c",
       true},
      {"lowerCase", "ABC", [](DString& s) { s.lowerCase(); }, "abc", false},
      {"reverse", "abc", [](DString& s) { s.reverse(); }, "cba", false},
      {"change", "abc",
       [](DString& s) { s.change(DString("b"), DString("B")); }, "aBc", false},
      // Nothing to do: the receiver comes back in both ways.
      {"lowerCase-none", "abc", [](DString& s) { s.lowerCase(); }, "abc", true},
      {"leftJustify-same", "abc", [](DString& s) { s.leftJustify(3); }, "abc",
       true},
      {"center-same", "abc", [](DString& s) { s.center(3); }, "abc", true},
      {"strip-none", "abc", [](DString& s) { s.strip(); }, "abc", true},
      {"strip", " abc ", [](DString& s) { s.strip(); }, "abc", false},
  };
  for (auto const& c : cases) {
    for (bool shared : {false, true}) {
      SCOPED_TRACE(testing::Message() << c.name << (shared ? " shared" : ""));
      DString s(c.source);
      DString other;
      if (shared)
        other = s;
      DBuffer* const before = s.buffer();
      DString& back = (c.call(s), s);
      EXPECT_EQ(c.want, bytes(back));
      EXPECT_EQ('\0', static_cast<char const*>(s)[s.length()]);
      bool const unchanged = std::strcmp(c.want, c.source) == 0;
      EXPECT_EQ(c.sameBufferUnshared && (!shared || unchanged),
                s.buffer() == before);
      if (shared) {
        EXPECT_EQ(c.source, bytes(other));
        EXPECT_EQ(unchanged ? 2u : 1u, before->useCount());
      }
      EXPECT_EQ(unchanged && shared ? 2u : 1u, s.buffer()->useCount());
    }
  }
}

TEST(DStringEdit, HandleShortcuts) {
  struct Case {
    unsigned int start, count;
    char const* want;
  };
  Case const cases[] = {
      {3, 0xFFFFFFFFu, "ab"}, {0, 2, "cdef"},  {7, 1, "abcdef"},
      {2, 0, "abcdef"},       {6, 1, "abcde"}, {1, 6, ""},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::Message() << c.start << "," << c.count);
    DString s("abcdef");
    DBuffer* const before = s.buffer();
    EXPECT_EQ(&s, &s.remove(c.start, c.count));
    EXPECT_EQ(c.want, bytes(s));
    if (std::strcmp(c.want, "abcdef") == 0) {
      EXPECT_EQ(before, s.buffer());
    }
  }
  DString s("abcdef");
  s.remove(3);
  EXPECT_EQ("ab", bytes(s));
  DString empty;
  empty.remove(0, 5);
  EXPECT_EQ(0u, empty.length());

  // rightJustify to the same width never reaches the buffer.
  DString r = ProbeBuffer::make("abc");
  seenCount = -1;
  r.rightJustify(3);
  EXPECT_EQ(-1, seenCount);
  r.rightJustify(4);
  EXPECT_EQ(2, seenCount);
  r.remove(9, 1);
  r.remove(1, 0);
  EXPECT_EQ(2, seenCount);
  seenCount = -1;
  r.leftJustify(3); // no shortcut here
  EXPECT_EQ(2, seenCount);
}

TEST(DStringEdit, DefaultArguments) {
  DString s("abc");
  s.rightJustify(5).leftJustify(7).center(9);
  EXPECT_EQ("   abc   ", bytes(s));
  DString t("abab");
  t.change(DString("ab"), DString("x"));
  EXPECT_EQ("xx", bytes(t));
  DString u("abc");
  u.insert(DString("X"));
  EXPECT_EQ("Xabc", bytes(u));
  u.overlayWith(DString("YZ"));
  EXPECT_EQ("YZbc", bytes(u));
  u.strip(DString("Yc"));
  EXPECT_EQ("Zb", bytes(u));
  u.translate("Z", 1, "", 0);
  EXPECT_EQ(" b", bytes(u));
}

TEST(DStringEdit, StripUsesIsSpace) {
  DString s("  x\t");
  EXPECT_EQ("x", bytes(s.strip()));
  DString inner(" \v a b \f\n\r");
  EXPECT_EQ("a b", bytes(inner.strip()));
  DString blank(" \t ");
  EXPECT_EQ(0u, blank.strip().length());
  DString nul(std::string(" \0 ", 3));
  EXPECT_EQ(std::string(1, '\0'), bytes(nul.strip()));
}

TEST(DStringEdit, StaticFormsEditACopy) {
  DString const source("abcabc");
  EXPECT_EQ("ABCABC", bytes(DString::upperCase(source)));
  EXPECT_EQ("abc", bytes(DString::remove(source, 4, 3)));
  EXPECT_EQ("bcab", bytes(DString::center(source, 4)));
  EXPECT_EQ("-abcabc--", bytes(DString::center(source, 9, '-')));
  EXPECT_EQ("aXaX", bytes(DString::change(source, "bc", "X")));
  EXPECT_EQ("abcaX", bytes(DString::change(source, "bc", "X", 3)));
  EXPECT_EQ("aXabc", bytes(DString::change(source, "bc", "X", 1, 1)));
  EXPECT_EQ("aa", bytes(DString::change(source, "bc", nullptr)));
  EXPECT_EQ("abcabc", bytes(DString::change(source, nullptr, "X")));
  DString const pattern(std::string("c\0", 2));
  DString const withNul(std::string("abc\0d", 5));
  EXPECT_EQ("ab-d", bytes(DString::change(withNul, pattern, DString("-"))));
  // Each static form shared the source's buffer and left it unchanged.
  EXPECT_EQ("abcabc", bytes(source));
  EXPECT_EQ(1u, source.buffer()->useCount());
  // Nothing to change: the copy keeps sharing the source's buffer.
  DString const same = DString::upperCase(DString("ABC"));
  EXPECT_EQ("ABC", bytes(same));
}
