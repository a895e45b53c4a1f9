#!/bin/sh
# mutate.sh COUNT [SEED]: shows which faults the tests don't notice. Changes one place of src/ or platform/ at random, builds
# and tests this mutant, and takes the next one, until COUNT of them were built. Prints each mutant that survives, that is,
# passes the tests: its file and line, the line, and the changed line. Judge each: it does the same as the code, or a test
# is missing.
#
# A SEED makes the same mutants of the same sources. They are built in build/mutants, from a copy of the sources. The first
# test that fails ends a mutant, and so does one that takes 30 seconds.
set -eu
cd "$(dirname "$0")/.."
. tools/packages.sh
. tools/build.sh

if [ $# -eq 0 ]; then
    echo "Usage: tools/mutate.sh COUNT [SEED]" >&2
    exit 2
fi
count=$1
seed=${2:-$(date +%s)}
tree=$PWD/build/mutants
need_presets test
need libxml2-utils xmllint --version
install_needed

# The copy keeps files that are the same, so that they aren't built again.
copy_sources() {
    mkdir -p "$tree"
    for file in $(git ls-files --cached --others --exclude-standard); do
        if [ -e "$file" ] && ! cmp -s "$file" "$tree/$file"; then
            mkdir -p "$tree/${file%"${file##*/}"}"
            cp "$file" "$tree/$file"
        fi
    done
    (cd "$tree" && find . -path ./build -prune -o -path ./tmp -prune -o -type f -print) | while read -r file; do
        [ -e "$file" ] || rm "$tree/$file"
    done
}

# Prints each possible mutant of the files in random order, in fields that tabs separate: FILE, LINE, the line's new text.
mutants() {
    awk -v seed="$seed" '
        # The line with blanks in place of strings, characters and a comment.
        function codeOf(line,    i, c, quote, code) {
            for (i = 1; i <= length(line); i++) {
                c = substr(line, i, 1)
                if (quote == "" && substr(line, i, 2) == "//") break
                if (quote == "" && c != "\"" && (c != "\047" || substr(line, i - 1, 1) ~ /[0-9]/)) {
                    code = code c
                    continue
                }
                if (quote == "") quote = c
                else if (c == "\\") { code = code " "; i++ }
                else if (c == quote) quote = ""
                code = code " "
            }
            return code
        }
        function add(at, size, text) {
            made[++count] = FILENAME "\t" FNR "\t" substr($0, 1, at - 1) text substr($0, at + size)
        }
        # For each part of the line that matches: one mutant in which `to` replaces the `from` in it.
        function each(matching, from, to,    at, text) {
            for (at = 1; match(substr(code, at), matching); at += RSTART) {
                text = substr($0, at + RSTART - 1, RLENGTH)
                sub(from, to, text)
                add(at + RSTART - 1, RLENGTH, text)
            }
        }
        function both(a, b) {
            each(" " a " ", a, b)
            each(" " b " ", b, a)
        }
        FNR == 1 { isWhole = 1 }
        /^ *(#|static_assert|template|using|namespace)/ { next }
        {
            code = codeOf($0)
            both("==", "!=")
            both("<", "<=")
            both(">", ">=")
            both("[+]", "-")
            each(" [+]= ", "[+]=", "-=")
            each(" && ", "&&", "or")
            each(" [|][|] ", "[|][|]", "and")
            each("[+][+]", "[+][+]", "--")
            each("![A-Za-z(]", "!", "")
            each(" [?] ", " [?]", " and false ?")
            each("[^A-Za-z0-9_]true[^A-Za-z0-9_]", "true", "false")
            each("[^A-Za-z0-9_]false[^A-Za-z0-9_]", "false", "true")
            each("[^A-Za-z0-9_.\047][0-9]+[^A-Za-z0-9_.\047]", "[0-9]+", "(& + 1)")
            each("(if|while) [(]([^;]*; )?", "$", "true or ")
            each("(if|while) [(]([^;]*; )?", "$", "false and ")
            each("return S_OK;", "S_OK", "E_FAIL")
            # A line that is a whole statement, no declaration.
            if (isWhole && code ~ /^ +[A-Za-z_+(][A-Za-z0-9_:.>()+-]*([(].*[)])?( [-+|]?= .*)?; *$/ && code !~ /^ +return/)
                add(1, length($0), ";")
            if (code ~ /[^ ]/) isWhole = code ~ /[;{}:] *$/
        }
        END {
            seed = seed % 2147483646 + 1
            for (i = count; i > 0; i--) {
                seed = seed * 16807 % 2147483647
                j = seed % i + 1
                print made[j]
                made[j] = made[i]
            }
        }' "$@"
}

# Builds the copy, and tests it. A mutant may run away: its memory and its files are limited.
build_copy() { cmake --build "$tree/build" -j "$(nproc)" >"$tree/log" 2>&1; }
passes() {
    rm -rf "$tree/tmp"
    mkdir "$tree/tmp"
    # The slowest tests only if no other one fails.
    for part in -E -R; do
        TMPDIR=$tree/tmp prlimit --as=4000000000 --fsize=4000000000 ctest --test-dir "$tree/build" -j "$(nproc)" \
            --stop-on-failure --timeout 30 $part '^(Monstrous|Nightly|OutOfMemory|RoundTrip|Pages)' \
            >"$tree/log" 2>&1 || return 1
    done
}

copy_sources
quietly cmake -S "$tree" -B "$tree/build" -G Ninja -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="-O1 -DNDEBUG" \
    -DSKEINKEEP_TESTS=ON
if ! build_copy || ! passes; then
    cat "$tree/log" >&2
    echo "The tests fail without a mutant." >&2
    exit 1
fi
echo "Seed $seed"
built=0
survived=0
# shellcheck disable=SC2046 # one word for each file
mutants $(find src platform -name '*.cpp' -o -name '*.h' | sort) >"$tree/mutants.txt"
while [ "$built" -lt "$count" ] && IFS="$(printf '\t')" read -r file line text; do
    awk -v line="$line" -v text="$(printf '%s' "$text" | sed 's/\\/\\\\/g')" \
        '{ print FNR == line ? text : $0 }' "$file" >"$tree/$file"
    if build_copy </dev/null; then
        built=$((built + 1))
        if passes </dev/null; then
            survived=$((survived + 1))
            printf '%s:%s:\n-%s\n+%s\n' "$file" "$line" "$(sed -n "${line}p" "$file")" "$text"
        fi
    fi
    cp "$file" "$tree/$file"
done <"$tree/mutants.txt"
echo "$built mutants, $survived survived"
