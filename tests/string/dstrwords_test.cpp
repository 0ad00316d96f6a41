// Word operations of DString: tables per operation, shared receivers, the
// 1010 overflow of space and a text of 100,000 words (fuzz_sbcs compares
// the operations with the word model on generated texts).
#include "dexcept.hpp"
#include "dstring.hpp"
#include "dtest_support.hpp"

#include <langinfo.h>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace std::string_literals;

using dtest::make;

namespace {

// The text is intact behind its length: one NUL terminator.
void expectTerminated(DString const& s) {
  EXPECT_EQ('\0', static_cast<char const*>(s)[s.length()]);
}

} // namespace

TEST(DStringWords, NumWords) {
  struct Case {
    std::string text;
    unsigned want;
  };
  Case const cases[] = {
      {"", 0},
      {" \t\n\v\f\r", 0},
      {"a", 1},
      {"  a  ", 1},
      {"ab cd", 2},
      {"a\tb\nc\vd\fe\rf g", 7},
      {"a\0b c"s, 2},          // NUL is part of a word
      {"\0 \0"s, 2},           // so is a lone NUL
      {"\x85 \xa0 b", 3},      // high bytes are not white space
      {"a,b;c.d", 1},          // nor is punctuation
      {"\x1c\x1d\x1e\x1f", 1}, // nor the other control characters
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.text));
    EXPECT_EQ(c.want, make(c.text).numWords());
  }
}

TEST(DStringWords, IndexOfWord) {
  struct Case {
    char const* text;
    unsigned wordNumber, startPos, wordsSoFar, want;
  };
  Case const cases[] = {
      {"  ab cd", 1, 1, 0, 3},  {"  ab cd", 2, 1, 0, 6},
      {"  ab cd", 3, 1, 0, 0},  // past the last word
      {"  ab cd", 0, 1, 0, 0},  // word 0 never exists
      {"  ab cd", 1, 0, 0, 0},  // start 0 answers 0
      {"ab cd ef", 3, 3, 1, 7}, // from a separator, one word before
      {"ab cd", 2, 2, 0, 4},    // a start inside a word counts its rest
      {"ab cd", 1, 1, 5, 0},    // wordsSoFar above wordNumber
      {"ab cd", 2, 1, 1, 1},    // wordsSoFar shifts the numbers
      {"ab cd", 3, 1, 1, 4},    {"ab cd", 1, 6, 0, 0}, // start past the end
      {"", 1, 1, 0, 0},         {"\r\n\t", 1, 1, 0, 0},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.text);
    SCOPED_TRACE(c.wordNumber);
    EXPECT_EQ(c.want, DString(c.text).indexOfWord(c.wordNumber, c.startPos,
                                                  c.wordsSoFar));
  }
}

TEST(DStringWords, WordAndLengthOfWord) {
  struct Case {
    std::string text;
    unsigned n;
    std::string word;
    unsigned length;
  };
  Case const cases[] = {
      {"a  bb\tccc d", 0, "a", 0}, // word 0 is word 1, lengthOfWord(0) is 0
      {"a  bb\tccc d", 1, "a", 1},
      {"a  bb\tccc d", 3, "ccc", 3},
      {"a  bb\tccc d", 4, "d", 1}, // last word, no separator after it
      {"a  bb\tccc d", 5, "", 0},
      {"a  bb\tccc d", 0xFFFFFFFFu, "", 0},
      {"", 1, "", 0},
      {"", 0, "", 0},
      {" \t\v ", 1, "", 0},
      {"\r\nab\f", 1, "ab", 2},
      {"x\0y z"s, 1, "x\0y"s, 3},
      {"x \0\0"s, 2, "\0\0"s, 2},
      {"\xe9t\xe9 x", 1, "\xe9t\xe9", 3},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.text));
    SCOPED_TRACE(c.n);
    DString const s = make(c.text);
    DString const w = s.word(c.n);
    EXPECT_EQ(c.word, dtest::bytes(w));
    expectTerminated(w);
    EXPECT_EQ(c.length, s.lengthOfWord(c.n));
    EXPECT_EQ(c.text, dtest::bytes(s)); // the receiver is unchanged
  }
}

