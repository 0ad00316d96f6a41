// Helpers shared by the paired benchmarks. A pair is two benchmarks named
// "<work>/<size>/ours" and "<work>/<size>/peer" (or "peer-<variant>" when
// several peers compete: the report keeps the fastest); bench/report.py
// turns a JSON run into the table of ratios ours / peer.
#ifndef ZYN_BENCH_PAIRS_HPP
#define ZYN_BENCH_PAIRS_HPP

#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace zynbench {

/// The three text sizes of the sized pairs, with their names in the table.
struct TextSize {
  std::size_t bytes;
  char const* name;
};
inline constexpr TextSize textSizes[] = {
    {64, "64 B"}, {4096, "4 KiB"}, {std::size_t(1) << 20, "1 MiB"}};

/// Lower-case words and single blanks, \p size bytes long and ending in
/// \p tail. The words never contain q, x, y, z or '!', so a tail made of
/// those is found only at the end; "ab" occurs about every 20 bytes.
inline std::string prose(std::size_t size, std::string_view tail = {}) {
  static char const* const words[] = {
      "the",   "of",    "and",   "to",    "in",    "is",   "was",
      "it",    "for",   "on",    "at",    "as",    "be",   "lab",
      "cab",   "about", "table", "grab",  "habit", "can",  "stable",
      "ever",  "enter", "end",   "point", "data",  "tab",  "fable",
      "cabin", "label", "sabre", "open",  "line",  "word", "tone"};
  std::string text;
  text.reserve(size + 16);
  std::uint32_t state = 12345;
  while (text.size() < size) {
    state = state * 1103515245u + 12345u;
    text += words[(state >> 16) % (sizeof words / sizeof words[0])];
    text += ' ';
  }
  text.resize(size);
  if (!tail.empty())
    text.replace(size - tail.size(), tail.size(), tail);
  return text;
}

/// Registers "<work>/<size>/<side>" running fn(state, args...).
template <class Fn, class... Args>
benchmark::internal::Benchmark* side(std::string const& work,
                                     std::string const& size, char const* who,
                                     Fn fn, Args... args) {
  std::string const name = work + "/" + size + "/" + who;
  return benchmark::RegisterBenchmark(
      name.c_str(), [=](benchmark::State& state) { fn(state, args...); });
}

/// Registers ours and peer for every text size; both get (state, bytes).
template <class Ours, class Peer>
void sizedPair(std::string const& work, Ours ours, Peer peer) {
  for (TextSize const& size : textSizes) {
    side(work, size.name, "ours", ours, size.bytes);
    side(work, size.name, "peer", peer, size.bytes);
  }
}

inline void bytesProcessed(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(bytes));
}

} // namespace zynbench

#endif
