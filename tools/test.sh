#!/bin/sh
# Installs what is missing, builds the program and runs its tests, once as it is and once under the sanitizers.
# With --all also: the build with the other compiler, the demo under valgrind, a minute of fuzzing for each target, the
# format of the sources and the static checks.
set -eu
cd "$(dirname "$0")/.."
. tools/packages.sh

all=false
[ "${1:-}" = "--all" ] && all=true

need g++ g++ --version
need cmake cmake --version
need make make --version
need libgtest-dev test -e /usr/include/gtest/gtest.h
if $all; then
    need git git --version
    need libbenchmark-dev test -e /usr/include/benchmark/benchmark.h
    need clang clang++ --version
    need libclang-rt-14-dev sh -c 'ls /usr/lib/llvm-*/lib/clang/*/lib/linux/libclang_rt.fuzzer-*.a'
    need clang-format clang-format --version
    need clang-tidy clang-tidy --version
    need valgrind valgrind --version
fi
install_needed

jobs=$(nproc)

# build FOLDER OPTIONS...: configures and builds with warnings as errors.
build() {
    folder=$1
    shift
    cmake -S . -B "$folder" -DSKEINKEEP_TESTS=ON -DSKEINKEEP_WERROR=ON "$@" >/dev/null
    cmake --build "$folder" -j "$jobs" | grep -v 'Built target' || true
    cmake --build "$folder" -j "$jobs" >/dev/null
}

echo "== Tests"
build build/test -DCMAKE_CXX_COMPILER=g++
ctest --test-dir build/test -j "$jobs" --output-on-failure

echo "== Tests under the sanitizers"
build build/sanitized -DCMAKE_CXX_COMPILER=g++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DSKEINKEEP_SANITIZE=address,undefined
ASAN_OPTIONS=quarantine_size_mb=8 UBSAN_OPTIONS=print_stacktrace=1 ctest --test-dir build/sanitized -j "$jobs" --output-on-failure

$all || exit 0

echo "== The other compiler, with the benchmarks"
build build/clang -DCMAKE_CXX_COMPILER=clang++ -DSKEINKEEP_BENCH=ON

echo "== The demo under valgrind"
SKEINKEEP_UNDER="valgrind -q --leak-check=full --error-exitcode=9" sh tools/demo.sh >/dev/null

echo "== Fuzzing"
sh tools/fuzz.sh 60

sources=$(git ls-files 'src/*.cpp' 'platform/*.cpp' 'tests/*.cpp' 'bench/*.cpp' 'tools/*.cpp')
headers=$(git ls-files 'src/*.h' 'platform/*.h' 'tests/*.h' 'bench/*.h' 'tools/*.h')

echo "== Format"
# shellcheck disable=SC2086
clang-format --dry-run -Werror $sources $headers

echo "== Static checks"
# shellcheck disable=SC2086
printf '%s\n' $sources | xargs -P "$jobs" -n 1 clang-tidy -quiet -p build/clang
