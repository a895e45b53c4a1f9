#!/bin/sh
# Installs what is missing, builds the program, makes the workloads and prints tables of what its runs cost:
#
#     bench/run.sh [ROUNDS]
#
# Each round (5) runs every command once; the tables give medians. Everything happens in build/bench. bench/growth.sh
# measures how the cost grows with the width of an object.
set -eu
cd "$(dirname "$0")/.."
. tools/packages.sh
. tools/build.sh

rounds=${1:-5}

need_presets bench
need libxml2-utils xmllint --version
need expat xmlwf -v
need time test -x /usr/bin/time
need valgrind valgrind --version
install_needed

build bench

built=$PWD/build/bench
program=$built/skeinKeep
change=$PWD/bench/changeValues.awk
work=$built/work
rm -rf "$work"
mkdir -p "$work"

# prepare FORM ARGUMENTS...: makes a folder with a metabase, its backup and the changed metabase, and checks that
# the runs to be timed do what they are meant to do: nothing to restore, and a restore that brings all changes back.
prepare() {
    form=$1
    shift
    mkdir "$work/$form"
    cd "$work/$form"
    "$built/bench/makeMetabase" "$@" >original.txt
    awk -f "$change" original.txt >changed.txt
    cp original.txt metabase.txt
    "$program" -backup -file backup.xml
    "$program" -backup -noinherit -file own.xml
    "$program" -restore -n -file backup.xml >output
    test ! -s output
    cp changed.txt metabase.txt
    "$program" -restore -file backup.xml >output
    changes=$(grep -c '^Setting ' output)
    "$program" -restore -n -file backup.xml >output
    test ! -s output
    cp original.txt metabase.txt
    echo "$form $(grep -c '^object ' original.txt) $(wc -c <original.txt) $(wc -c <backup.xml) $changes" >>"$work/forms"
    cd - >/dev/null
}

# timed FORM NAME COMMAND...: runs a command in the form's folder and notes what it took.
timed() {
    form=$1
    name=$2
    shift 2
    (cd "$work/$form" && /usr/bin/time -f "$form $name %e %U %S %M" -a -o "$work/times" "$@" >/dev/null)
}

timed_restores() {
    timed "$1" backup "$program" -backup -file again.xml
    timed "$1" same "$program" -restore -n -file backup.xml
    cp "$work/$1/changed.txt" "$work/$1/metabase.txt"
    timed "$1" changed "$program" -restore -file backup.xml
    cp "$work/$1/original.txt" "$work/$1/metabase.txt"
}

echo "Making the workloads"
prepare W wide 100 300
prepare W10 wide 10 300
prepare Wx3 wide 300 300
prepare flat flat 20000
prepare deep deep 200
prepare long long 10000

round=1
while [ "$round" -le "$rounds" ]; do
    echo "Round $round of $rounds"
    timed W cat sh -c 'cat backup.xml >copy.xml'
    timed W cp cp backup.xml copy.xml
    timed W xmllint xmllint --noout backup.xml
    timed W xmlwf xmlwf backup.xml
    timed W latin1 "$built/bench/loadPugixml" backup.xml latin1
    timed W utf8 "$built/bench/loadPugixml" backup.xml
    timed W load "$built/bench/loadBackup" backup.xml
    for form in W W10 Wx3 flat deep long; do timed_restores "$form"; done
    round=$((round + 1))
done

# counted FORM NAME COMMAND...: runs a command in the form's folder and notes its instructions.
counted() {
    form=$1
    name=$2
    shift 2
    (cd "$work/$form" && valgrind --tool=callgrind --callgrind-out-file=/dev/null "$@" 2>counts >/dev/null)
    awk -v name="$name" '/Collected/ { print name, $4 }' "$work/$form/counts" >>"$work/instructions"
}

echo "Counting instructions"
counted W10 load "$built/bench/loadBackup" backup.xml
counted W10 backup "$program" -backup -file again.xml
counted W10 same "$program" -restore -n -file backup.xml
counted W10 own "$program" -restore -n -file own.xml
cp "$work/W10/changed.txt" "$work/W10/metabase.txt"
counted W10 changed "$program" -restore -file backup.xml

awk -f bench/tables.awk "$work/forms" "$work/times" "$work/instructions"
