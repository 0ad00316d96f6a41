#!/usr/bin/env bash
# Builds the Debian packages libzyncmncoll1 and libzyncmncoll-dev with CPack
# in build-package/ (prefix /usr, Debian's build flags, stripped libraries)
# and checks them:
#   1. their file lists: each file in the package it belongs to;
#   2. lintian, when installed (errors and warnings fail the check);
#   3. both unpacked into a scratch root (dpkg -x), a consumer built against
#      that root with pkg-config and with the CMake package, run there, and
#      the packaged GDB printers shown on it (the library is stripped, so
#      they read the objects by their layout).
#   scripts/package.sh [--no-check]      packages in build-package/packages/
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
scripts/install-deps.sh
dir=build-package
werror=OFF
[ "${CI:-}" = "true" ] && werror=ON
# Built as Debian builds its packages: the compiler and linker flags of
# dpkg-buildflags with every hardening feature, build type None.
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
CXXFLAGS="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS)"
LDFLAGS=$(dpkg-buildflags --get LDFLAGS)
export CXXFLAGS LDFLAGS
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=None -DCMAKE_INSTALL_PREFIX=/usr \
  -DZYN_WERROR="$werror" -DZYN_BUILD_TESTS=OFF -DZYN_BUILD_BENCH=OFF \
  -DZYN_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$dir"
rm -rf "$dir/packages"
(cd "$dir" && cpack -G DEB >/dev/null)
# CPack adds postinst/postrm scripts that run ldconfig to any package with a
# library under /usr/lib; the package has the ldconfig trigger instead
# (cmake/debian/triggers), so the scripts are taken out of it again.
for deb in "$dir"/packages/*.deb; do
  unpacked=$(mktemp -d)
  dpkg-deb -R "$deb" "$unpacked"
  if [ -f "$unpacked/DEBIAN/postinst" ] || [ -f "$unpacked/DEBIAN/postrm" ]; then
    grep -q 'activate-noawait ldconfig' "$unpacked/DEBIAN/triggers" ||
      { echo "package: $(basename "$deb") runs ldconfig without a trigger" >&2; exit 1; }
    rm -f "$unpacked/DEBIAN/postinst" "$unpacked/DEBIAN/postrm"
    dpkg-deb --root-owner-group -Zxz -b "$unpacked" "$deb" >/dev/null
  fi
  rm -rf "$unpacked"
done
mapfile -t debs < <(ls "$dir"/packages/*.deb)
printf 'package: %s\n' "${debs[@]}"
[ "${1:-}" = "--no-check" ] && exit 0

runtime=$(ls "$dir"/packages/libzyncmncoll1_*.deb)
dev=$(ls "$dir"/packages/libzyncmncoll-dev_*.deb)
multiarch=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
libdir=usr/lib/$multiarch
fail() { echo "package: $*" >&2; exit 1; }

# 1. Contents and control fields.
contents() { dpkg-deb -c "$1" | awk '{print $6}' | sed 's|^\./|/|'; }
expect() { # expect <deb> <path regex>...
  local deb=$1 list
  shift
  list=$(contents "$deb")
  for pattern in "$@"; do
    grep -Eq "^$pattern\$" <<<"$list" || fail "$(basename "$deb") lacks $pattern"
  done
}
expect "$runtime" "/$libdir/libzyncmncoll\.so\.1" "/$libdir/libzyncmncoll\.so\.1\.[0-9.]+" \
  "/$libdir/libzynosse\.so\.1" "/usr/share/locale/C/LC_MESSAGES/zorvanecl\.cat" \
  "/usr/share/doc/libzyncmncoll1/copyright" "/usr/share/doc/libzyncmncoll1/changelog\.Debian\.gz"
expect "$dev" "/$libdir/libzyncmncoll\.so" "/$libdir/libzynosse\.so" \
  "/usr/include/zyncmncoll/dstring\.hpp" "/usr/include/zyncmncoll/zyncmncoll\.hpp" \
  "/$libdir/pkgconfig/zyncmncoll\.pc" "/$libdir/cmake/zyncmncoll/zyncmncollConfig\.cmake" \
  "/usr/share/zyncmncoll/gdb/zyncmncoll_printers\.py" \
  "/usr/share/gdb/auto-load/$libdir/libzyncmncoll\.so\.[0-9.]+-gdb\.py" \
  "/usr/share/doc/libzyncmncoll-dev/copyright"
# Nothing in two packages, no header or link in the runtime package.
dup=$( (contents "$runtime"; contents "$dev") | grep -v '/$' | sort | uniq -d)
[ -z "$dup" ] || fail "files in both packages: $dup"
! contents "$runtime" | grep -Eq '\.hpp$|\.so$|\.pc$' || fail "development files in libzyncmncoll1"
depends=$(dpkg-deb -f "$runtime" Depends)
grep -q 'libc6' <<<"$depends" && grep -q 'libstdc++6' <<<"$depends" ||
  fail "libzyncmncoll1 Depends lacks libc6/libstdc++6: $depends"
dpkg-deb -f "$dev" Depends | grep -q "libzyncmncoll1 (= $(dpkg-deb -f "$runtime" Version))" ||
  fail "libzyncmncoll-dev does not depend on this libzyncmncoll1"
dpkg-deb --ctrl-tarfile "$runtime" | tar -t | grep -q shlibs || fail "libzyncmncoll1 has no shlibs"
echo "package: contents and dependencies as expected"
for deb in "$runtime" "$dev"; do
  echo "--- $(dpkg-deb -f "$deb" Package): Depends: $(dpkg-deb -f "$deb" Depends)"
done

# 2. lintian.
if command -v lintian >/dev/null; then
  # initial-upload-closes-no-bugs concerns uploads to Debian's archive (an
  # ITP bug), not the packages.
  lintian --fail-on error,warning --suppress-tags initial-upload-closes-no-bugs \
    "${debs[@]}" ||
    fail "lintian reported errors or warnings"
  echo "package: lintian clean (errors and warnings)"
else
  echo "package: lintian not installed, skipped"
fi

# 3. A scratch root with both packages and a consumer built against it.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
for deb in "${debs[@]}"; do dpkg -x "$deb" "$scratch/root"; done
"$root/scripts/consumer-check.sh" --installed "$scratch/root/usr"
