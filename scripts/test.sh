#!/usr/bin/env bash
# Builds the library and runs the whole test suite.
#   scripts/test.sh          normal build in build/
#   scripts/test.sh asan     AddressSanitizer + UndefinedBehaviorSanitizer in build-asan/
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
lane=${1:-normal}
werror=OFF
[ "${CI:-}" = "true" ] && werror=ON
case "$lane" in
  normal) dir=build; extra=() ;;
  asan)   dir=build-asan; extra=(-DZYN_SANITIZE=ON -DZYN_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=Debug) ;;
  *) echo "unknown lane: $lane" >&2; exit 2 ;;
esac
cmake -S . -B "$dir" -G Ninja -DZYN_WERROR="$werror" "${extra[@]}"
cmake --build "$dir"
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$PWD/tests/lsan.supp}
ctest --test-dir "$dir" --output-on-failure -j2
