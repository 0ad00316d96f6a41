#!/usr/bin/env bash
# Installs the Debian packages the build, tests and benchmarks need, when
# any is missing (a machine of this kind has them already).
set -euo pipefail
packages=(cmake ninja-build g++ libgtest-dev libbenchmark-dev libgmp-dev libfmt-dev
          locales libc-bin pkg-config doxygen gdb abigail-tools valgrind clang
          clang-format libclang-rt-14-dev lintian dpkg-dev file)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" ||
    missing+=("$p")
done
# localedef needs the locale sources.
[ -d /usr/share/i18n/locales ] || missing+=(locales)
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${missing[@]}"
fi
