#!/usr/bin/env bash
# Runs the unit tests under valgrind memcheck: any invalid access and any
# definitely lost block fails the run. Uses the normal build in build/.
#   scripts/valgrind.sh          C-locale suites, then the multibyte suites
#                                in the UTF-8 locale
#   scripts/valgrind.sh C        C-locale suites only
# tests/valgrind.supp holds the one leak the library keeps on purpose.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
command -v valgrind >/dev/null || { echo "valgrind is not installed" >&2; exit 2; }
which=${1:-all}
dir=build
werror=OFF
[ "${CI:-}" = "true" ] && werror=ON
cmake -S . -B "$dir" -G Ninja -DZYN_WERROR="$werror" >/dev/null
cmake --build "$dir" --target zyn_tests zyn_locales
# Tests that run out of memory on purpose skip themselves here: they fail
# allocations in the test program's own operators
# (tests/support/dtest_alloc.cpp), which valgrind replaces with its own;
# tests that start the program afresh run it natively.
# glibc's AVX2 wide-string routines read whole vectors past short arrays,
# which memcheck reports; the baseline routines are exact.
export GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2_Usable,-AVX2,-EVEX,-AVX512F_Usable,-AVX512F
memcheck=(valgrind --tool=memcheck --leak-check=full --show-leak-kinds=definite
          --errors-for-leak-kinds=definite --error-exitcode=1 --track-origins=no
          --suppressions="$PWD/tests/valgrind.supp" --quiet)
catalog="KOVRA MSGFILE=$PWD/$dir/catalog/zorvanecl.cat"
echo "== memcheck, C locale"
env "$catalog" ZYN_TEST_LOCALE=C "${memcheck[@]}" "$dir/tests/zyn_tests" \
  --gtest_brief=1 --gtest_filter="-Mb*"
if [ "$which" = all ]; then
  echo "== memcheck, en_US.UTF-8"
  env "$catalog" ZYN_TEST_LOCALE=en_US.UTF-8 LOCPATH="$PWD/$dir/locales" \
    "${memcheck[@]}" "$dir/tests/zyn_tests" --gtest_brief=1 --gtest_filter="Mb*"
fi
echo "valgrind: no errors, no definite leaks"
