#!/usr/bin/env bash
# Builds the libFuzzer targets with clang in build-fuzz/ and runs each one
# for a bounded time, starting from its checked-in seed corpus.
#   scripts/fuzz.sh [seconds]     seconds per target (default 60)
# New inputs that add coverage go to build-fuzz/corpus/<name>/ (not checked
# in); a crash or mismatch leaves its input in build-fuzz/artifacts/ and
# fails the script. The multibyte target runs once per multibyte locale.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
dir=build-fuzz
CC=clang CXX=clang++ cmake -S . -B "$dir" -G Ninja -DZYN_FUZZ=ON \
  -DZYN_BUILD_TESTS=OFF -DZYN_BUILD_BENCH=OFF -DZYN_BUILD_EXAMPLES=OFF \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$dir" -j2
mkdir -p "$dir/artifacts" "$dir/locales"
# The multibyte locales, built as the test suite builds them.
for entry in en_US.UTF-8:en_US:UTF-8 ja_JP.eucJP:ja_JP:EUC-JP zh_CN.gb18030:zh_CN:GB18030; do
  IFS=: read -r name source charmap <<< "$entry"
  [ -f "$dir/locales/$name/LC_CTYPE" ] ||
    localedef -i "$source" -f "$charmap" "$dir/locales/$name" >/dev/null 2>&1 || true
done
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$PWD/tests/lsan.supp}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
# The catalogue's variable name has a blank, so it is passed through env.
catalog="KOVRA MSGFILE=$PWD/$dir/catalog/zorvanecl.cat"

run() { # run <target> <corpus-name> [env...]
  local target=$1 name=$2
  shift 2
  local work="$dir/corpus/$name" status=0
  mkdir -p "$work"
  echo "== $name: $seconds s"
  env "$catalog" "$@" "$dir/fuzz/$target" -max_total_time="$seconds" -timeout=20 \
    -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$dir/artifacts/$name-" "$work" "fuzz/corpus/${target#fuzz_}" \
    2>&1 | tee "$dir/$name.log" |
    { grep -E '^(stat::|#[0-9]+ +DONE|==|SUMMARY|mismatch)' || true; } || status=$?
  # (pipefail: the pipeline fails exactly when the fuzzer did)
  [ "$status" -eq 0 ] || { echo "fuzz target $name failed; see $dir/$name.log"; exit 1; }
}

for target in "$dir"/fuzz/fuzz_*; do
  t=$(basename "$target")
  case "$t" in
    fuzz_mb)
      # The locale is chosen before any string exists (LLVMFuzzerInitialize).
      for loc in en_US.UTF-8 ja_JP.eucJP zh_CN.gb18030; do
        run "$t" "mb-$loc" "ZYN_FUZZ_LOCALE=$loc" "LOCPATH=$PWD/$dir/locales"
      done ;;
    *) run "$t" "${t#fuzz_}" ;;
  esac
done
