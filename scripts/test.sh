#!/usr/bin/env bash
# Builds the library and runs the whole test suite.
#   scripts/test.sh          normal build in build/
#   scripts/test.sh asan     AddressSanitizer + UndefinedBehaviorSanitizer in build-asan/
#   scripts/test.sh tsan     ThreadSanitizer in build-tsan/, the thread tests only
#   scripts/test.sh release  Release build in build-release/ (no debug information:
#                            the GDB printers read objects by their layout)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
lane=${1:-normal}
werror=OFF
[ "${CI:-}" = "true" ] && werror=ON
case "$lane" in
  normal) dir=build; extra=() ;;
  asan)   dir=build-asan; extra=(-DZYN_SANITIZE=ON -DZYN_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=Debug) ;;
  release) dir=build-release; extra=(-DCMAKE_BUILD_TYPE=Release -DZYN_BUILD_BENCH=OFF) ;;
  tsan)   dir=build-tsan; extra=(-DZYN_TSAN=ON -DZYN_BUILD_BENCH=OFF -DZYN_BUILD_EXAMPLES=OFF -DCMAKE_BUILD_TYPE=Debug) ;;
  *) echo "unknown lane: $lane" >&2; exit 2 ;;
esac
cmake -S . -B "$dir" -G Ninja -DZYN_WERROR="$werror" "${extra[@]}"
if [ "$lane" = tsan ]; then
  # Only the suites whose name contains Thread: the rest of the library is
  # single-threaded by design and the other lanes cover it.
  cmake --build "$dir" --target zyn_tests
  export TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1 second_deadlock_stack=1}
  exec "$dir/tests/zyn_tests" --gtest_filter='*Thread*'
fi
cmake --build "$dir"
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$PWD/tests/lsan.supp}
ctest --test-dir "$dir" --output-on-failure -j2
