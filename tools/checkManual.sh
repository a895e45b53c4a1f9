#!/bin/sh
# Checks docs/skeinKeep.1 with mandoc: it has no fault of form, its footer has the version, and each text that it shows
# as printed by the program is, as a reader sees it, a text of the sources: the lines of a restore and the messages,
# between their variable parts.
set -eu
cd "$(dirname "$0")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A page that mandoc's index lacks isn't a fault.
mandoc -T lint -W style docs/skeinKeep.1 2>/dev/null >"$work/faults" || true
if [ -s "$work/faults" ]; then
    cat "$work/faults" >&2
    exit 1
fi

# Its footer has the version.
version=$(sed -n 's/^project(skeinKeep VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
grep -qx "\.Os skeinKeep $version" docs/skeinKeep.1 || {
    echo "The manual's line .Os doesn't name the version $version." >&2
    exit 1
}

# The texts of the sources: string literals, joined where one follows another, with their escapes.
cat src/*.cpp src/*.h platform/*/*.cpp | tr -s '\n ' ' ' | sed 's/" *u*"//g; s/\\"/"/g' >"$work/sources"

# The texts of the manual, one a line, without their variable parts and the name of the metabase before them.
mandoc -T html -O fragment docs/skeinKeep.1 | tr '\n' ' ' |
    sed 's/<h1/\n<h1/g; s/<dt/\n<dt/g; s/<\/dt>/\n/g' |
    awk '/^<h1/ { inside = /THE_LINES_OF_A_RESTORE|DIAGNOSTICS/ } inside && /^<dt.*"Sy"/' |
    sed 's/<i[^>]*>[^<]*<\/i>/\n/g' |
    sed 's/<[^>]*>//g; s/&lt;/</g; s/&gt;/>/g; s/&quot;/"/g; s/&#x201C;\|&#x201D;/"/g; s/&#x00A0;\|&nbsp;/ /g; s/&amp;/\&/g' |
    tr -s ' ' | sed 's/^\(Type mismatch\|Invalid index\): \([a-z]\)/\2/' |
    sed 's/^[: ]*\(metabase.txt[:,] \)*//; s/[: ]*$//' | grep '[a-zA-Z]\{3\}' >"$work/texts"

count=0
missing=0
while IFS= read -r text; do
    count=$((count + 1))
    grep -qF -e "$text" "$work/sources" || {
        echo "The program never prints: $text" >&2
        missing=$((missing + 1))
    }
done <"$work/texts"
[ "$count" -gt 60 ] || { echo "Only $count texts were found in the manual." >&2; exit 1; }
[ "$missing" -eq 0 ] || exit 1
echo "All $count texts of the manual are texts of the sources."
