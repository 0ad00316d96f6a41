#!/usr/bin/env bash
# Builds the HTML API reference from the public headers with doxygen:
#   scripts/docs.sh      -> build/docs/html/index.html
# Fails when a public member has no /// comment (or on any other doxygen
# warning); the warnings are listed on standard error.
set -euo pipefail
cd "$(dirname "$0")/.."
command -v doxygen >/dev/null || scripts/install-deps.sh
mkdir -p build/docs
if ! doxygen Doxyfile; then
  echo "docs: doxygen reported warnings (undocumented public members?)" >&2
  exit 1
fi
echo "docs: build/docs/html/index.html"
