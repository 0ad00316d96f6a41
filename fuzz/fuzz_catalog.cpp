// Fuzz target: DMessageText::replaceVars, the "%1" to "%9" substitution of
// catalogue texts, against a plain model. The input is split at NUL bytes:
// the catalogue text, then at most nine substitution texts; the first byte
// chooses how many of them count.
#include "fuzz_input.hpp"

#include "dbase.hpp"

#include <cstdint>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  if (size == 0)
    return 0;
  std::vector<std::string> pieces(1);
  for (std::size_t i = 1; i < size; ++i)
    if (data[i] == 0)
      pieces.emplace_back();
    else
      pieces.back().push_back(static_cast<char>(data[i]));
  std::string const text = pieces[0];
  std::vector<std::string> values(pieces.begin() + 1, pieces.end());
  values.resize(std::min<std::size_t>(values.size(), 9));
  unsigned long const count = data[0] % (values.size() + 1);
  // The model: "%N" with N up to count is replaced, "%%" kept as a pair
  // (its second "%" starts nothing), everything else copied.
  std::string want;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char const next = i + 1 < text.size() ? text[i + 1] : '\0';
    bool const digit = next >= '1' && next <= '9' &&
                       static_cast<unsigned long>(next - '0') <= count;
    if (text[i] != '%' || (!digit && next != '%'))
      want += text[i];
    else
      want += digit ? values[static_cast<std::size_t>(next - '1')] : "%%";
    i += text[i] == '%' && (digit || next == '%');
  }
  std::vector<char*> pointers;
  for (std::string& v : values)
    pointers.push_back(&v[0]);
  DMessageText message(0, nullptr); // no catalogue: the built-in text
  char* filled = message.replaceVars(text.c_str(), pointers.data(), count);
  std::string const got(filled);
  delete[] filled;
  if (got != want)
    dfuzz::fail("replaceVars", "text " + dfuzz::show(text) + " count " +
                                   std::to_string(count) + " gave " +
                                   dfuzz::show(got) + ", model " +
                                   dfuzz::show(want));
  return 0;
}
