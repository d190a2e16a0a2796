#!/usr/bin/env bash
# Makes the documentation as pages: build/docs/html/index.html. Doxygen reads the header, the compiler
# lays out the records, Sphinx makes the pages; then all their links are followed.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

for tool in doxygen sphinx-build cc; do
  command -v "$tool" >/dev/null && continue
  echo "$tool is not here; on Debian: apt-get install doxygen python3-sphinx furo python3-myst-parser gcc" >&2
  [ "${QMX_IC_NEEDS_HOSTS:-}" = 1 ] && exit 1
  exit 77
done

work=$PWD/build/docs
rm -rf "$work/source" "$work/xml" "$work/html"
mkdir -p "$work/source/library" "$work/xml"

(cat docs/pages/Doxyfile; echo "OUTPUT_DIRECTORY=$work") | doxygen -
# The header's version in pieces, "0" "." "1" and so on; without one there the project's.
QMX_IC_VERSION=$(printf '#include "qmx_ic.h"\nQMX_IC_VERSION\n' | cc -E -P -Iinclude - | tail -1 | tr -d '" ')
[ "$QMX_IC_VERSION" != QMX_IC_VERSION ] ||
  QMX_IC_VERSION=$(sed -n 's/^project(QMX_IC VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
export QMX_IC_VERSION

# The sources keep their places, so that links between them hold; files that they name are carried along.
cp -r README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md LICENSE docs examples include "$work/source"
rm -rf "$work/source/docs/pages"
cp -r docs/pages/conf.py docs/pages/index.md docs/pages/_static "$work/source"
python3 -B docs/pages/library_pages.py "$PWD" "$work/xml" "$work/source/library"
python3 -B docs/pages/lists.py "$work/source"

sphinx-build -q -W --keep-going -j 2 -d "$work/doctrees" -b html "$work/source" "$work/html"
python3 -B tests/docs/check_links.py --pages "$work/html" .
echo "Open $work/html/index.html"
