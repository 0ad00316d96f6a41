#!/usr/bin/env bash
# ctest catalogue.installed: installs the build into a scratch prefix with
# message 1010 marked (no other copy passes for it); the consumer must find
# it whatever LANG says and after the prefix moved, NLSPATH must come first,
# and a catalogue named but missing must give the fallback text.
#   installed-catalogue.sh <build dir> <consumer> <catalogue source> <gencat>
set -euo pipefail
build=$1 probe=$2 source=$3 gencat=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/first
cmake --install "$build" --prefix "$prefix" >/dev/null
catalogue=$(find "$prefix" -name zorvanecl.cat)
sed 's/^1010 "/1010 "[installed] /' "$source" >"$work/marked.msg"
rm "$catalogue"
"$gencat" "$catalogue" "$work/marked.msg"
marked=$(sed -n 's/^1010 "\(.*\)"$/\1/p' "$work/marked.msg")
fallback="Unable to load text from message file."
check() { # check <what> <expected text> [VAR=value...]; $arg: probe argument
  local lib out
  lib=$(dirname "$(find "$prefix" -name libzyncmncoll.so.1)")
  out=$(env -u NLSPATH -u "KOVRA MSGFILE" -u LANG -u LC_ALL -u LC_MESSAGES \
    -u LANGUAGE LD_LIBRARY_PATH="$lib" "${@:3}" "$probe" ${arg:+"$arg"} \
    2>/dev/null) || true
  if [[ "$(LD_LIBRARY_PATH="$lib" ldd "$probe")" != *" $lib/libzyncmncoll"* ||
    "$out" != *"text $2" ]]; then
    echo "FAIL $1: want [$2] from $lib, got: $out"
    exit 1
  fi
}

for lang in "" C C.UTF-8 en_US.UTF-8 de_DE.UTF-8; do
  check "LANG=${lang:-(unset)}" "$marked" ${lang:+"LANG=$lang"}
done
check "the default name" "$marked" LANG=en_US.UTF-8 "KOVRA MSGFILE=zorvanecl.cat"
check "NLSPATH first" "${marked#"[installed] "}" LANG=en_US.UTF-8 \
  "NLSPATH=$build/catalog/%N"
check "a missing path" "$fallback" LANG=en_US.UTF-8 "KOVRA MSGFILE=/nonexistent/zorvanecl.cat"
check "a missing catalogue" "$fallback" LANG=C "KOVRA MSGFILE=missing.cat"
arg=$work/none/zorvanecl.cat check "setMessageFile, missing" "$fallback" LANG=C
mv "$prefix" "$work/moved"
prefix=$work/moved
check "prefix moved" "$marked" LANG=en_US.UTF-8
echo "installed catalogue: all passed"
