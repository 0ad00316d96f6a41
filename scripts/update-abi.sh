#!/usr/bin/env bash
# Regenerates the checked-in interface description from a fresh normal
# build: abi/exported-symbols.txt (nm -D, demangled, sorted) and the
# abigail baseline abi/libzyncmncoll.abi. Review the symbol diff before
# committing: only names the public headers declare belong there.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target zyncmncoll
lib=build/libzyncmncoll.so.1
nm -D --defined-only -C "$lib" | cut -c20- | LC_ALL=C sort -u > abi/exported-symbols.txt
abidw --no-corpus-path --headers-dir include/zyncmncoll --drop-private-types \
  --out-file abi/libzyncmncoll.abi "$lib"
echo "abi: $(wc -l < abi/exported-symbols.txt) symbols; baseline abi/libzyncmncoll.abi"
git --no-pager diff --stat -- abi/ || true
