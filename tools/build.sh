# Quiet builds. For the other scripts to read in.

# quietly COMMAND...: runs a program. If it fails, prints its output and ends the script with its status.
quietly() {
    log=$(mktemp)
    status=0
    "$@" >"$log" 2>&1 </dev/null || status=$?
    if [ "$status" -ne 0 ]; then
        cat "$log" >&2
        echo "Failed with status $status: $*" >&2
    fi
    rm -f "$log"
    [ "$status" -eq 0 ] || exit "$status"
}

# build PRESET [TARGET...]: configures a preset of CMakePresets.json and builds the targets, or all of it.
build() {
    preset=$1
    shift
    [ $# -eq 0 ] || set -- --target "$@"
    quietly cmake --preset "$preset"
    quietly cmake --build --preset "$preset" -j "$(nproc)" "$@" -- --quiet
}
