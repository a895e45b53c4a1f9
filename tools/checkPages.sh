#!/bin/sh
# checkPages.sh BUILD-FOLDER: installs a build in a temporary folder, and checks that each relative link of an installed
# page leads to an installed file.
set -eu
build=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work" >/dev/null
cd "$work/share/doc/skeinkeep"
for page in *.md docs/*.md; do
    grep -o ']([^)#]\+' "$page" | cut -c 3- | sed "s|^|$page $(dirname "$page")/|"
done >"$work/links"
[ "$(wc -l <"$work/links")" -gt 20 ] || { echo "Too few links were found in the pages." >&2; exit 1; }
while read -r page link; do
    [ -e "$link" ] || { echo "$page has a link to $link, which isn't installed." >&2; exit 1; }
done <"$work/links"