TEST(DStringWords, Words) {
  struct Case {
    std::string text;
    unsigned first, num;
    std::string want;
  };
  std::string const t = "a  b\tc d";
  std::string const tt = "\n a  b\tc d \r\n";
  Case const cases[] = {
      {t, 2, 2, "b\tc"},
      {t, 3, 100, "c d"}, // runs to the last non-blank
      {t, 2, 0, ""},
      {t, 0, 1, "a"}, // first word 0 is word 1
      {t, 0, 2, "a  b"},
      {t, 4, 1, "d"},
      {t, 5, 1, ""},
      {tt, 1, 4, "a  b\tc d"}, // no leading or trailing white space
      {tt, 1, 0xFFFFFFFFu, "a  b\tc d"},
      {tt, 2, 0xFFFFFFFEu, "b\tc d"}, // last word exactly 0xFFFFFFFF
      {tt, 3, 0xFFFFFFFFu, "c d"},    // sum past 32 bits: held at the max
      {tt, 0xFFFFFFFFu, 0xFFFFFFFFu, ""},
      {tt, 4, 0xFFFFFFFFu, "d"},
      {"", 1, 1, ""},
      {" \f ", 1, 1, ""},
      {"p\0q  r\0 s"s, 1, 2, "p\0q  r\0"s},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.text));
    SCOPED_TRACE(c.first);
    SCOPED_TRACE(c.num);
    DString const s = make(c.text);
    DString const w = s.words(c.first, c.num);
    EXPECT_EQ(c.want, dtest::bytes(w));
    expectTerminated(w);
    EXPECT_EQ(c.text, dtest::bytes(s));
  }
}

TEST(DStringWords, RemoveWords) {
  struct Case {
    std::string text;
    unsigned first, num;
    std::string want;
  };
  Case const cases[] = {
      {"a b c", 2, 1, "a c"},
      {"a b c", 3, 1, "a b "}, // the blank before the removed word stays
      {"a b c", 0, 5, "a b c"},
      {"a b c", 1, 0, "a b c"},
      {"a b c", 4, 1, "a b c"},
      {"a b c", 1, 1, "b c"},
      {" a b c", 1, 1, " b c"},    // leading white space stays
      {"a  b\t\tc", 2, 1, "a  c"}, // trailing separators of b go
      {"a b c  ", 2, 2, "a "},
      {"a b c", 1, 100, ""},
      {"a b c", 2, 0xFFFFFFFFu, "a "},   // firstWord + numWords wraps to 1
      {"a b c", 3, 0xFFFFFFFEu, "a b "}, // ... to 1, below firstWord
      {"a b c", 2, 0xFFFFFFFEu, "a "},   // ... to 0
      {"a\0b c\0d e"s, 2, 1, "a\0b e"s},
      {"", 1, 1, ""},
      {" \n ", 1, 1, " \n "},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.text));
    SCOPED_TRACE(c.first);
    SCOPED_TRACE(c.num);
    DString s = make(c.text);
    DString& r = s.removeWords(c.first, c.num);
    EXPECT_EQ(&s, &r);
    EXPECT_EQ(c.want, dtest::bytes(s));
    expectTerminated(s);
  }
}

TEST(DStringWords, Space) {
  struct Case {
    std::string text;
    unsigned numSpaces;
    char spaceChar;
    std::string want;
  };
  Case const cases[] = {
      {"  a\t\tb  ", 1, ' ', "a b"},     {"  a\t\tb  ", 0, ' ', "ab"},
      {"  a\t\tb  ", 2, '-', "a--b"},    {"", 3, '-', ""},
      {" \t\n\v\f\r", 1, ' ', ""},       {"abc", 4, '-', "abc"},
      {"  abc\n", 4, '-', "abc"},        {"a\nb\vc\fd\re", 1, ' ', "a b c d e"},
      {"a\0b \r c"s, 1, '*', "a\0b*c"s}, {"ab cd", 3, '\0', "ab\0\0\0cd"s},
      {"x y", 2, '\xe9', "x\xe9\xe9y"},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.text));
    SCOPED_TRACE(c.numSpaces);
    DString s = make(c.text);
    DString& r = s.space(c.numSpaces, c.spaceChar);
    EXPECT_EQ(&s, &r);
    EXPECT_EQ(c.want, dtest::bytes(s));
    if (s.length() != 0) {
      EXPECT_EQ(1u, s.buffer()->useCount());
    }
    expectTerminated(s);
  }
}

TEST(DStringWords, SpaceAlwaysInstallsNewBuffer) {
  DString s("abc");
  DBuffer const* before = s.buffer();
  DString keep(s); // keeps the old buffer alive so its address is not reused
  s.space(1, ' ');
  EXPECT_NE(before, s.buffer());
  EXPECT_EQ(1u, s.buffer()->useCount());
  EXPECT_EQ(1u, keep.buffer()->useCount());
}

