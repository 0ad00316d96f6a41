// Fuzz target: the message catalogue file. The input is written as a file
// and opened as the catalogue by DMessageText; whatever its header, tables
// and string pool hold, the lookup must neither crash nor read outside the
// file, and a text it loads must be one of the file's NUL-terminated
// strings (without substitution texts only a trailing CR LF may go).
#include "fuzz_input.hpp"

#include "dbase.hpp"

#include <unistd.h>

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
  // The library's message numbers, and two that hash elsewhere.
  for (unsigned long id : {1ul, 4ul, 185ul, 186ul, 1010ul, 2ul, 0xFFFFFFFFul}) {
    DMessageText const message(id, path.c_str());
    std::string const text = message.text();
    // A default text replaces only a text that was not loaded (a null one
    // none); copies and assigned texts keep whether it was.
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
    if (loaded ? !inFile : text != "Unable to load text from message file.")
      dfuzz::fail("catfile", std::to_string(id) + " gave " + dfuzz::show(text));
  }
  return 0;
}
