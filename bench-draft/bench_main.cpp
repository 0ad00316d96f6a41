// Entry point of the benchmark suite. Benchmarks come in pairs named
// "<work>/<size>/ours" and "<work>/<size>/peer"; bench/report.py turns a
// JSON run into the table of ratios.
#include <benchmark/benchmark.h>

BENCHMARK_MAIN();
