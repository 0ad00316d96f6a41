// Word operations on a text of 100,000 words (about 1 MiB), against a
// plain std::string_view split loop over the same six white-space bytes.
// The pairs are named "<work>/<size>/ours" and "<work>/<size>/peer".
#include "dstring.hpp"

#include <benchmark/benchmark.h>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view separators{"\t\n\v\f\r ", 6};

std::string const& wordText() {
  static std::string const text = [] {
    std::string t;
    t.reserve(1u << 20);
    char const seps[] = {' ', '\t', ' ', '\n', ' ', '\r', ' '};
    for (unsigned i = 0; i < 100000; ++i) {
      if (i != 0)
        t += seps[i % 7];
      t += "w" + std::to_string(i) + std::string(i % 7, 'x');
    }
    return t;
  }();
  return text;
}

// Calls visit(word) for every word in order, until it returns false.
template <class Visit>
void splitView(std::string_view text, Visit visit) {
  std::size_t i = text.find_first_not_of(separators);
  while (i != std::string_view::npos) {
    std::size_t const e = text.find_first_of(separators, i);
    std::size_t const n = (e == std::string_view::npos ? text.size() : e) - i;
    if (!visit(text.substr(i, n)) || e == std::string_view::npos)
      break;
    i = text.find_first_not_of(separators, e);
  }
}

void numWordsDString(benchmark::State& state) {
  DString const s{std::string_view(wordText())};
  for (auto _ : state)
    benchmark::DoNotOptimize(s.numWords());
  state.SetBytesProcessed(state.iterations() * s.length());
}
BENCHMARK(numWordsDString)
    ->Name("numWords/1 MiB/ours")
    ->Unit(benchmark::kMillisecond);

void numWordsStringView(benchmark::State& state) {
  std::string_view const text(wordText());
  for (auto _ : state) {
    unsigned count = 0;
    splitView(text, [&count](std::string_view) { return ++count != 0; });
    benchmark::DoNotOptimize(count);
  }
  state.SetBytesProcessed(state.iterations() * text.size());
}
BENCHMARK(numWordsStringView)
    ->Name("numWords/1 MiB/peer")
    ->Unit(benchmark::kMillisecond);

// Word 50,000 of 100,000: every word before it is skipped.
void middleWordDString(benchmark::State& state) {
  DString const s{std::string_view(wordText())};
  for (auto _ : state)
    benchmark::DoNotOptimize(s.word(50000));
}
BENCHMARK(middleWordDString)
    ->Name("word 50,000/1 MiB/ours")
    ->Unit(benchmark::kMicrosecond);

void middleWordStringView(benchmark::State& state) {
  std::string_view const text(wordText());
  for (auto _ : state) {
    std::string word;
    unsigned count = 0;
    splitView(text, [&](std::string_view w) {
      if (++count < 50000)
        return true;
      word = w;
      return false;
    });
    benchmark::DoNotOptimize(word);
  }
}
BENCHMARK(middleWordStringView)
    ->Name("word 50,000/1 MiB/peer")
    ->Unit(benchmark::kMicrosecond);

void space1DString(benchmark::State& state) {
  DString const s{std::string_view(wordText())};
  for (auto _ : state) {
    DString t(s);
    t.space(1, ' ');
    benchmark::DoNotOptimize(t.length());
  }
  state.SetBytesProcessed(state.iterations() * s.length());
}
BENCHMARK(space1DString)
    ->Name("space(1)/1 MiB/ours")
    ->Unit(benchmark::kMillisecond);

void space1StringView(benchmark::State& state) {
  std::string_view const text(wordText());
  for (auto _ : state) {
    std::string out;
    splitView(text, [&out](std::string_view w) {
      if (!out.empty())
        out += ' ';
      out += w;
      return true;
    });
    benchmark::DoNotOptimize(out.size());
  }
  state.SetBytesProcessed(state.iterations() * text.size());
}
BENCHMARK(space1StringView)
    ->Name("space(1)/1 MiB/peer")
    ->Unit(benchmark::kMillisecond);

void findPhraseDString(benchmark::State& state) {
  DString const s{std::string_view(wordText())};
  DString const phrase("w99997xx w99998xxx w99999xxxx");
  for (auto _ : state)
    benchmark::DoNotOptimize(s.findPhrase(phrase, 1, DString::wordIndex));
  state.SetBytesProcessed(state.iterations() * s.length());
}
BENCHMARK(findPhraseDString)->Unit(benchmark::kMillisecond);

void wordLoopDString(benchmark::State& state) {
  // word(i) for the first 1,000 words: each scans from the front.
  DString const s{std::string_view(wordText())};
  for (auto _ : state)
    for (unsigned i = 1; i <= 1000; ++i)
      benchmark::DoNotOptimize(s.lengthOfWord(i));
}
BENCHMARK(wordLoopDString)->Unit(benchmark::kMillisecond);

} // namespace
