#!/usr/bin/env bash
# Makes the packages and tests them: the archive, the three packages for Debian, `cmake --install`, each
# installed where nothing else is, used by a C program, and removed.
#
#   tools/packages.sh           of what build/dev holds already; called by tools/test.sh
#   tools/packages.sh --full    compiled for it, as they are released, with their source package
#
# What it makes stands in build/packages.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

work=$PWD/build/packages
version=$(sed -n 's/^qmx-ic (\(.*\)).*/\1/p;q' packaging/debian/changelog)
full=${1:-}
built=$PWD/build/dev
[ "$full" = --full ] && built=$PWD/build/release
rm -rf "$work"
mkdir -p "$work"
step() { echo; echo "== packages: $* (after $((SECONDS / 60)) min $((SECONDS % 60)) s)"; }
quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }; }

if [ "$full" = --full ]; then
  step "build"
  cmake --preset release -G Ninja -DQMX_IC_BUILD_TESTS=OFF -DQMX_IC_WITH_PAGES=ON >/dev/null
fi
step "archive"
# The place where packages for Debian are put is another one.
quietly cmake "$built" -DCMAKE_INSTALL_PREFIX=/usr/local -UCMAKE_INSTALL_LIBDIR
quietly cmake --build "$built" --target QMX_IC qmx-ic pages notices_library notices_program
quietly cpack --config "$built/CPackConfig.cmake" -B "$work/archive"
mv "$work"/archive/*.tar.gz* "$work"
python3 tests/packages/check_install.py "$built" "$work/install" "$work"/*.tar.gz

step "packages for Debian"
source=$work/debian/qmx-ic-$version
mkdir -p "$source"
cp -r packaging/debian "$source/debian"
# Packages that are needed may have come another way than from Debian (-d), as Node often does.
if [ "$full" = --full ]; then
  git ls-files -z | tar --null -T - -cf - | tar -xf - -C "$source"
  (cd "$source" && dpkg-buildpackage -us -uc -d)
else
  (cd "$source" && quietly env QMX_IC_BUILT="$built" DEB_BUILD_OPTIONS="noautodbgsym nocheck" \
    dpkg-buildpackage -us -uc -d -b)
fi
# Its speller takes German words, texts that the contract fixes, and bytes that happen to be letters for faults.
suppressed=spelling-error-in-binary
# What hardens the packages that are released is set by Debian's own flags, with which build/dev is not made.
[ "$full" = --full ] || suppressed+=,hardening-no-bindnow,hardening-no-fortify-functions
quiet=(--suppress-tags "$suppressed")
[ "$(id -u)" -eq 0 ] && quiet+=(--allow-root)
lintian "${quiet[@]}" --display-info --fail-on error,warning,info "$work"/debian/*.changes
python3 tests/packages/check_debs.py "$work/installed-debs" \
  "$work"/debian/{libqmx-ic0,libqmx-ic-dev,qmx-ic}_"$version"_*.deb
ls -l "$work"/*.tar.gz "$work"/debian/*.deb
