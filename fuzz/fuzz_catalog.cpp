// Fuzz target: DMessageText::replaceVars, the "%1" to "%9" substitution of
// catalogue texts, against a plain model. The input is split at NUL bytes:
// the first piece is the catalogue text, the following ones (at most nine)
// the substitution texts; the first byte chooses how many of them count.
#include "fuzz_input.hpp"

#include "dbase.hpp"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::string model(std::string const& text,
                  std::vector<std::string> const& values, unsigned long count) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char const c = text[i];
    char const next = i + 1 < text.size() ? text[i + 1] : '\0';
    if (c == '%' && next >= '1' && next <= '9' &&
        static_cast<unsigned long>(next - '0') <= count) {
      out += values[static_cast<std::size_t>(next - '1')];
      ++i;
    } else if (c == '%' && next == '%') {
      out += "%%"; // kept as a pair; the second one starts nothing
      ++i;
    } else {
      out.push_back(c);
    }
  }
  return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  if (size == 0)
    return 0;
  std::vector<std::string> pieces(1);
  for (std::size_t i = 1; i < size; ++i) {
    if (data[i] == 0)
      pieces.emplace_back();
    else
      pieces.back().push_back(static_cast<char>(data[i]));
  }
  std::string const text = pieces[0];
  std::vector<std::string> values(pieces.begin() + 1, pieces.end());
  if (values.size() > 9)
    values.resize(9);
  unsigned long const count = data[0] % (values.size() + 1);
  std::vector<char*> pointers;
  for (std::string& v : values)
    pointers.push_back(&v[0]);
  DMessageText message(0, nullptr); // no catalogue: the built-in text
  char* filled = message.replaceVars(text.c_str(), pointers.data(), count);
  std::string const got(filled);
  delete[] filled;
  std::string const want = model(text, values, count);
  if (got != want)
    dfuzz::fail("replaceVars", "text " + dfuzz::show(text) + " count " +
                                   std::to_string(count) + " gave " +
                                   dfuzz::show(got) + ", model " +
                                   dfuzz::show(want));
  return 0;
}
