#!/usr/bin/env bash
# ctest catalogue.installed: installs the build into a scratch prefix and
# checks that a program finds the installed catalogue with no NLSPATH and
# no "KOVRA MSGFILE", whatever LANG says, and after the prefix is moved;
# that the search still comes first; and that a catalogue named explicitly
# but missing gives the fallback text.
#   installed-catalogue.sh <build dir> <probe> <catalogue source> <gencat>
# The installed catalogue is replaced by one whose message 1010 is marked,
# so a catalogue found anywhere else (a system-wide install, the configured
# prefix) cannot pass for it.
set -euo pipefail
build=$1 probe=$2 source=$3 gencat=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fallback="Unable to load text from message file."
failures=0

cmake --install "$build" --prefix "$work/first" >/dev/null
catalogue=$(find "$work/first" -name zorvanecl.cat)
[ -n "$catalogue" ] || { echo "no catalogue installed" >&2; exit 1; }
sed 's/^1010 "/1010 "[installed] /' "$source" >"$work/marked.msg"
rm -f "$catalogue"
"$gencat" "$catalogue" "$work/marked.msg"
marked=$(sed -n 's/^1010 "\(.*\)"$/\1/p' "$work/marked.msg")
plain=$(sed -n 's/^1010 "\(.*\)"$/\1/p' "$source")

prefix=$work/first
check() { # check <what> <expected text> <env assignments...> [-- probe argument]
  local what=$1 want=$2
  shift 2
  local vars=() args=()
  while [ $# -gt 0 ] && [ "$1" != -- ]; do vars+=("$1"); shift; done
  [ $# -gt 0 ] && { shift; args=("$@"); }
  local lib
  lib=$(dirname "$(find "$prefix" -name libzyncmncoll.so.1)")
  local out
  out=$(env -u NLSPATH -u "KOVRA MSGFILE" -u LANG -u LC_ALL -u LC_MESSAGES \
          -u LANGUAGE LD_LIBRARY_PATH="$lib" "${vars[@]}" \
          "$probe" "${args[@]}" 2>/dev/null) || true
  if [[ "$out" != *"library $lib/"* ]]; then
    echo "FAIL $what: the installed library was not the one loaded: $out"
    failures=$((failures + 1))
  elif [[ "$out" != *"text $want" ]]; then
    echo "FAIL $what: want [$want], got: $out"
    failures=$((failures + 1))
  else
    echo "ok   $what"
  fi
}

check "LANG unset" "$marked"
for lang in C C.UTF-8 en_US.UTF-8 de_DE.UTF-8; do
  check "LANG=$lang" "$marked" LANG=$lang
done
check "KOVRA MSGFILE=zorvanecl.cat (the default name)" "$marked" \
  LANG=en_US.UTF-8 "KOVRA MSGFILE=zorvanecl.cat"
check "NLSPATH finds another catalogue first" "$plain" LANG=en_US.UTF-8 \
  "NLSPATH=$build/catalog/%N"
check "KOVRA MSGFILE names a missing path" "$fallback" LANG=en_US.UTF-8 \
  "KOVRA MSGFILE=/nonexistent/zorvanecl.cat"
check "KOVRA MSGFILE names a missing catalogue" "$fallback" LANG=C \
  "KOVRA MSGFILE=missing.cat"
check "setMessageFile names a missing catalogue" "$fallback" LANG=C \
  -- "$work/none/zorvanecl.cat"
mv "$work/first" "$work/moved"
prefix=$work/moved
check "prefix moved, LANG=en_US.UTF-8" "$marked" LANG=en_US.UTF-8

[ "$failures" -eq 0 ] || { echo "installed catalogue: $failures failed"; exit 1; }
echo "installed catalogue: all passed"
