// Reading lines and words, matching with one anyString, appending and
// growing by indexing, over texts of 1 KiB to 1 MiB: each should scale
// linearly (the reported complexity is O(N)).
#include "dstring.hpp"

#include <benchmark/benchmark.h>
#include <sstream>
#include <string>

namespace {

std::string letters(std::size_t n) {
  std::string text(n, 'a');
  for (std::size_t i = 0; i < n; i += 7)
    text[i] = static_cast<char>('a' + i % 26);
  return text;
}

void readLine(benchmark::State& state) {
  std::size_t const n = static_cast<std::size_t>(state.range(0));
  std::istringstream in(letters(n) + "\n");
  for (auto _ : state) {
    in.clear();
    in.seekg(0);
    DString const line = DString::lineFrom(in);
    benchmark::DoNotOptimize(line.length());
  }
  state.SetComplexityN(state.range(0));
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void readWord(benchmark::State& state) {
  std::size_t const n = static_cast<std::size_t>(state.range(0));
  std::istringstream in("  " + letters(n) + " tail");
  for (auto _ : state) {
    in.clear();
    in.seekg(0);
    DString word;
    in >> word;
    benchmark::DoNotOptimize(word.length());
  }
  state.SetComplexityN(state.range(0));
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

// The anyString has to absorb almost the whole text, one restart per byte.
void isLikeOneAnyString(benchmark::State& state) {
  std::size_t const n = static_cast<std::size_t>(state.range(0));
  DString const text(std::string_view(std::string(n, 'a') + "ab"));
  DString const pattern("*aaaaaaab");
  for (auto _ : state)
    benchmark::DoNotOptimize(text.isLike(pattern));
  state.SetComplexityN(state.range(0));
}

void appendString(benchmark::State& state) {
  DString const piece(
      std::string_view(letters(static_cast<std::size_t>(state.range(0)))));
  for (auto _ : state) {
    DString s(piece);
    s += piece;
    benchmark::DoNotOptimize(s.length());
  }
  state.SetComplexityN(state.range(0));
}

void growByIndex(benchmark::State& state) {
  unsigned int const n = static_cast<unsigned int>(state.range(0));
  for (auto _ : state) {
    DString s;
    s[n] = 'z';
    benchmark::DoNotOptimize(s.length());
  }
  state.SetComplexityN(state.range(0));
}

} // namespace

BENCHMARK(readLine)->RangeMultiplier(8)->Range(1 << 10, 1 << 20)->Complexity();
BENCHMARK(readWord)->RangeMultiplier(8)->Range(1 << 10, 1 << 20)->Complexity();
BENCHMARK(isLikeOneAnyString)
    ->RangeMultiplier(8)
    ->Range(1 << 10, 1 << 20)
    ->Complexity();
BENCHMARK(appendString)
    ->RangeMultiplier(8)
    ->Range(1 << 10, 1 << 20)
    ->Complexity();
BENCHMARK(growByIndex)
    ->RangeMultiplier(8)
    ->Range(1 << 10, 1 << 20)
    ->Complexity();
