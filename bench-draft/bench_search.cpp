// Searching, matching, editing and comparing single-byte text: DString
// against the C library and std::string_view doing the same work.
#include <benchmark/benchmark.h>

#include <fnmatch.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <string_view>

#include "dstring.hpp"

namespace {

// Text of the given size made of lower-case letters, with a pattern of
// "needle" planted only at the very end.
std::string filler(std::size_t size, std::string_view tail) {
  std::string text(size, ' ');
  for (std::size_t i = 0; i < size; ++i)
    text[i] = static_cast<char>('a' + (i * 7 + i / 13) % 23); // no x, y, z
  if (!tail.empty())
    text.replace(size - tail.size(), tail.size(), tail);
  return text;
}

constexpr std::int64_t sizes[] = {64, 4096, 1 << 20};

template <class Fn>
void registerPair(char const* work, Fn ours, Fn peer) {
  for (std::int64_t size : sizes) {
    std::string const base = std::string(work) + "/" + std::to_string(size);
    benchmark::RegisterBenchmark((base + "/ours").c_str(), ours)->Arg(size);
    benchmark::RegisterBenchmark((base + "/peer").c_str(), peer)->Arg(size);
  }
}

void bytesProcessed(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

using Bench = void (*)(benchmark::State&);

int const registered = [] {
  registerPair<Bench>(
      "find 1 byte",
      [](benchmark::State& state) {
        DString const text{std::string_view(filler(state.range(0), "x"))};
        for (auto _ : state)
          benchmark::DoNotOptimize(text.indexOf('x'));
        bytesProcessed(state);
      },
      [](benchmark::State& state) {
        std::string const text = filler(state.range(0), "x");
        for (auto _ : state)
          benchmark::DoNotOptimize(std::memchr(text.data(), 'x', text.size()));
        bytesProcessed(state);
      });
  registerPair<Bench>(
      "find 8 bytes",
      [](benchmark::State& state) {
        DString const text{std::string_view(filler(state.range(0), "xyzxyzab"))};
        for (auto _ : state)
          benchmark::DoNotOptimize(text.indexOf("xyzxyzab", 8, 1));
        bytesProcessed(state);
      },
      [](benchmark::State& state) {
        std::string const text = filler(state.range(0), "xyzxyzab");
        // The faster of memmem and std::string_view::find.
        auto const mm = [&] {
          return memmem(text.data(), text.size(), "xyzxyzab", 8);
        };
        auto const sv = [&] {
          return std::string_view(text).find("xyzxyzab", 0, 8);
        };
        auto time = [](auto fn) {
          auto start = std::chrono::steady_clock::now();
          for (int i = 0; i < 64; ++i)
            benchmark::DoNotOptimize(fn());
          return std::chrono::steady_clock::now() - start;
        };
        bool const useMemmem = time(mm) <= time(sv);
        for (auto _ : state) {
          if (useMemmem)
            benchmark::DoNotOptimize(mm());
          else
            benchmark::DoNotOptimize(sv());
        }
        bytesProcessed(state);
      });
  registerPair<Bench>(
      "find last 8 bytes",
      [](benchmark::State& state) {
        std::string raw = filler(state.range(0), "");
        raw.replace(0, 8, "xyzxyzab");
        DString const text{std::string_view(raw)};
        for (auto _ : state)
          benchmark::DoNotOptimize(text.lastIndexOf("xyzxyzab", 8, 0xFFFFFFFFu));
        bytesProcessed(state);
      },
      [](benchmark::State& state) {
        std::string raw = filler(state.range(0), "");
        raw.replace(0, 8, "xyzxyzab");
        for (auto _ : state)
          benchmark::DoNotOptimize(std::string_view(raw).rfind("xyzxyzab"));
        bytesProcessed(state);
      });
  registerPair<Bench>(
      "first of 4-byte set",
      [](benchmark::State& state) {
        DString const text{std::string_view(filler(state.range(0), "z"))};
        for (auto _ : state)
          benchmark::DoNotOptimize(text.indexOfAnyOf("xyz!", 4, 1));
        bytesProcessed(state);
      },
      [](benchmark::State& state) {
        std::string const text = filler(state.range(0), "z");
        for (auto _ : state)
          benchmark::DoNotOptimize(
              std::string_view(text).find_first_of("xyz!", 0, 4));
        bytesProcessed(state);
      });
  registerPair<Bench>(
      "replace ab by xyz",
      [](benchmark::State& state) {
        DString const text{std::string_view(filler(state.range(0), "ab"))};
        for (auto _ : state) {
          DString copy(text);
          copy.change("ab", 2, "xyz", 3);
          benchmark::DoNotOptimize(copy);
        }
        bytesProcessed(state);
      },
      [](benchmark::State& state) {
        std::string const text = filler(state.range(0), "ab");
        for (auto _ : state) {
          std::string out;
          std::size_t from = 0;
          for (std::size_t hit; (hit = text.find("ab", from)) != std::string::npos;
               from = hit + 2)
            out.append(text, from, hit - from).append("xyz");
          out.append(text, from, std::string::npos);
          benchmark::DoNotOptimize(out);
        }
        bytesProcessed(state);
      });
  registerPair<Bench>(
      "upper-case unshared",
      // Both sides copy the mixed-case text into a private buffer and raise
      // it there: the library in place (its count is 1), the peer with a
      // table-driven loop.
      [](benchmark::State& state) {
        std::string const raw = filler(state.range(0), "");
        for (auto _ : state) {
          DString text{std::string_view(raw)};
          text.upperCase();
          benchmark::DoNotOptimize(text);
        }
        bytesProcessed(state);
      },
      [](benchmark::State& state) {
        std::string const raw = filler(state.range(0), "");
        unsigned char upper[256];
        for (int c = 0; c < 256; ++c)
          upper[c] = static_cast<unsigned char>(c >= 'a' && c <= 'z' ? c - 32 : c);
        for (auto _ : state) {
          std::string text(raw);
          for (char& c : text)
            c = static_cast<char>(upper[static_cast<unsigned char>(c)]);
          benchmark::DoNotOptimize(text);
        }
        bytesProcessed(state);
      });
  registerPair<Bench>(
      "compare equal",
      [](benchmark::State& state) {
        DString const a{std::string_view(filler(state.range(0), ""))};
        DString const b{std::string_view(filler(state.range(0), ""))};
        for (auto _ : state)
          benchmark::DoNotOptimize(a == b);
        bytesProcessed(state);
      },
      [](benchmark::State& state) {
        std::string const a = filler(state.range(0), "");
        std::string const b = filler(state.range(0), "");
        for (auto _ : state)
          benchmark::DoNotOptimize(std::memcmp(a.data(), b.data(), a.size()) == 0);
        bytesProcessed(state);
      });
  return 0;
}();

void isLikeOurs(benchmark::State& state) {
  DString const text{std::string_view(std::string(10000, 'a'))};
  for (auto _ : state)
    benchmark::DoNotOptimize(text.isLike("a*a*a*a*a*a*a*b", 15, '*', '?'));
}
BENCHMARK(isLikeOurs)->Name("isLike a*..*b/10000/ours");

void isLikePeer(benchmark::State& state) {
  std::string const text(10000, 'a');
  for (auto _ : state)
    benchmark::DoNotOptimize(fnmatch("a*a*a*a*a*a*a*b", text.c_str(), 0));
}
BENCHMARK(isLikePeer)->Name("isLike a*..*b/10000/peer");

} // namespace
