#!/usr/bin/env bash
# Builds a small consumer (tests/consumer/) against the library in each way
# a project can use it:
#   1. an installed copy through pkg-config,
#   2. an installed copy through the CMake package (find_package),
#   3. the installed GDB auto-load file brings up the pretty-printers
#      (when gdb is present),
#   4. the source tree through FetchContent (add_subdirectory), which must
#      build only the libraries.
# Each consumer must run and read its exception text from the catalogue.
#   scripts/consumer-check.sh [prefix]    installs build/ into prefix
#                                         (default /tmp/zyn-install), all four
#   scripts/consumer-check.sh --installed DIR
#                                         1-3 against files already unpacked
#                                         under DIR (a /usr tree inside a
#                                         scratch root: scripts/package.sh)
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
passed=0

if [ "${1:-}" = "--installed" ]; then
  prefix=$(cd "$2" && pwd)
  installed_only=1
else
  prefix=${1:-/tmp/zyn-install}
  installed_only=0
  [ -f build/build.ninja ] || cmake -S . -B build -G Ninja
  cmake --build build
  rm -rf "$prefix"
  cmake --install build --prefix "$prefix" >/dev/null
fi

libdir=$(dirname "$(find "$prefix" -name 'libzyncmncoll.so.1' | head -n1)")
pcdir=$(dirname "$(find "$prefix" -name 'zyncmncoll.pc' | head -n1)")
# The .pc file names the prefix it was installed for; when the tree was
# unpacked elsewhere, pkg-config maps its paths into the tree (sysroot).
recorded=$(PKG_CONFIG_PATH=$pcdir pkg-config --variable=prefix zyncmncoll)
sysroot=${prefix%"$recorded"}
[ "$sysroot" = "$prefix" ] && sysroot=
pc() { env PKG_CONFIG_PATH="$pcdir" PKG_CONFIG_SYSROOT_DIR="$sysroot" pkg-config "$@"; }
msgfile=$(pc --variable=msgfile zyncmncoll)
# pkgconf maps variables into the sysroot as well; pkg-config does not.
[ -z "$sysroot" ] || [[ $msgfile == "$sysroot"/* ]] || msgfile=$sysroot$msgfile
[ -f "$msgfile" ] || { echo "consumer: msgfile $msgfile missing" >&2; exit 1; }
run() { env LD_LIBRARY_PATH="$libdir" "KOVRA MSGFILE=$msgfile" "$@"; }

# 1. pkg-config.
# shellcheck disable=SC2046
g++ -std=c++17 -o "$work/consumer-pc" tests/consumer/consumer.cpp \
  $(pc --cflags --libs zyncmncoll)
run "$work/consumer-pc" 2>/dev/null
# Without the variable, in a locale the C library's search would put in
# the path, the library finds the catalogue its installation put in place.
env -u "KOVRA MSGFILE" -u NLSPATH -u LC_ALL LANG=en_US.UTF-8 \
  LD_LIBRARY_PATH="$libdir" "$work/consumer-pc" 2>/dev/null
echo "consumer: pkg-config build ran"
passed=$((passed + 1))

# 2. find_package(zyncmncoll CONFIG) -> zyncmncoll::zyncmncoll.
cmake -S tests/consumer -B "$work/cmake" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
run "$work/cmake/consumer" 2>/dev/null
echo "consumer: find_package build ran"
passed=$((passed + 1))

# 3. The installed GDB auto-load file registers the printers.
autoload=$(find "$prefix/share/gdb/auto-load" -name 'libzyncmncoll.so.*-gdb.py' | head -n1)
[ -n "$autoload" ] || { echo "consumer: no gdb auto-load file" >&2; exit 1; }
if command -v gdb >/dev/null; then
  # GDB looks for the file under the library's real path; for a tree
  # unpacked below a scratch root that is mirrored in a directory of its own.
  scripts=$prefix/share/gdb/auto-load
  if [ -n "$sysroot" ]; then
    scripts=$work/auto-load
    real=$(realpath "$libdir")
    mkdir -p "$scripts$real"
    ln -s "$autoload" "$scripts$real/$(basename "$autoload")"
  fi
  shown=$(run gdb -nx -batch \
    -iex "set auto-load scripts-directory $scripts" \
    -iex "set auto-load safe-path /" \
    -ex "break consumerStop" -ex run -ex "print s" -ex kill \
    "$work/cmake/consumer" 2>&1 || true)
  if ! grep -q '= "INSTALLED" (len=9, refs=1, DBuffer)' <<<"$shown"; then
    echo "consumer: gdb did not pretty-print through the auto-load file:" >&2
    echo "$shown" >&2
    exit 1
  fi
  echo "consumer: gdb auto-loaded the printers"
  passed=$((passed + 1))
else
  echo "consumer: gdb not installed, auto-load check skipped"
fi

# 4. The source tree inside another project.
if [ "$installed_only" = 0 ]; then
  sub=$work/fetchcontent
  cmake -S tests/consumer -B "$sub" -G Ninja -DZYN_SOURCE_DIR="$root" >/dev/null
  cmake --build "$sub" >/dev/null
  # Only the two libraries, the catalogue and the consumer were built.
  extra=$(find "$sub" -type f -executable \( -name 'zyn_*' -o -name 'example_*' \
    -o -name 'fuzz_*' \) | head -n3)
  [ -z "$extra" ] || { echo "consumer: FetchContent built $extra" >&2; exit 1; }
  env "KOVRA MSGFILE=$(cat "$sub/catalog-path.txt")" "$sub/consumer" 2>/dev/null
  echo "consumer: FetchContent build ran"
  passed=$((passed + 1))
fi
echo "consumer: $passed passed, 0 failed"
