#!/usr/bin/env bash
# Checks the include order of the library's areas:
#   oss <- base <- string <- nls,   string <- datetime
# Each source under src/<area>/ and each public header (by its family) may
# include only headers of its own area and of the areas below it; ddefs.hpp
# is shared by all. A project header this script does not know fails too, so
# a new header gets an area here.
# Usage: scripts/check-layering.sh [source-root]
set -euo pipefail
root="${1:-$(cd "$(dirname "$0")/.." && pwd)}"

# The area a project header belongs to ("" for an unknown one).
area_of() {
  case "$1" in
    ddefs.hpp) echo common ;;
    dbase.hpp | dexcept.hpp | dexctrace.hpp | derrinfo.hpp) echo base ;;
    dbuffer.hpp | dstring.hpp) echo string ;;
    ddbcsb.hpp | dnlsutil.hpp) echo nls ;;
    ddate.hpp | dtime.hpp | dformatter.hpp) echo datetime ;;
    zyncmncoll.hpp) echo umbrella ;;
    base/* | string/* | nls/* | datetime/* | oss/*) echo "${1%%/*}" ;;
    *) echo "" ;;
  esac
}

# The areas a file of area $1 may include.
allowed_for() {
  case "$1" in
    oss) echo "common oss" ;;
    base) echo "common oss base" ;;
    string) echo "common oss base string" ;;
    nls) echo "common oss base string nls" ;;
    datetime) echo "common oss base string datetime" ;;
    umbrella) echo "common oss base string nls datetime" ;;
  esac
}

# Includes of a lower area from a higher one that stay, as file:header.
# dbuffer0.cpp: the buffer factory is the one place that constructs the
# multibyte buffer, chosen by MB_CUR_MAX, and the one place that asks which
# kind a buffer is (string/dbufkind_p.hpp).
exceptions="
src/string/dbuffer0.cpp:ddbcsb.hpp
"

status=0
check_file() { # file area
  local file=$1 area=$2 rel=${1#"$root"/} header target
  while IFS= read -r header; do
    target=$(area_of "$header")
    if [[ -z $target ]]; then
      echo "check-layering: $rel includes unknown project header $header" >&2
      status=1
    elif [[ " $(allowed_for "$area") " != *" $target "* ]] &&
         [[ $exceptions != *"$rel:$header"* ]]; then
      echo "check-layering: $rel ($area) includes $header ($target)" >&2
      status=1
    fi
  done < <(sed -n 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*"\([^"]*\)".*/\1/p' "$file")
}

for area in oss base string nls datetime; do
  for file in "$root"/src/"$area"/*.cpp "$root"/src/"$area"/*.hpp; do
    [[ -e $file ]] && check_file "$file" "$area"
  done
done
for file in "$root"/include/zyncmncoll/*.hpp; do
  area=$(area_of "$(basename "$file")")
  [[ $area == common ]] && area=oss
  if [[ -z $area ]]; then
    echo "check-layering: public header ${file#"$root"/} has no area" >&2
    status=1
    continue
  fi
  check_file "$file" "$area"
done
[[ $status == 0 ]] && echo "check-layering: include order respected"
exit $status
