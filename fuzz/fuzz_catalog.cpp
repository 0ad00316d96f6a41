// Fuzz target: DMessageText::replaceVars against a model. The input, split
// at NUL bytes, is the text and up to nine values, the first byte how many
// count. "%N" up to the count is replaced, "%%" kept as a pair.
#include "fuzz_input.hpp"

#include "dbase.hpp"

#include <algorithm>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  std::vector<std::string> pieces(1);
  for (std::size_t i = 1; i < size; ++i)
    if (data[i] == 0)
      pieces.emplace_back();
    else
      pieces.back().push_back(static_cast<char>(data[i]));
  std::string const text = pieces[0];
  pieces.erase(pieces.begin());
  pieces.resize(std::min<std::size_t>(pieces.size(), 9));
  unsigned long const count = size == 0 ? 0 : data[0] % (pieces.size() + 1);
  std::vector<char*> values;
  for (std::string& v : pieces)
    values.push_back(&v[0]);
  std::string want;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned long const n = i + 1 < text.size() ? text[i + 1] - '0' : 0;
    bool const value = text[i] == '%' && n >= 1 && n <= count;
    bool const pair = text.compare(i, 2, "%%") == 0;
    want += value ? pieces[n - 1] : pair ? "%%" : text.substr(i, 1);
    i += value || pair;
  }
  DMessageText message(0, nullptr); // no catalogue: the built-in text
  char* filled = message.replaceVars(text.c_str(), values.data(), count);
  std::string const got(filled);
  delete[] filled;
  if (got != want)
    dfuzz::fail("replaceVars", dfuzz::show(text) + " gave " + dfuzz::show(got));
  return 0;
}
