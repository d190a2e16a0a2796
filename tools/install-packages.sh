#!/usr/bin/env bash
# Installs what building, running and testing needs, on Debian 12. With "demo" only what the library
# and its program need; without it also what the tests, the second compiler and the checks need; with
# "long" what the tests before a release need on top.
set -euo pipefail

packages=(g++ cmake ninja-build libblas-dev zlib1g-dev libgdal-dev libcli11-dev nlohmann-json3-dev libfmt-dev
          libeigen3-dev libgcrypt20-dev libtomlplusplus-dev liblodepng-dev pkgconf)
# Unpacks gzip quickly; where there is none, zlib does.
case $(dpkg --print-architecture) in amd64 | arm64) packages+=(libisal-dev) ;; esac
# Pages of reports are bundled by Node: another one than Debian's serves too.
command -v npm >/dev/null || packages+=(nodejs npm)
if [ "${1:-}" != demo ]; then
  packages+=(ccache clang-14 clang-tidy-14 clang-format-14 libclang-rt-14-dev libgtest-dev libboost-dev
             libopenblas-dev python3 python3-dev python3-venv python3-numpy python3-jsonschema gdal-bin r-cran-sp chromium
             fonts-dejavu-core)
  # Windows: cross compiler, libraries for it, and Wine.
  packages+=(g++-mingw-w64-x86-64-posix libz-mingw-w64-dev libgcrypt-mingw-w64-dev wine64 googletest)
  # Packages, hosts in other languages, documentation.
  packages+=(debhelper dpkg-dev lintian mono-mcs mono-runtime gfortran r-base-core make doxygen
             python3-sphinx furo python3-myst-parser)
fi
[ "${1:-}" != long ] || packages+=(cppcheck valgrind g++-multilib)

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
    missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || {
    echo "These packages are missing; install them as root: ${missing[*]}" >&2
    exit 1
  }
  as_root=(sudo)
fi
echo "Installing ${missing[*]}"
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq update
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
  apt-get -qq install -y --no-install-recommends "${missing[@]}" >/dev/null
