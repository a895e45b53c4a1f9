#!/bin/sh
# Installs what is missing, builds the program and shows it at work on the sample metabase. With --valgrind the program
# runs under valgrind, and an error that valgrind finds ends the demo.
set -eu
cd "$(dirname "$0")/.."
. tools/packages.sh
. tools/build.sh

preset=release
under=""
if [ "${1:-}" = "--valgrind" ]; then
    preset=valgrind
    under="valgrind -q --leak-check=full --error-exitcode=9"
    need valgrind valgrind --version
fi
need_presets "$preset"
install_needed
build "$preset" skeinKeep

program=$PWD/build/$preset/skeinKeep
demo=build/demo
rm -rf "$demo"
mkdir -p "$demo"
cp samples/metabase.txt "$demo/"
cd "$demo"

step() {
    printf '\n== %s\n' "$1"
}
run() {
    printf '$ skeinKeep %s\n' "$*"
    # shellcheck disable=SC2086 # a command and its options
    $under "$program" "$@"
}

step "A backup of the sample server"
run -backup -file backup.xml
echo "$PWD/backup.xml has $(wc -c <backup.xml) bytes and $(grep -c '<obj ' backup.xml) objects. It begins:"
head -n 24 backup.xml

step "Someone changes the server: a site's name, a list, a folder too few, a folder too many"
cat >>metabase.txt <<'CHANGES'
+set "localhost/W3SVC/1" ServerComment "Under new management"
+set "localhost/W3SVC/2" ServerBindings []
+delete "localhost/W3SVC/1/ROOT/old shop"
+create "localhost/W3SVC/1/ROOT/games" IIsWebDirectory
CHANGES
tail -n 4 metabase.txt

step "A dry run finds what differs, and changes nothing"
cp metabase.txt changed.txt
run -restore -n -file backup.xml
cmp metabase.txt changed.txt

step "The restore mends it"
run -restore -file backup.xml

step "The proof: a new backup is the first one again, byte for byte"
run -backup -file again.xml
cmp backup.xml again.xml
echo "backup.xml and again.xml are the same"
echo "(FeedStartTime is a date: dates never compare as equal, so a restore writes them every time.)"
