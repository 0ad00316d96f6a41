// Reads numbers and short byte strings from the front of a fuzz input, then
// zeros once it is used up, so that every input is a valid program.
#ifndef D_FUZZ_FUZZ_INPUT_HPP
#define D_FUZZ_FUZZ_INPUT_HPP

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace dfuzz {

class Input {
public:
  Input(std::uint8_t const* data, std::size_t size) : at(data), left(size) {}

  bool empty() const { return left == 0; }
  std::uint8_t byte() { return left == 0 ? 0 : (--left, *at++); }

  /// A value in [0, bound] (bound at most 65535).
  unsigned int upTo(unsigned int bound) {
    unsigned int const low = byte(); // read first (| leaves the order open)
    unsigned int const raw = bound > 255 ? low | byte() << 8 : low;
    return bound == 0 ? 0 : raw % (bound + 1);
  }

  /// At most \p maxLength bytes, mostly from an alphabet searches find.
  std::string text(unsigned int maxLength) {
    static char const alphabet[] = "abcA \t\0x*?\351B";
    unsigned int const length = upTo(maxLength);
    bool const raw = (byte() & 7) == 0;
    std::string out;
    for (unsigned int i = 0; i < length && !empty(); ++i) {
      std::uint8_t const b = byte();
      out.push_back(raw ? static_cast<char>(b) : alphabet[b % 12]);
    }
    return out;
  }

  /// A 1-based position in \p length bytes, 0, just past or the largest.
  unsigned int position(std::size_t length, bool allowHuge) {
    std::uint8_t const kind = byte();
    if (allowHuge && kind % 16 == 0)
      return 0xFFFFFFFFu;
    return static_cast<unsigned int>(kind % (length + 4));
  }

private:
  std::uint8_t const* at;
  std::size_t left;
};

/// Stops the run: libFuzzer records the input.
[[noreturn]] inline void fail(char const* what, std::string const& detail) {
  std::fprintf(stderr, "mismatch in %s: %s\n", what, detail.c_str());
  std::abort();
}

inline std::string show(std::string const& bytes) {
  std::string out = "\"";
  for (unsigned char c : bytes) {
    char hex[8];
    bool const plain = c >= 0x20 && c < 0x7F && c != '"' && c != '\\';
    std::snprintf(hex, sizeof hex, plain ? "%c" : "\\x%02X", c);
    out += hex;
  }
  return out + "\"";
}

} // namespace dfuzz

#endif // D_FUZZ_FUZZ_INPUT_HPP