TEST(DStringWords, SharedReceivers) {
  DString a("a  b\tc ");
  DString b(a);
  b.removeWords(2, 1);
  EXPECT_EQ("a  c ", dtest::bytes(b));
  EXPECT_EQ("a  b\tc ", dtest::bytes(a));
  EXPECT_EQ(1u, a.buffer()->useCount());
  EXPECT_EQ(1u, b.buffer()->useCount());

  DString c(a);
  c.space(2, '_');
  EXPECT_EQ("a__b__c", dtest::bytes(c));
  EXPECT_EQ("a  b\tc ", dtest::bytes(a));
  EXPECT_EQ(1u, a.buffer()->useCount());
  expectTerminated(c);

  DString blank(" \t ");
  DString d(blank);
  d.space(1, ' ');
  EXPECT_EQ(0u, d.length());
  EXPECT_EQ(" \t ", dtest::bytes(blank));
  expectTerminated(d);

  // A removal that changes nothing keeps the shared buffer.
  DString e(a);
  e.removeWords(9, 1);
  EXPECT_EQ(a.buffer(), e.buffer());
  EXPECT_EQ(2u, a.buffer()->useCount());
}

TEST(DStringWords, FindPhrase) {
  struct Case {
    std::string text, phrase;
    unsigned startWord;
    unsigned wantChar, wantWord;
  };
  Case const cases[] = {
      {"a b c", "b  c", 1, 3, 2},
      {"a b c", "b\tc", 1, 3, 2},
      {"a\r\nb\f\vc", " b c ", 1, 4, 2},
      {"a b c", "B c", 1, 0, 0}, // bytes, not case
      {"Hello World", "hello world", 1, 0, 0},
      {"a b c", "a b c d", 1, 0, 0}, // longer than the text
      {"a b c", "c", 3, 5, 3},
      {"a b c", "c", 4, 0, 0},
      {"a b c", "b", 0, 3, 2}, // start 0 works as 1
      {"a b a b", "a b", 2, 5, 3},
      {"a b a b c", "a b c", 1, 5, 3}, // restart inside a partial match
      {"a a a b", "a a b", 1, 3, 2},
      {"ab c", "a", 1, 0, 0}, // whole words only
      {"abc", "ab", 1, 0, 0},
      {"x a\0b y"s, "a\0b"s, 1, 3, 2},
      {"x a\0b y"s, "a", 1, 0, 0},
      {"", "a", 1, 0, 0},
      {"a b", "", 2, 3, 2},    // an empty phrase matches at once
      {"a b", "", 3, 0, 3},    // word 3 exists for no position
      {"a b", " \t", 4, 0, 0}, // but word 4 is out of reach
      {"a b", "", 0, 0, 0},
      {" ", "", 1, 0, 1},
      {"a b", "a", 0xFFFFFFFFu, 0, 0}, // no wrap of startWord + count
      {"a b", "", 0xFFFFFFFFu, 0, 0},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.text));
    SCOPED_TRACE(testing::PrintToString(c.phrase));
    SCOPED_TRACE(c.startWord);
    DString const s = make(c.text);
    DString const p = make(c.phrase);
    EXPECT_EQ(c.wantChar, s.findPhrase(p, c.startWord, DString::charIndex));
    EXPECT_EQ(c.wantWord, s.findPhrase(p, c.startWord, DString::wordIndex));
  }
  // Any non-zero index type answers with the word number.
  EXPECT_EQ(2u, DString("a b").findPhrase(DString("b"), 1,
                                          static_cast<DString::IndexType>(7)));
  // The phrase may be the receiver itself.
  DString const self(" q r ");
  EXPECT_EQ(2u, self.findPhrase(self, 1, DString::charIndex));
}

// 100,000 words in about 1 MiB: the operations that scan the whole text or
// look up many words complete and agree with the reference.
TEST(DStringWords, HundredThousandWords) {
  std::string text;
  text.reserve(1u << 20);
  char const seps[] = {' ', '\t', '\n', ' ', ' ', '\r'};
  for (unsigned i = 0; i < 100000; ++i) {
    if (i != 0)
      text += seps[i % 6];
    text += "w" + std::to_string(i) + std::string(i % 5, 'x');
  }
  auto const ref = dmodel::words(text);
  ASSERT_EQ(100000u, ref.size());
  DString const s = make(text);

  EXPECT_EQ(100000u, s.numWords());
  EXPECT_EQ("w99999xxxx", dtest::bytes(s.word(100000)));
  EXPECT_EQ(ref[54320].pos, s.indexOfWord(54321));
  EXPECT_EQ("w99998xxx w99999xxxx", dtest::bytes(s.words(99999, 5)));

  // Last three words, and a phrase that almost matches everywhere.
  DString const tail("w99997xx  w99998xxx w99999xxxx");
  EXPECT_EQ(99998u, s.findPhrase(tail, 1, DString::wordIndex));
  EXPECT_EQ(ref[99997].pos, s.findPhrase(tail, 1, DString::charIndex));
  EXPECT_EQ(0u, s.findPhrase(DString("w99999xxxx w0"), 1, DString::wordIndex));

  DString spaced = s;
  spaced.space(1, ' ');
  std::string wantSpaced;
  for (auto const& w : ref)
    wantSpaced +=
        (wantSpaced.empty() ? "" : " ") + text.substr(w.pos - 1, w.length);
  EXPECT_EQ(wantSpaced, dtest::bytes(spaced));
  EXPECT_EQ(100000u, spaced.numWords());

  DString cut = s;
  cut.removeWords(2, 99998);
  EXPECT_EQ("w0\tw99999xxxx", dtest::bytes(cut));
  EXPECT_EQ(text, dtest::bytes(s));
}

