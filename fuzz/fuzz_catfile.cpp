// Fuzz target: the input as the catalogue file of DMessageText. catopen and
// catgets trust the file (plane size 0 divides by zero, large sizes or
// offsets read past it), so only a sound one may be used; a text loaded
// must be one of its strings (only a trailing CR LF may go).
#include "fuzz_input.hpp"

#include "dbase.hpp"

#include <algorithm>
#include <cstring>
#include <unistd.h>

namespace {

bool isSound(std::string const& file) {
  auto word = [&file](std::uint64_t at, bool swap) {
    std::uint32_t w;
    std::memcpy(&w, file.data() + at, sizeof w);
    return swap ? __builtin_bswap32(w) : w;
  };
  if (file.size() < 12)
    return false;
  bool const swap = word(0, true) == 0x960408deu;
  std::uint64_t const n = std::uint64_t{word(4, swap)} * word(8, swap);
  if ((!swap && word(0, false) != 0x960408deu) || n == 0 ||
      n > file.size() / 24 || 12 + 24 * n >= file.size())
    return false;
  std::uint64_t const pool = 12 + 24 * n;
  bool const little = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;
  std::uint64_t largest = 0;
  for (std::uint64_t e = 0; e < n; ++e)
    largest = std::max<std::uint64_t>(
        largest, word(12 + 12 * e + 8 + (little ? 0 : 12 * n), false));
  return largest < file.size() - pool &&
         file.find('\0', pool + largest) != std::string::npos;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  static std::string const path = [] { // one scratch file per process
    char name[] = "/tmp/zyn-fuzz-catalogue-XXXXXX";
    ::close(::mkstemp(name));
    std::atexit([] { ::unlink(path.c_str()); });
    return std::string(name);
  }();
  std::string const input(reinterpret_cast<char const*>(data), size);
  std::FILE* out = std::fopen(path.c_str(), "wb");
  if (out == nullptr || std::fwrite(input.data(), 1, size, out) != size ||
      std::fclose(out) != 0)
    dfuzz::fail("catfile", "cannot write " + path);
  bool const sound = isSound(input);
  for (unsigned long id : {1ul, 4ul, 185ul, 186ul, 1010ul, 2ul, 0xFFFFFFFFul}) {
    DMessageText const message(id, path.c_str());
    std::string const text = message.text();
    // A default replaces only a text not loaded; copies keep whether it was.
    DMessageText first(message), second(0, nullptr);
    second = message;
    std::string const other = text + "!";
    bool const loaded = other != first.setDefaultText(other.c_str()).text();
    if (text != message.text() ||
        loaded != (other != second.setDefaultText(nullptr)
                                .setDefaultText(other.c_str())
                                .text()))
      dfuzz::fail("catfile", "copies of message " + std::to_string(id));
    bool const inFile = input.find(text + '\0') != std::string::npos ||
                        input.find(text + "\r\n" + '\0') != std::string::npos;
    if (loaded ? !inFile || !sound
               : text != "Unable to load text from message file.")
      dfuzz::fail("catfile", std::to_string(id) + " gave " + dfuzz::show(text));
  }
  return 0;
}
