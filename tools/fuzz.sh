#!/bin/sh
# fuzz.sh SECONDS [TARGET...]: builds the fuzz targets, or those that are named, and searches for inputs that break a
# promise. They continue from tools/fuzz/corpus and from what earlier runs found, in build/fuzz/corpus. An input that
# breaks a promise stays in build/fuzz/broken; its test is one more file in tools/fuzz/corpus.
set -eu
cd "$(dirname "$0")/.."
. tools/packages.sh
. tools/build.sh

if [ $# -eq 0 ]; then
    echo "Usage: tools/fuzz.sh SECONDS [TARGET...]" >&2
    exit 2
fi
seconds=$1
shift
[ $# -gt 0 ] || set -- document restore metabase value

need_presets fuzz
install_needed
# shellcheck disable=SC2046 # one word for each target
build fuzz $(printf 'skeinKeepFuzz-%s ' "$@")
for target in "$@"; do mkdir -p "build/fuzz/corpus/$target" "build/fuzz/broken/$target"; done

# The targets print what a run prints: without their streams only the fuzzer's own lines are left.
# shellcheck disable=SC2016
printf '%s\n' "$@" | xargs -P "$(nproc)" -I@ sh -c '
    echo "Fuzzing: @"
    "build/fuzz/tools/fuzz/skeinKeepFuzz-@" -max_total_time="$2" -close_fd_mask=3 -timeout=10 -verbosity=0 \
        -print_final_stats=1 -dict="$1/tools/fuzz/words.dict" -artifact_prefix="$1/build/fuzz/broken/@/" \
        "$1/build/fuzz/corpus/@" "$1/tools/fuzz/corpus/@"' sh "$PWD" "$seconds"
echo "No input broke a promise."
