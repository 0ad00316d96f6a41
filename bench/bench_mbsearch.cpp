// Multibyte pattern search against the single-byte search over the same
// 1 MiB of mixed UTF-8 text (flag 0): the multibyte indexOf should stay
// within about 3x of DBuffer's. Runs in en_US.UTF-8 or C.UTF-8 when either
// exists (LOCPATH may point at the test build's locales), else skips.
#include "dbuffer.hpp"
#include "dstring.hpp"

#include <benchmark/benchmark.h>
#include <clocale>
#include <cstdlib>
#include <string>

namespace {

/// Mixed text: ASCII words, 2- and 3-byte characters.
std::string mixedText(std::size_t n) {
  static char const* const pieces[] = {"word ", "\xC3\xA9t\xC3\xA9 ",
                                       "\xE6\x97\xA5\xE6\x9C\xAC ",
                                       "\xE3\x81\x82\xE3\x81\x84", "x"};
  std::string text;
  for (std::size_t i = 0; text.size() < n; ++i)
    text += pieces[(i * 7 + i / 3) % 5];
  return text;
}

// Two characters that meet only at the very end of the text; the byte scan
// passes a mixture of one-, two- and three-byte characters to get there.
std::string const pattern = "\xE6\x9C\xAC!";

struct Texts {
  DString single; // a DBuffer, made in the C locale
  DString multi;  // a DDBCSBuffer, made in a UTF-8 locale
  bool ok = false;
};

Texts& texts() {
  static Texts t = [] {
    Texts made;
    std::string const text = mixedText(1 << 20) + "\xE6\x97\xA5\xE6\x9C\xAC!";
    std::setlocale(LC_ALL, "C");
    made.single = DString(std::string_view(text));
    if (std::setlocale(LC_ALL, "en_US.UTF-8") == nullptr &&
        std::setlocale(LC_ALL, "C.UTF-8") == nullptr)
      return made;
    made.multi = DString(std::string_view(text));
    made.ok = MB_CUR_MAX > 1;
    return made;
  }();
  return t;
}

void indexOfSingleByte(benchmark::State& state) {
  Texts& t = texts();
  if (!t.ok) {
    state.SkipWithError("no UTF-8 locale");
    return;
  }
  DString::fgI18NState = 0;
  for (auto _ : state)
    benchmark::DoNotOptimize(t.single.indexOf(pattern.c_str(), 1));
  state.SetBytesProcessed(state.iterations() * t.single.length());
}

void indexOfMultibyte(benchmark::State& state) {
  Texts& t = texts();
  if (!t.ok) {
    state.SkipWithError("no UTF-8 locale");
    return;
  }
  DString::fgI18NState = 0;
  for (auto _ : state)
    benchmark::DoNotOptimize(t.multi.indexOf(pattern.c_str(), 1));
  state.SetBytesProcessed(state.iterations() * t.multi.length());
}

} // namespace

BENCHMARK(indexOfSingleByte)->Unit(benchmark::kMicrosecond);
BENCHMARK(indexOfMultibyte)->Unit(benchmark::kMicrosecond);
