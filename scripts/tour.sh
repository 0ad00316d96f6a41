#!/usr/bin/env bash
# Builds the library and runs the tour example (examples/tour.cpp).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build -G Ninja
cmake --build build --target example_tour
NLSPATH="$PWD/build/catalog/%N" build/examples/example_tour
