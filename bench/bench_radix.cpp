// Radix conversions: d2c and c2d of 40, 1,000 and 10,000 digits beside GMP
// (mpz_set_str + mpz_export, mpz_import + mpz_get_str), and c2x / x2c of
// 1 MiB beside a plain table-driven loop over a std::string. The second
// argument of the library's benchmarks is DString::fgI18NState: 0 asks the
// buffer's isDigits / isHexDigits, 1 the byte scanners.
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

void digitsArgs(benchmark::internal::Benchmark* b) {
  b->Arg(40)->Arg(1000)->Arg(10000);
}

void digitsAndFlagArgs(benchmark::internal::Benchmark* b) {
  b->ArgsProduct({{40, 1000, 10000}, {0, 1}});
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

void radixD2C(benchmark::State& state) {
  DString const input(
      decimalText(static_cast<std::size_t>(state.range(0))).c_str());
  FlagScope const flag(state.range(1));
  for (auto _ : state) {
    DString s(input);
    s.d2c();
    benchmark::DoNotOptimize(s.length());
  }
}
BENCHMARK(radixD2C)->Apply(digitsAndFlagArgs);

void radixC2D(benchmark::State& state) {
  DString input(decimalText(static_cast<std::size_t>(state.range(0))).c_str());
  input.d2c();
  FlagScope const flag(state.range(1));
  for (auto _ : state) {
    DString s(input);
    s.c2d();
    benchmark::DoNotOptimize(s.length());
  }
}
BENCHMARK(radixC2D)->Apply(digitsAndFlagArgs);

#if defined(ZYN_HAVE_GMP)
void gmpSetStrExport(benchmark::State& state) {
  std::string const input =
      decimalText(static_cast<std::size_t>(state.range(0)));
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
BENCHMARK(gmpSetStrExport)->Apply(digitsArgs);

void gmpImportGetStr(benchmark::State& state) {
  std::string const input =
      decimalText(static_cast<std::size_t>(state.range(0)));
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
BENCHMARK(gmpImportGetStr)->Apply(digitsArgs);
#endif

//===--- Hexadecimal ------------------------------------------------------===//

constexpr std::size_t mebibyte = 1 << 20;

void radixC2X(benchmark::State& state) {
  std::string const raw = randomBytes(mebibyte);
  DString const input{std::string_view(raw)};
  FlagScope const flag(state.range(0));
  for (auto _ : state) {
    DString s(input);
    s.c2x();
    benchmark::DoNotOptimize(s.length());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(mebibyte));
}
BENCHMARK(radixC2X)->Arg(0)->Arg(1);

void radixX2C(benchmark::State& state) {
  std::string const raw = randomBytes(mebibyte);
  DString input{std::string_view(raw)};
  input.c2x();
  FlagScope const flag(state.range(0));
  for (auto _ : state) {
    DString s(input);
    s.x2c();
    benchmark::DoNotOptimize(s.length());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(mebibyte));
}
BENCHMARK(radixX2C)->Arg(0)->Arg(1);

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
BENCHMARK(tableHexEncode);

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
BENCHMARK(tableHexDecode);

} // namespace
