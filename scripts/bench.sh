#!/usr/bin/env bash
# Builds the benchmarks and prints the table of the library against its
# peers: operation, size, our time, the peer's time, the ratio, the target.
#   scripts/bench.sh                  full run (two to three minutes)
#   scripts/bench.sh --quick          one short pass, to see that it works
#   BENCH_FILTER=regex scripts/bench.sh   only the matching benchmarks
# The JSON of the run is left in build/bench/*.json, the console output in
# build/bench/*.log.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target zyn_bench zyn_bench_st $(
  cmake --build build --target help 2>/dev/null | grep -q '^zyn_bench_mb:' &&
    echo zyn_bench_mb)
if [ "${1:-}" = "--quick" ]; then
  args=(--benchmark_min_time=0.001)
else
  # Repetitions in random order; the report keeps each side's median.
  args=(--benchmark_min_time=0.05 --benchmark_repetitions=10
        --benchmark_enable_random_interleaving=true)
fi
filter=${BENCH_FILTER:-/(ours|peer)}
outputs=()
for program in zyn_bench zyn_bench_mb zyn_bench_st; do
  [ -x "build/bench/$program" ] || continue
  out="build/bench/$program.json"
  # The console output and the machine description go to a log beside it.
  if ! "build/bench/$program" "${args[@]}" --benchmark_filter="$filter" \
      --benchmark_out="$out" --benchmark_out_format=json \
      >"build/bench/$program.log" 2>&1; then
    cat "build/bench/$program.log" >&2
    exit 1
  fi
  outputs+=("$out")
done
python3 bench/report.py --median "${outputs[@]}"
