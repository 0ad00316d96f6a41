// The handle's shortcuts for a plain single-byte buffer: DString::indexOf of
// one byte, operator== / operator!=, numWords and the word walk of space()
// and word() read a DBuffer's bytes directly, without its virtual slots.
// A buffer of a derived class must still be asked through its slots, with
// either value of DString::fgI18NState; and the shortcuts must keep the
// answers of the slots on the bytes where a byte-wise scan could slip.
#include "dmodels.hpp"
#include "dstring.hpp"
#include "dtest_support.hpp"

#include <cstring>
#include <new>
#include <string>

using dtest::bytes;

namespace {

// Slots that answer what DBuffer never would, so a shortcut that skipped
// them shows. No data members: the text stays right behind the header.
class OverridingBuffer : public DBuffer {
public:
  explicit OverridingBuffer(unsigned int n) : DBuffer(n) {}
  static DString make(std::string const& text) {
    unsigned int const n = static_cast<unsigned int>(text.size());
    void* storage = ::operator new[](sizeof(OverridingBuffer) + n + 1);
    auto* b = new (storage) OverridingBuffer(n);
    std::memcpy(b->contents(), text.data(), n);
    return DString(static_cast<DBuffer*>(b));
  }
  // Every text reads as ordered after every other, itself included.
  unsigned int compare(void const*, unsigned int) const override { return 1; }
  // One-byte patterns are "found" at 77.
  unsigned int indexOf(char const* pattern, unsigned int length,
                       unsigned int start) const override {
    return length == 1 ? 77 : DBuffer::indexOf(pattern, length, start);
  }
  // No separator is ever found, so a word runs to the end of the text.
  unsigned int indexOfAnyOf(char const*, unsigned int,
                            unsigned int) const override {
    return 0;
  }
};

} // namespace

TEST(DStringShortcuts, DerivedBufferSlotsAreStillAsked) {
  for (int flag : {0, 1}) {
    SCOPED_TRACE(flag);
    dtest::I18NState const state(flag);
    DString const text = OverridingBuffer::make("ab  cd");
    DString const same = OverridingBuffer::make("ab  cd");
    DString const plain("ab  cd");
    EXPECT_EQ(77u, text.indexOf('c'));
    EXPECT_EQ(77u, text.indexOf('z', 3));
    EXPECT_FALSE(text == same);
    EXPECT_TRUE(text != same);
    EXPECT_FALSE(text == plain);
    EXPECT_EQ(1u, text.numWords());
    EXPECT_EQ("ab  cd", bytes(text.word(1)));
    DString spaced(text);
    spaced.space(1, '_');
    EXPECT_EQ("ab  cd", bytes(spaced));
    // The plain buffer's own answers, for contrast.
    EXPECT_EQ(5u, plain.indexOf('c'));
    EXPECT_TRUE(plain == DString("ab  cd"));
    EXPECT_EQ(2u, plain.numWords());
  }
}

TEST(DStringShortcuts, PlainBufferAnswersLikeItsSlots) {
  // Texts across the eight-byte blocks of the word scan, with every
  // separator, NUL and bytes 0x80-0xFF (0x89, 0x8D and 0xA0 are separators
  // only with the high bit ignored) at block edges.
  std::string const texts[] = {
      "",
      " ",
      "a",
      "\t\n\v\f\r ",
      "1234567",
      "12345678",
      "123456789",
      "1234567 8",
      "1234567\t\t9",
      std::string("\0\0 \0", 4),
      "\x89\x8D\xA0 \x08\x0E\x1F!",
      "\x89\x8D\xA0\x20\x08\x0E\x1F\x21\xFF\x80\r",
      "       x       ",
      "ab cd\tef\ngh\vij\fkl\rmn op qr st uv wx yz",
  };
  for (int flag : {0, 1}) {
    dtest::I18NState const state(flag);
    for (std::string const& t : texts) {
      SCOPED_TRACE(testing::Message() << flag << " [" << t << "]");
      DString const s{std::string_view(t)};
      DBuffer const* const b = s.buffer();
      // The word count and the words as the virtual searches find them.
      unsigned int words = 0;
      std::string spaced;
      for (unsigned int p = b->indexOfAnyBut("\t\n\v\f\r ", 6, 1); p != 0;) {
        unsigned int const e = b->indexOfAnyOf("\t\n\v\f\r ", 6, p);
        unsigned int const end = e == 0 ? s.length() + 1 : e;
        spaced += (words++ == 0 ? "" : "_") + t.substr(p - 1, end - p);
        p = e == 0 ? 0 : b->indexOfAnyBut("\t\n\v\f\r ", 6, e);
      }
      EXPECT_EQ(words, s.numWords());
      DString copy(s);
      copy.space(1, '_');
      EXPECT_EQ(spaced, bytes(copy));
      for (unsigned char c : {0x00, 0x20, 0x38, 0x80, 0xFF}) {
        for (unsigned int start : {0u, 1u, 2u, 8u, 9u, 0xFFFFFFFFu}) {
          char const byte = static_cast<char>(c);
          EXPECT_EQ(b->indexOf(&byte, 1, start), s.indexOf(byte, start))
              << int(c) << " from " << start;
        }
      }
      // Equal texts in two buffers; one byte changed; one byte longer.
      DString const twin{std::string_view(t)};
      EXPECT_TRUE(s == twin);
      EXPECT_FALSE(s != twin);
      std::string changed = t + "x";
      EXPECT_FALSE(s == DString(std::string_view(changed)));
      if (!t.empty()) {
        changed = t;
        changed.back() = static_cast<char>(changed.back() ^ 0x80);
        EXPECT_TRUE(s != DString(std::string_view(changed)));
      }
    }
  }
}
