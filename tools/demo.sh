#!/bin/sh
# Installs what is missing, builds the program and shows it at work on the sample metabase.
set -eu
cd "$(dirname "$0")/.."
. tools/packages.sh

need g++ sh -c 'echo "int main() {}" | c++ -std=c++20 -x c++ -o /dev/null -'
need cmake cmake --version
need make make --version
install_needed

cmake -S . -B build >/dev/null
cmake --build build -j "$(nproc)" | grep -v 'Built target' || true

program=$PWD/build/skeinKeep
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
    "$program" "$@"
}

step "A backup of the sample server"
run -backup -file backup.xml
printf '%s\n' "$PWD/backup.xml: $(wc -c <backup.xml) bytes, $(grep -c '<obj ' backup.xml) objects. It begins:"
head -n 24 backup.xml
