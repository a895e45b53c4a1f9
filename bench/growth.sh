#!/bin/sh
# Prints how the cost of an item grows from 20,000 to 200,000 items in one place: children of an object, entries of a
# MIME map, values of a list, properties of a class, attributes of a start tag:
#
#     bench/growth.sh [PROGRAM LOADER]
#
# Without arguments it builds and measures skeinKeep and loadBackup in build/bench. Times are those of the processor, in
# microseconds, the least of three; instructions are counted by callgrind.
set -eu
cd "$(dirname "$0")/.."
. tools/packages.sh
. tools/build.sh

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
small=20000
large=200000
rm -rf "$work"
mkdir -p "$work"

# cost COUNT TIMES COMMAND...: prints the microseconds and the instructions that a command takes for each of COUNT
# items. For each run of several the live metabase is what it was before.
cost() {
    count=$1
    times=$2
    shift 2
    for round in 1 2 3; do
        cp live.txt metabase.txt
        # shellcheck disable=SC2016 # for the inner shell
        /usr/bin/time -a -o "times" -f "%U %S" sh -c 'for run in $0; do cp live.txt metabase.txt; "$@" >output; done' \
            "$(seq "$times" | tr '\n' ' ')" "$@"
    done
    awk -v items=$((count * times)) '{ t = $1 + $2 } NR == 1 || t < least { least = t }
        END { printf "%.3f ", least * 1e6 / items }' times
    rm times
    cp live.txt metabase.txt
    valgrind --tool=callgrind --callgrind-out-file=/dev/null "$@" 2>counts >output
    awk -v items="$count" '/Collected/ { printf "%.0f\n", $4 / items }' counts
}

# row ITEMS RUN COMMAND...: measures a run in the folders `small` and `large` and prints a line of the table.
row() {
    items=$1
    run=$2
    shift 2
    { (cd "$work/small" && cost "$small" 10 "$@") && (cd "$work/large" && cost "$large" 1 "$@"); } >"$work/costs"
    # shellcheck disable=SC2046 # two numbers in each of two lines
    printf '%s %s %s %s\n' $(cat "$work/costs") | awk -v name="| $items | $run |" '{
        printf "%s %.2f | %.2f | %.2f | %.0f | %.0f | %.2f |\n", name, $1, $3, $3 / $1, $2, $4, $4 / $2 }'
}

# each COMMAND...: runs a command, for which $count is a number of items, in both folders.
each() {
    (cd "$work/small" && count=$small && eval "$*")
    (cd "$work/large" && count=$large && eval "$*")
}

# make FORM: makes a live metabase, and its backup.
make() {
    each "'$built/bench/makeMetabase' $1 \$count >live.txt; cp live.txt metabase.txt"
    each "'$program' -backup -file same.xml"
}

# orders FIRST LAST: makes the backup's pieces between two patterns falling and shuffled.
orders() {
    for order in falling shuffled; do
        each "awk -v order=$order -v first='$1' -v last='$2' -f '$reorder' same.xml >$order.xml"
    done
}

mkdir "$work/small" "$work/large"
echo "| items | run | time at $small | at $large | growth | instructions at $small | at $large | growth |"
echo "|---|---|---|---|---|---|---|---|"

make wide-children
orders "^      <obj " "^      </obj>"
row children "backup" "$program" -backup -file again.xml
for order in same falling shuffled; do
    row children "dry run, $order order" "$program" -restore -n -file $order.xml
done
each "sed 's/IIsWebVirtualDir/IIsWebDirectory/' same.xml >replaced.xml"
row children "replaced" "$program" -restore -file replaced.xml
each "awk '/^      <obj / { out = 1 } !out; /^      <.obj>/ { out = 0 }' same.xml >none.xml"
row children "deleted" "$program" -restore -file none.xml
each "sed '/^object .localhost.child/,\$d' live.txt >empty.txt && mv empty.txt live.txt"
for order in same falling shuffled; do
    row children "created, $order order" "$program" -restore -file $order.xml
done

make wide-mime
orders "<mimetype " "<mimetype "
row "MIME entries" "backup" "$program" -backup -file again.xml
for order in same falling shuffled; do
    row "MIME entries" "dry run, $order order" "$program" -restore -n -file $order.xml
done

make wide-list
row "values" "backup" "$program" -backup -file again.xml
row "values" "dry run" "$program" -restore -n -file same.xml
each "sed 's/>value/>other/' same.xml >other.xml"
row "values" "restore of other values" "$program" -restore -file other.xml

make wide-class
orders "<prop name=.Property" "<prop name=.Property"
row "properties" "backup" "$program" -backup -file again.xml
for order in same falling shuffled; do
    row "properties" "dry run, $order order" "$program" -restore -n -file $order.xml
done
each "awk -v order=shuffled -v first='^  Property' -v last='^  Property' -f '$reorder' live.txt >shuffled.txt"
each "mv shuffled.txt live.txt"
row "properties" "backup, shuffled live file" "$program" -backup -file again.xml

each "awk -v n=\$count 'BEGIN { print \"<metabase\"; for (i = 0; i < n; i++) print \" a\" i \"=\\\"\" i \"\\\"\"; print \"/>\" }' >wide.xml"
row attributes "loadXML" "$loader" wide.xml
