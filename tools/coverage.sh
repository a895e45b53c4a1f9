#!/bin/sh
# Measures which lines and branches of src/ and platform/ the tests reach:
#
#     tools/coverage.sh [CTEST_OPTION...]        such as -R Restore, to run some of the tests alone
#
# Installs what is missing, builds the preset coverage and prints a table. The lines that no test reaches are listed in
# build/coverage/unreached.txt. A branch that only an exception takes isn't counted. Without options it fails if less than
# 99 % of the lines or 90 % of the branches are reached, or if CONTRIBUTING.md lists other lines as not reached.
set -eu
cd "$(dirname "$0")/.."
. tools/packages.sh
. tools/build.sh

need_presets coverage
need gcovr gcovr --version
install_needed

echo "Building"
build coverage
folder=$PWD/build/coverage
find "$folder" -name '*.gcda' -delete
rm -f "$folder/errors.txt"

# Every process of the tests adds its counts to the same files. The runtime reports a file that it can't add to.
echo "Running the tests"
export GCOV_ERROR_FILE="$folder/errors.txt"
# The runtime itself crashes for lack of memory, so OutOfMemory is left out.
quietly ctest --preset coverage -j "$(nproc)" -E '^OutOfMemory' "$@"
if [ -s "$folder/errors.txt" ]; then
    sort "$folder/errors.txt" | uniq -c >&2
    echo "The counts of these files are not whole." >&2
    exit 1
fi

# More than one job hangs if gcov fails.
quietly gcovr --root "$PWD" --object-directory "$folder" --filter src/ --filter platform/ --exclude-throw-branches \
    --csv "$folder/files.csv" --sonarqube "$folder/lines.xml" "$folder"

# FILE:LINE for each line without a run, then the text of the line with it.
sed 's/></>\n</g' "$folder/lines.xml" | awk -F'"' '
    /^<file / { file = $2 }
    /^<lineToCover / && /covered="false"/ { print file ":" $2 }' >"$folder/numbers.txt"
sort -t: -k1,1 -k2,2n "$folder/numbers.txt" | awk -F: '
    $1 != file {
        file = $1
        at = 0
    }
    {
        while (at < $2 && (getline text <file) > 0) at++
        print $0 ":" text
    }' >"$folder/unreached.txt"

awk -F, '
    function row(name, lines, reached, branches, taken) {
        printf "%-40s %6d %6d %6s %9d %6d %6s\n", name, lines, reached, percent(reached, lines), branches, taken,
            percent(taken, branches)
    }
    function percent(part, whole) { return whole ? sprintf("%.1f", 100 * part / whole) : "-" }
    BEGIN { printf "%-40s %6s %6s %6s %9s %6s %6s\n", "File", "lines", "run", "%", "branches", "taken", "%" }
    NR == 1 { for (i = 1; i <= NF; i++) column[$i] = i; next }
    {
        lines += a = $column["line_total"]
        reached += b = $column["line_covered"]
        branches += c = $column["branch_total"]
        taken += d = $column["branch_covered"]
        row($column["filename"], a, b, c, d)
    }
    END {
        if (!lines) {
            print "No line was measured."
            exit 1
        }
        row("In all", lines, reached, branches, taken)
        if (whole && (reached < 0.99 * lines || taken < 0.9 * branches)) {
            print "Less is reached than 99 % of the lines or 90 % of the branches." >"/dev/stderr"
            exit 1
        }
    }' whole=$(($# == 0)) "$folder/files.csv"
echo "$(wc -l <"$folder/unreached.txt") lines that no test reaches: build/coverage/unreached.txt"
[ $# -eq 0 ] || exit 0
sed 's/:[0-9]*: */: /' "$folder/unreached.txt" | sort >"$folder/found.txt"
sed -n 's/^    \(\(src\|platform\)\/[^ ]*: \)/\1/p' CONTRIBUTING.md | sort >"$folder/listed.txt"
diff "$folder/listed.txt" "$folder/found.txt" >&2 || {
    echo "CONTRIBUTING.md lists (<) other lines than those that no test reaches (>)." >&2
    exit 1
}
