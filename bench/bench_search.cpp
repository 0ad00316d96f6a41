// Searching, matching, editing and comparing single-byte text: DString
// against the C library, std::string_view and plain std::string loops doing
// the same work on the same bytes. Texts are lower-case words and blanks
// (zynbench::prose) of 64 B, 4 KiB and 1 MiB.
#include "bench_pairs.hpp"

#include "dstring.hpp"

#include <benchmark/benchmark.h>
#include <cstring>
#include <fnmatch.h>
#include <string.h> // memmem
#include <string>
#include <string_view>

namespace {

using zynbench::bytesProcessed;
using zynbench::prose;
using zynbench::side;
using zynbench::sizedPair;

// A word that never occurs in the text though its pieces do ("end",
// "point"), so the searches meet many partial matches.
constexpr char needle[] = "endpoint";

int const registered = [] {
  sizedPair(
      "find 1 byte at the end",
      [](benchmark::State& state, std::size_t n) {
        DString const text{std::string_view(prose(n, "x"))};
        for (auto _ : state)
          benchmark::DoNotOptimize(text.indexOf('x'));
        bytesProcessed(state, n);
      },
      [](benchmark::State& state, std::size_t n) {
        std::string const text = prose(n, "x");
        for (auto _ : state)
          benchmark::DoNotOptimize(std::memchr(text.data(), 'x', text.size()));
        bytesProcessed(state, n);
      });

  // Two peers for the 8-byte search; the report keeps the faster.
  for (zynbench::TextSize const& size : zynbench::textSizes) {
    std::string const work = "find 8 bytes";
    side(
        work, size.name, "ours",
        [](benchmark::State& state, std::size_t n) {
          DString const text{std::string_view(prose(n, needle))};
          for (auto _ : state)
            benchmark::DoNotOptimize(text.indexOf(needle, 8, 1));
          bytesProcessed(state, n);
        },
        size.bytes);
    side(
        work, size.name, "peer-memmem",
        [](benchmark::State& state, std::size_t n) {
          std::string const text = prose(n, needle);
          for (auto _ : state)
            benchmark::DoNotOptimize(
                memmem(text.data(), text.size(), needle, 8));
          bytesProcessed(state, n);
        },
        size.bytes);
    side(
        work, size.name, "peer-find",
        [](benchmark::State& state, std::size_t n) {
          std::string const text = prose(n, needle);
          for (auto _ : state)
            benchmark::DoNotOptimize(std::string_view(text).find(needle, 0, 8));
          bytesProcessed(state, n);
        },
        size.bytes);
  }

  // The only occurrence is at the very front: both scan the whole text.
  auto const frontNeedle = [](std::size_t n) {
    std::string raw = prose(n);
    raw.replace(0, 8, needle);
    return raw;
  };
  sizedPair(
      "find last 8 bytes",
      [frontNeedle](benchmark::State& state, std::size_t n) {
        DString const text{std::string_view(frontNeedle(n))};
        for (auto _ : state)
          benchmark::DoNotOptimize(text.lastIndexOf(needle, 8, 0xFFFFFFFFu));
        bytesProcessed(state, n);
      },
      [frontNeedle](benchmark::State& state, std::size_t n) {
        std::string const raw = frontNeedle(n);
        for (auto _ : state)
          benchmark::DoNotOptimize(
              std::string_view(raw).rfind(needle, std::string_view::npos, 8));
        bytesProcessed(state, n);
      });

  sizedPair(
      "first of a 4-byte set",
      [](benchmark::State& state, std::size_t n) {
        DString const text{std::string_view(prose(n, "z"))};
        for (auto _ : state)
          benchmark::DoNotOptimize(text.indexOfAnyOf("xyz!", 4, 1));
        bytesProcessed(state, n);
      },
      [](benchmark::State& state, std::size_t n) {
        std::string const text = prose(n, "z");
        for (auto _ : state)
          benchmark::DoNotOptimize(
              std::string_view(text).find_first_of("xyz!", 0, 4));
        bytesProcessed(state, n);
      });

  // "ab" occurs about every 20 bytes. The library changes a shared copy,
  // so it makes the new buffer; the peer builds a new std::string.
  sizedPair(
      "replace ab by xyz",
      [](benchmark::State& state, std::size_t n) {
        DString const text{std::string_view(prose(n))};
        for (auto _ : state) {
          DString copy(text);
          copy.change("ab", 2, "xyz", 3);
          benchmark::DoNotOptimize(copy);
        }
        bytesProcessed(state, n);
      },
      [](benchmark::State& state, std::size_t n) {
        std::string const text = prose(n);
        for (auto _ : state) {
          std::string out;
          std::size_t from = 0;
          for (std::size_t hit;
               (hit = text.find("ab", from)) != std::string::npos;
               from = hit + 2)
            out.append(text, from, hit - from).append("xyz");
          out.append(text, from, std::string::npos);
          benchmark::DoNotOptimize(out);
        }
        bytesProcessed(state, n);
      });

  // Both sides copy the text into a private buffer and raise it there: the
  // library in place (its count is 1), the peer with a table-driven loop.
  sizedPair(
      "upper-case, unshared",
      [](benchmark::State& state, std::size_t n) {
        std::string const raw = prose(n);
        for (auto _ : state) {
          DString text{std::string_view(raw)};
          text.upperCase();
          benchmark::DoNotOptimize(text);
        }
        bytesProcessed(state, n);
      },
      [](benchmark::State& state, std::size_t n) {
        std::string const raw = prose(n);
        unsigned char upper[256];
        for (int c = 0; c < 256; ++c)
          upper[c] =
              static_cast<unsigned char>(c >= 'a' && c <= 'z' ? c - 32 : c);
        for (auto _ : state) {
          std::string text(raw);
          for (char& c : text)
            c = static_cast<char>(upper[static_cast<unsigned char>(c)]);
          benchmark::DoNotOptimize(text);
        }
        bytesProcessed(state, n);
      });

  // Two buffers with equal texts (not one shared buffer).
  sizedPair(
      "compare equal texts",
      [](benchmark::State& state, std::size_t n) {
        DString const a{std::string_view(prose(n))};
        DString const b{std::string_view(prose(n))};
        for (auto _ : state)
          benchmark::DoNotOptimize(a == b);
        bytesProcessed(state, n);
      },
      [](benchmark::State& state, std::size_t n) {
        std::string const a = prose(n);
        std::string const b = prose(n);
        for (auto _ : state)
          benchmark::DoNotOptimize(a.size() == b.size() &&
                                   std::memcmp(a.data(), b.data(), a.size()) ==
                                       0);
        bytesProcessed(state, n);
      });
  return 0;
}();

// Seven anyStrings before a b that is not there: a backtracking matcher
// would try every split of the text between them.
constexpr char likePattern[] = "a*a*a*a*a*a*a*b";

void isLikeOurs(benchmark::State& state) {
  DString const text{std::string_view(std::string(10000, 'a'))};
  for (auto _ : state)
    benchmark::DoNotOptimize(text.isLike(likePattern, 15, '*', '?'));
}

void isLikePeer(benchmark::State& state) {
  std::string const text(10000, 'a');
  for (auto _ : state)
    benchmark::DoNotOptimize(fnmatch(likePattern, text.c_str(), 0));
}

} // namespace

BENCHMARK(isLikeOurs)->Name("isLike a*a*a*a*a*a*a*b/10,000 a/ours");
BENCHMARK(isLikePeer)->Name("isLike a*a*a*a*a*a*a*b/10,000 a/peer");
