#!/usr/bin/env bash
# Fails when a tracked C++ file differs from what clang-format makes of it
# with the checked-in .clang-format (written for clang-format 14; a newer
# release may format some constructs differently).
# Usage: scripts/check-format.sh   (fix with: clang-format -i <file>)
set -euo pipefail
cd "$(dirname "$0")/.."
format=${CLANG_FORMAT:-}
if [[ -z $format ]]; then
  for candidate in clang-format-14 clang-format; do
    if command -v "$candidate" >/dev/null; then
      format=$candidate
      break
    fi
  done
fi
if [[ -z $format ]]; then
  echo "check-format: clang-format not installed" >&2
  exit 1
fi
git ls-files -z -- include src tests fuzz bench examples |
  grep -zE '\.(cpp|hpp|h|cc)$' |
  xargs -0 "$format" --dry-run --Werror
echo "check-format: every C++ file matches .clang-format"
