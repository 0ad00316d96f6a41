#!/usr/bin/env bash
# Compares a built libzyncmncoll with the checked-in interface:
#   1. abi/exported-symbols.txt: every exported symbol (demangled, sorted).
#      A symbol missing from the library breaks callers; an extra one is an
#      internal helper that leaked (or a new interface: then regenerate).
#   2. abi/libzyncmncoll.abi: the abidw baseline of types, layouts and
#      virtual tables; abidiff reports any change of them.
# Usage: scripts/abi-check.sh path/to/libzyncmncoll.so.1
# Regenerate both files with scripts/update-abi.sh after a deliberate change.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
lib=${1:-$root/build/libzyncmncoll.so.1}
status=0
tmp=$(mktemp)
trap 'rm -f "$tmp"' EXIT
nm -D --defined-only -C "$lib" | cut -c20- | LC_ALL=C sort -u > "$tmp"
if ! diff -u "$root/abi/exported-symbols.txt" "$tmp"; then
  echo "abi-check: exported symbols differ from abi/exported-symbols.txt" \
       "(- missing from the library, + not in the list)" >&2
  status=1
fi
if command -v abidiff >/dev/null; then
  if ! abidiff --no-added-syms --headers-dir2 "$root/include/zyncmncoll" \
         "$root/abi/libzyncmncoll.abi" "$lib"; then
    echo "abi-check: abidiff found a change of types, layouts or vtables" >&2
    status=1
  fi
else
  echo "abi-check: abidiff not installed (apt-get install abigail-tools)" >&2
  status=1
fi
[ $status -eq 0 ] && echo "abi-check: interface unchanged"
exit $status
