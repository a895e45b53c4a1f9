#!/bin/sh
# Measures how the cost of an item grows with the number of items in one place: children of an object, entries of a MIME
# map, values of a list, properties of a class, attributes of a start tag:
#
#     bench/growth.sh            from 20,000 to 200,000 items: prints a table of times and instructions
#     bench/growth.sh --check    from 2,000 to 8,000 items: fails if the instructions for an item grow by more than a
#                                quarter where an ordered container is searched, and else by more than a fifth
#
# Two more arguments, a skeinKeep and a loadBackup, are measured in place of those in build/bench. Times are those of the
# processor, in microseconds, the least of three; callgrind counts the instructions.
set -eu
cd "$(dirname "$0")/.."
. tools/packages.sh
. tools/build.sh

check=false
small=20000
large=200000
if [ "${1:-}" = --check ]; then
    check=true
    small=2000
    large=8000
    shift
fi

need_presets bench
need time test -x /usr/bin/time
need valgrind valgrind --version
install_needed

build bench

built=$PWD/build/bench
program=${1:-$built/skeinKeep}
loader=${2:-$built/bench/loadBackup}
reorder=$PWD/bench/reorder.awk
work=$built/growth
rm -rf "$work"
mkdir -p "$work/small" "$work/large"

# seconds RUNS COMMAND...: prints the processor time of a number of runs. Before each the live metabase is what it was.
seconds() {
    runs=$1
    shift
    # shellcheck disable=SC2016 # for the inner shell
    /usr/bin/time -a -o times -f "%U %S" \
        sh -c 'for run in $0; do cp live.txt metabase.txt; "$@" >output; done' "$(seq "$runs" | tr '\n' ' ')" "$@"
    awk '{ print $1 + $2 }' times
    rm times
}

# instructions COMMAND...: prints the instructions of a run.
instructions() {
    cp live.txt metabase.txt
    valgrind --tool=callgrind --callgrind-out-file=/dev/null "$@" 2>counts >output
    awk '/Collected/ { print $4 }' counts
}

# in_both SCRIPT: runs a script in the folders of both sizes, with $count as the number of items.
in_both() {
    (cd "$work/small" && count=$small sh -euc "$1")
    (cd "$work/large" && count=$large sh -euc "$1")
}

# grown NUMBERS: prints two numbers, each for all items of its size, as numbers for one item, and their ratio.
grown() {
    # shellcheck disable=SC2086 # two numbers
    printf '%s %s' $1 | awk -v small="$2" -v large="$3" -v digits="$4" '{
        printf " %.*f | %.*f | %.2f |", digits, $1 / small, digits, $2 / large, $2 / large * small / $1 }'
}

# row ITEMS RUN COMMAND...: measures a command and prints a line of the table, or checks it against $limit.
row() {
    line="| $1 | $2 |"
    shift 2
    counts=$(for size in small large; do (cd "$work/$size" && instructions "$@"); done)
    if $check; then
        # shellcheck disable=SC2086 # two numbers
        printf '%s %s' $counts | awk -v times=$((large / small)) -v limit="$limit" '{ exit $2 > $1 * times * limit }' || {
            echo "$line instructions at $small and at $large:" $counts >&2
            exit 1
        }
        return
    fi
    # As many items in all at both sizes.
    best=$(for round in 1 2 3; do
        echo "$round" "$(cd "$work/small" && seconds $((large / small)) "$@")" "$(cd "$work/large" && seconds 1 "$@")"
    done | awk '{ for (i = 2; i <= 3; i++) if (NR == 1 || $i < least[i]) least[i] = $i }
        END { print least[2] * 1e6, least[3] * 1e6 }')
    echo "$line$(grown "$best" "$large" "$large" 2)$(grown "$counts" "$small" "$large" 0)"
}

# make FORM: makes a live metabase, and its backup.
make() {
    in_both "'$built/bench/makeMetabase' $1 \$count >live.txt; cp live.txt metabase.txt"
    in_both "'$program' -backup -file same.xml"
}

# reads ITEMS FIRST LAST: measures a backup, and dry runs of that backup with the pieces between two patterns in the same
# order, falling and shuffled.
reads() {
    limit=1.2
    row "$1" "backup" "$program" -backup -file again.xml
    limit=1.25
    for order in falling shuffled; do
        in_both "awk -v order=$order -v first='$2' -v last='$3' -f '$reorder' same.xml >$order.xml"
    done
    for order in same falling shuffled; do
        row "$1" "dry run, $order order" "$program" -restore -n -file $order.xml
    done
}

$check || echo "| items | run | time at $small | at $large | growth | instructions at $small | at $large | growth |"
$check || echo "|---|---|---|---|---|---|---|---|"

make wide-children
reads children "^      <obj " "^      </obj>"
in_both "sed 's/IIsWebVirtualDir/IIsWebDirectory/' same.xml >replaced.xml"
row children "replaced" "$program" -restore -file replaced.xml
in_both "awk '/^      <obj / { out = 1 } !out; /^      <.obj>/ { out = 0 }' same.xml >none.xml"
row children "deleted" "$program" -restore -file none.xml
in_both "sed '/^object .localhost.child/,\$d' live.txt >empty.txt && mv empty.txt live.txt"
for order in same falling shuffled; do
    row children "created, $order order" "$program" -restore -file $order.xml
done

make wide-mime
reads "MIME entries" "<mimetype " "<mimetype "
in_both "sed 's/x[0-9]*\"/x\"/g' live.txt >equal.txt && mv equal.txt live.txt && cp live.txt metabase.txt"
in_both "'$program' -backup -file equal.xml"
row "MIME entries" "dry run, equal entries" "$program" -restore -n -file equal.xml

make wide-list
limit=1.2
row "values" "backup" "$program" -backup -file again.xml
row "values" "dry run" "$program" -restore -n -file same.xml
in_both "sed 's/>value/>other/' same.xml >other.xml"
row "values" "restore of other values" "$program" -restore -file other.xml

make wide-class
reads properties "<prop name=.Property" "<prop name=.Property"
in_both "awk -v order=shuffled -v first='^  Property' -v last='^  Property' -f '$reorder' live.txt >shuffled.txt"
in_both "mv shuffled.txt live.txt"
row "properties" "backup, shuffled live file" "$program" -backup -file again.xml

in_both "awk -v n=\$count 'BEGIN { print \"<metabase\"; for (i = 0; i < n; i++) print \" a\" i \"=\\\"\" i \"\\\"\"; print \"/>\" }' >wide.xml"
row attributes "loadXML" "$loader" wide.xml
