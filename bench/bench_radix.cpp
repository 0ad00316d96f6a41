// Radix conversions: d2c and c2d of 40, 1,000 and 10,000 digits beside GMP
// (mpz_set_str + mpz_export, mpz_import + mpz_get_str), and c2x / x2c of
// 1 MiB beside a plain table-driven loop over a std::string. The pairs
// ("<work>/<size>/ours" and ".../peer", registered at the end) run the
// library with DString::fgI18NState 0, which asks the buffer's isDigits /
// isHexDigits; the runs named "<work>, fgI18NState 1" use the byte scanners.
#include "dstring.hpp"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#if defined(ZYN_HAVE_GMP)
#include <gmp.h>
#endif

namespace {

std::string decimalText(std::size_t n) {
  std::mt19937 random(12345);
  std::string s(n, '0');
  for (char& c : s)
    c = static_cast<char>('0' + random() % 10);
  s[0] = '7';
  return s;
}

std::string randomBytes(std::size_t n) {
  std::mt19937 random(777);
  std::string s(n, '\0');
  for (char& c : s)
    c = static_cast<char>(random());
  return s;
}

// Sets DString::fgI18NState for one benchmark run.
class FlagScope {
public:
  explicit FlagScope(std::int64_t value) : saved(DString::fgI18NState) {
    DString::fgI18NState = static_cast<int>(value);
  }
  ~FlagScope() { DString::fgI18NState = saved; }

private:
  int saved;
};

//===--- Decimal ----------------------------------------------------------===//

void radixD2C(benchmark::State& state, std::int64_t digits,
              std::int64_t flagValue) {
  DString const input(decimalText(static_cast<std::size_t>(digits)).c_str());
  FlagScope const flag(flagValue);
  for (auto _ : state) {
    DString s(input);
    s.d2c();
    benchmark::DoNotOptimize(s.length());
  }
}

void radixC2D(benchmark::State& state, std::int64_t digits,
              std::int64_t flagValue) {
  DString input(decimalText(static_cast<std::size_t>(digits)).c_str());
  input.d2c();
  FlagScope const flag(flagValue);
  for (auto _ : state) {
    DString s(input);
    s.c2d();
    benchmark::DoNotOptimize(s.length());
  }
}

#if defined(ZYN_HAVE_GMP)
void gmpSetStrExport(benchmark::State& state, std::int64_t digits) {
  std::string const input = decimalText(static_cast<std::size_t>(digits));
  mpz_t value;
  mpz_init(value);
  std::vector<unsigned char> out(input.size());
  for (auto _ : state) {
    std::size_t count = 0;
    mpz_set_str(value, input.c_str(), 10);
    mpz_export(out.data(), &count, 1, 1, 1, 0, value);
    benchmark::DoNotOptimize(count);
  }
  mpz_clear(value);
}

void gmpImportGetStr(benchmark::State& state, std::int64_t digits) {
  std::string const input = decimalText(static_cast<std::size_t>(digits));
  mpz_t value;
  mpz_init(value);
  mpz_set_str(value, input.c_str(), 10);
  std::vector<unsigned char> bytes(input.size());
  std::size_t count = 0;
  mpz_export(bytes.data(), &count, 1, 1, 1, 0, value);
  std::vector<char> out(input.size() + 2);
  for (auto _ : state) {
    mpz_import(value, count, 1, 1, 1, 0, bytes.data());
    mpz_get_str(out.data(), 10, value);
    benchmark::DoNotOptimize(out.data());
  }
  mpz_clear(value);
}
#endif

//===--- Hexadecimal ------------------------------------------------------===//

constexpr std::size_t mebibyte = 1 << 20;

void radixC2X(benchmark::State& state, std::int64_t flagValue) {
  std::string const raw = randomBytes(mebibyte);
  DString const input{std::string_view(raw)};
  FlagScope const flag(flagValue);
  for (auto _ : state) {
    DString s(input);
    s.c2x();
    benchmark::DoNotOptimize(s.length());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(mebibyte));
}

void radixX2C(benchmark::State& state, std::int64_t flagValue) {
  std::string const raw = randomBytes(mebibyte);
  DString input{std::string_view(raw)};
  input.c2x();
  FlagScope const flag(flagValue);
  for (auto _ : state) {
    DString s(input);
    s.x2c();
    benchmark::DoNotOptimize(s.length());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(mebibyte));
}

// The comparison loops: one table lookup per byte into a fresh std::string.
void tableHexEncode(benchmark::State& state) {
  static char const digits[] = "0123456789ABCDEF";
  std::string const raw = randomBytes(mebibyte);
  for (auto _ : state) {
    std::string out(2 * raw.size(), '\0');
    for (std::size_t i = 0; i < raw.size(); ++i) {
      unsigned char const b = static_cast<unsigned char>(raw[i]);
      out[2 * i] = digits[b >> 4];
      out[2 * i + 1] = digits[b & 15];
    }
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(mebibyte));
}

void tableHexDecode(benchmark::State& state) {
  unsigned char value[256] = {};
  for (int k = 0; k < 10; ++k)
    value['0' + k] = static_cast<unsigned char>(k);
  for (int k = 0; k < 6; ++k) {
    value['a' + k] = static_cast<unsigned char>(10 + k);
    value['A' + k] = static_cast<unsigned char>(10 + k);
  }
  DString hex{std::string_view(randomBytes(mebibyte))};
  hex.c2x();
  std::string const text(static_cast<std::string_view>(hex));
  for (auto _ : state) {
    std::string out(text.size() / 2, '\0');
    for (std::size_t i = 0; i < out.size(); ++i)
      out[i] = static_cast<char>(
          value[static_cast<unsigned char>(text[2 * i])] * 16 +
          value[static_cast<unsigned char>(text[2 * i + 1])]);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(mebibyte));
}

//===--- Pairs ------------------------------------------------------------===//
// "<work>/<size>/ours" with DString::fgI18NState 0 against the peer; the
// library's runs with fgI18NState 1 are named "<work>, fgI18NState 1/..."
// and have no peer of their own.

int const registered = [] {
  struct Digits {
    std::int64_t count;
    char const* name;
  };
  static Digits const digitCounts[] = {
      {40, "40 digits"}, {1000, "1,000 digits"}, {10000, "10,000 digits"}};
  auto named = [](char const* work, char const* size, char const* side) {
    return std::string(work) + "/" + size + "/" + side;
  };
  for (Digits const& d : digitCounts) {
    benchmark::RegisterBenchmark(named("d2c", d.name, "ours").c_str(), radixD2C,
                                 d.count, 0);
#if defined(ZYN_HAVE_GMP)
    benchmark::RegisterBenchmark(named("d2c", d.name, "peer").c_str(),
                                 gmpSetStrExport, d.count);
#endif
    benchmark::RegisterBenchmark(
        named("d2c, fgI18NState 1", d.name, "ours").c_str(), radixD2C, d.count,
        1);
  }
  for (Digits const& d : digitCounts) {
    benchmark::RegisterBenchmark(named("c2d", d.name, "ours").c_str(), radixC2D,
                                 d.count, 0);
#if defined(ZYN_HAVE_GMP)
    benchmark::RegisterBenchmark(named("c2d", d.name, "peer").c_str(),
                                 gmpImportGetStr, d.count);
#endif
    benchmark::RegisterBenchmark(
        named("c2d, fgI18NState 1", d.name, "ours").c_str(), radixC2D, d.count,
        1);
  }
  benchmark::RegisterBenchmark("c2x/1 MiB/ours", radixC2X, 0);
  benchmark::RegisterBenchmark("c2x/1 MiB/peer", tableHexEncode);
  benchmark::RegisterBenchmark("c2x, fgI18NState 1/1 MiB/ours", radixC2X, 1);
  benchmark::RegisterBenchmark("x2c/1 MiB/ours", radixX2C, 0);
  benchmark::RegisterBenchmark("x2c/1 MiB/peer", tableHexDecode);
  benchmark::RegisterBenchmark("x2c, fgI18NState 1/1 MiB/ours", radixX2C, 1);
  return 0;
}();

} // namespace