// Repeated words everywhere: a phrase that matches all but its last word at
// every start, where trying each start in turn would be quadratic.
TEST(DStringWords, FindPhraseRepetitive) {
  std::string text;
  for (int i = 0; i < 20000; ++i)
    text += "a ";
  text += "b";
  std::string phrase;
  for (int i = 0; i < 2000; ++i)
    phrase += "a ";
  phrase += "b";
  DString const s = make(text);
  EXPECT_EQ(18001u, s.findPhrase(make(phrase), 1, DString::wordIndex));
  EXPECT_EQ(36001u, s.findPhrase(make(phrase), 1, DString::charIndex));
  EXPECT_EQ(0u, s.findPhrase(make(phrase + " a"), 1, DString::wordIndex));
}

// In multibyte text the words are whole characters and positions stay
// bytes. Trail bytes that look like ASCII letters or digits (GB18030) are
// part of their word.
TEST(MbStringWords, MultibyteWords) {
  struct Encoding {
    char const* codeset;
    std::string w1, w2, w3;
  };
  Encoding const encodings[] = {
      {"UTF-8", "\xe6\x97\xa5\xe6\x9c\xac", "\xe8\xaa\x9e", "a\xc3\xa9"},
      {"EUC-JP", "\xc6\xfc\xcb\xdc", "\xb8\xec", "a\x8f\xab\xb1"},
      {"GB18030", "\xc8\xd5\xb1\xbe", "\xd5\x5a", "a\x81\x32\xce\x39"},
  };
  // The codeset, not the locale name: ja_JP.eucJP names EUC-JP otherwise.
  std::string const codeset = nl_langinfo(CODESET);
  Encoding const* e = nullptr;
  for (auto const& candidate : encodings)
    if (codeset == candidate.codeset)
      e = &candidate;
  if (e == nullptr)
    GTEST_SKIP() << "not a multibyte test locale";

  for (int i18n = 0; i18n <= 1; ++i18n) {
    dtest::I18NState state(i18n);
    SCOPED_TRACE(i18n);
    std::string const text = " " + e->w1 + "\t\t" + e->w2 + " " + e->w3 + "\n";
    auto const p1 = 2u;
    auto const p2 = static_cast<unsigned>(p1 + e->w1.size() + 2);
    auto const p3 = static_cast<unsigned>(p2 + e->w2.size() + 1);
    DString const s = make(text);

    EXPECT_EQ(3u, s.numWords());
    EXPECT_EQ(p2, s.indexOfWord(2));
    EXPECT_EQ(p3, s.indexOfWord(3));
    EXPECT_EQ(e->w2.size(), s.lengthOfWord(2));
    EXPECT_EQ(e->w3.size(), s.lengthOfWord(3));
    EXPECT_EQ(e->w1, dtest::bytes(s.word(0)));
    EXPECT_EQ(e->w3, dtest::bytes(s.word(3)));
    EXPECT_EQ(e->w2 + " " + e->w3, dtest::bytes(s.words(2, 9)));
    EXPECT_EQ(e->w1 + "\t\t" + e->w2, dtest::bytes(s.words(1, 2)));

    DString const phrase = make(e->w2 + "\n" + e->w3);
    EXPECT_EQ(p2, s.findPhrase(phrase, 1, DString::charIndex));
    EXPECT_EQ(2u, s.findPhrase(phrase, 2, DString::wordIndex));
    EXPECT_EQ(0u,
              s.findPhrase(make(e->w2.substr(0, 1)), 1, DString::wordIndex));

    DString spaced = s;
    spaced.space(1, '-');
    EXPECT_EQ(e->w1 + "-" + e->w2 + "-" + e->w3, dtest::bytes(spaced));
    EXPECT_EQ(s.buffer()->className(), spaced.buffer()->className());

    DString removed = s;
    removed.removeWords(2, 1);
    EXPECT_EQ(" " + e->w1 + "\t\t" + e->w3 + "\n", dtest::bytes(removed));
    EXPECT_EQ(text, dtest::bytes(s));
  }
}
