#!/usr/bin/env bash
# Installs the library from build/ into a scratch prefix and builds a small
# consumer (tests/consumer/) against it twice: with pkg-config and with the
# CMake package. Both must run and read their exception text from the
# installed catalogue (pkg-config variable msgfile, and unnamed in a UTF-8
# locale). When gdb is present, the installed auto-load file must bring up
# the pretty-printers.
#   scripts/consumer-check.sh [prefix]      (default /tmp/zyn-install)
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
prefix=${1:-/tmp/zyn-install}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

[ -f build/build.ninja ] || cmake -S . -B build -G Ninja
cmake --build build
rm -rf "$prefix"
cmake --install build --prefix "$prefix" >/dev/null

libdir=$(dirname "$(find "$prefix" -name 'libzyncmncoll.so.1' | head -n1)")
export PKG_CONFIG_PATH=$libdir/pkgconfig
msgfile=$(pkg-config --variable=msgfile zyncmncoll)
[ -f "$msgfile" ] || { echo "consumer: msgfile $msgfile missing" >&2; exit 1; }
run() { env LD_LIBRARY_PATH="$libdir" "KOVRA MSGFILE=$msgfile" "$@"; }

# 1. pkg-config.
# shellcheck disable=SC2046
g++ -std=c++17 -o "$work/consumer-pc" tests/consumer/consumer.cpp \
  $(pkg-config --cflags --libs zyncmncoll)
run "$work/consumer-pc" 2>/dev/null
# Without the variable, in a locale the C library's search would put in
# the path, the library finds the catalogue its installation put in place.
env -u "KOVRA MSGFILE" -u NLSPATH -u LC_ALL LANG=en_US.UTF-8 \
  LD_LIBRARY_PATH="$libdir" "$work/consumer-pc" 2>/dev/null
echo "consumer: pkg-config build ran"

# 2. find_package(zyncmncoll CONFIG) -> zyncmncoll::zyncmncoll.
cmake -S tests/consumer -B "$work/cmake" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
run "$work/cmake/consumer" 2>/dev/null
echo "consumer: find_package build ran"

# 3. The installed GDB auto-load file registers the printers.
autoload=$(find "$prefix/share/gdb/auto-load" -name 'libzyncmncoll.so.*-gdb.py' | head -n1)
[ -n "$autoload" ] || { echo "consumer: no gdb auto-load file" >&2; exit 1; }
if command -v gdb >/dev/null; then
  shown=$(run gdb -nx -batch \
    -iex "set auto-load scripts-directory $prefix/share/gdb/auto-load" \
    -iex "set auto-load safe-path /" \
    -ex "break consumerStop" -ex run -ex "print s" -ex kill \
    "$work/cmake/consumer" 2>&1 || true)
  if ! grep -q '= "INSTALLED" (len=9, refs=1, DBuffer)' <<<"$shown"; then
    echo "consumer: gdb did not pretty-print through the auto-load file:" >&2
    echo "$shown" >&2
    exit 1
  fi
  echo "consumer: gdb auto-loaded the printers"
else
  echo "consumer: gdb not installed, auto-load check skipped"
fi
echo "consumer: 3 passed, 0 failed"
