#!/bin/sh
# Builds the program and checks it, after installing what is missing:
#
#     tools/test.sh              the tests
#     tools/test.sh STAGE...     the stages that are named
#     tools/test.sh --all        every stage, in this order:
#
#     format      the sources have the format of .clang-format
#     shell       the scripts are clean under shellcheck
#     tests       the tests
#     clang       everything builds with clang, the benchmarks too
#     tidy        the sources are clean under clang-tidy
#     pages       the manual, the links of the installed pages, the schema of the backup file, the completion
#     valgrind    the demo is clean under valgrind
#     growth      the work for an item doesn't grow with the number of items
#     fuzz        each fuzz target runs for a minute
#     coverage    the tests reach nearly all of the code, and the lines that they don't reach are known
#     sanitized   the tests under AddressSanitizer, LeakSanitizer and UndefinedBehaviorSanitizer
#
# The first failure ends the script.
set -eu
cd "$(dirname "$0")/.."
. tools/packages.sh
. tools/build.sh

stages="format shell tests clang tidy pages valgrind growth fuzz coverage sanitized"
[ $# -gt 0 ] || set -- tests
# shellcheck disable=SC2086 # one word for each stage
[ "$*" != "--all" ] || set -- $stages

# files PATTERN...: the sources whose names match.
files() {
    find src platform tests bench tools -name "$1" | sort
}

need_tests() {
    need_presets test
    need libxml2-utils xmllint --version
}
stage_tests() {
    build test
    ctest --preset test -j "$(nproc)"
}

need_sanitized() {
    need_presets sanitized
    need libxml2-utils xmllint --version
}
stage_sanitized() {
    build sanitized
    ctest --preset sanitized -j "$(nproc)"
}

need_clang() { need_presets clang; }
stage_clang() { build clang; }

need_format() { need clang-format clang-format --version; }
stage_format() {
    sources=$(files '*.cpp')
    headers=$(files '*.h')
    # shellcheck disable=SC2086
    quietly clang-format --dry-run -Werror $sources $headers
}

need_shell() { need shellcheck shellcheck --version; }
stage_shell() {
    scripts=$(files '*.sh')
    # shellcheck disable=SC2086
    quietly shellcheck -s sh -x $scripts .ci/run samples/nightly/skeinkeep-nightly
}

need_tidy() {
    need_presets clang
    need clang-tidy clang-tidy --version
}
stage_tidy() {
    sources=$(files '*.cpp')
    quietly cmake --preset clang
    # shellcheck disable=SC2016,SC2086
    quietly sh -c 'printf "%s\n" "$@" | xargs -P "$(nproc)" -n 1 clang-tidy -quiet -p build/clang' sh $sources
}

need_pages() {
    need_presets clang
    need libxml2-utils xmllint --version
    need mandoc sh -c 'command -v mandoc'
    need zsh zsh --version
}
stage_pages() {
    build clang
    quietly sh tools/checkSchema.sh build/clang
    quietly sh tools/checkManual.sh
    quietly sh tools/checkPages.sh build/clang
    quietly zsh tools/checkCompletion.zsh
}

need_valgrind() {
    need_presets valgrind
    need valgrind valgrind --version
}
stage_valgrind() { quietly sh tools/demo.sh --valgrind; }

need_growth() {
    need_presets bench
    need time test -x /usr/bin/time
    need valgrind valgrind --version
}
stage_growth() { quietly sh bench/growth.sh --check; }

need_fuzz() { need_presets fuzz; }
stage_fuzz() { sh tools/fuzz.sh 60; }

need_coverage() {
    need_presets coverage
    need libxml2-utils xmllint --version
    need gcovr gcovr --version
}
stage_coverage() { quietly sh tools/coverage.sh; }

for stage in "$@"; do
    case " $stages " in
    *" $stage "*) "need_$stage" ;;
    *)
        echo "No such stage: $stage. There are: $stages" >&2
        exit 2
        ;;
    esac
done
install_needed

begin=$(date +%s)
for stage in "$@"; do
    echo "== $stage"
    stage_begin=$(date +%s)
    "stage_$stage"
    echo "== $stage passed in $(($(date +%s) - stage_begin)) s"
done
echo "All passed in $(($(date +%s) - begin)) s: $*"
