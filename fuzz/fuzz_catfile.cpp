// Fuzz target: the message catalogue file. The input is written as a file
// and opened as the catalogue by DMessageText; whatever its header, tables
// and string pool hold, the lookup must neither crash nor read outside the
// file, and a text it loads must be one of the file's NUL-terminated
// strings (without substitution texts only a trailing CR LF may go).
#include "fuzz_input.hpp"

#include "dbase.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  // One scratch file per process, rewritten for every input.
  static std::string const path = [] {
    char name[] = "/tmp/zyn-fuzz-catalogue-XXXXXX";
    int const fd = ::mkstemp(name);
    if (fd < 0)
      dfuzz::fail("catfile", "cannot make a scratch file");
    ::close(fd);
    std::atexit([] { ::unlink(path.c_str()); });
    return std::string(name);
  }();
  std::FILE* out = std::fopen(path.c_str(), "wb");
  if (out == nullptr ||
      (size != 0 && std::fwrite(data, 1, size, out) != size) ||
      std::fclose(out) != 0)
    dfuzz::fail("catfile", "cannot write " + path);
  std::string const input(reinterpret_cast<char const*>(data), size);
  // The library's message numbers, and two that hash elsewhere.
  for (unsigned long id :
       {1ul, 4ul, 185ul, 186ul, 1010ul, 1011ul, 1012ul, 2ul, 0xFFFFFFFFul}) {
    DMessageText const message(id, path.c_str());
    std::string const text = message.text();
    // A default text replaces only a text that was not loaded; two
    // different ones tell the cases apart whatever the file holds.
    DMessageText first(message), second(message);
    bool const loaded = std::strcmp(first.setDefaultText("a").text(), "a") ||
                        std::strcmp(second.setDefaultText("b").text(), "b");
    auto isString = [&input, &text](char const* tail) {
      return input.find(text + tail + std::string(1, '\0')) !=
             std::string::npos;
    };
    if (loaded ? !isString("") && !isString("\r\n")
               : text != "Unable to load text from message file.")
      dfuzz::fail("catfile", "message " + std::to_string(id) + " gave " +
                                 dfuzz::show(text) + " from " +
                                 dfuzz::show(input.substr(0, 64)));
  }
  return 0;
}
