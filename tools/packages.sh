# Debian packages, installed where they are missing. For the other scripts to read in: need and need_presets note what
# is missing, install_needed prints and installs it. With --no-install as the script's first argument, which is removed
# here, it ends the script instead.

needed=""
may_install=true
if [ "${1:-}" = --no-install ]; then
    may_install=false
    shift
fi

# need PACKAGE CHECK...: notes a package whose check, a command line, fails.
need() {
    package=$1
    shift
    "$@" >/dev/null 2>&1 </dev/null || needed="$needed $package"
}

# need_presets PRESET...: notes what the presets of CMakePresets.json need.
need_presets() {
    need g++ sh -c 'echo "int main() {}" | g++ -std=c++20 -x c++ -o /dev/null -'
    need cmake cmake_is_recent
    need ninja-build ninja --version
    for preset in "$@"; do
        case $preset in
        test | sanitized | clang | coverage) need libgtest-dev test -e /usr/include/gtest/gtest.h ;;
        esac
        case $preset in
        clang | bench)
            need libbenchmark-dev test -e /usr/include/benchmark/benchmark.h
            need libpugixml-dev test -e /usr/include/pugixml.hpp
            ;;
        esac
        case $preset in
        clang | fuzz) need clang clang++ --version ;;
        esac
        case $preset in
        fuzz) need libclang-rt-14-dev sh -c 'ls /usr/lib/llvm-*/lib/clang/*/lib/linux/libclang_rt.fuzzer-*.a' ;;
        esac
    done
}

# The oldest version that reads CMakePresets.json.
cmake_version=3.25
cmake_is_recent() {
    found=$(cmake --version | awk 'NR == 1 { print $3 }')
    [ -n "$found" ] && [ "$(printf '%s\n' "$cmake_version" "$found" | sort -V | head -n 1)" = "$cmake_version" ]
}

install_needed() {
    [ -n "$needed" ] || return 0
    $may_install || {
        echo "Missing Debian packages:$needed" >&2
        exit 1
    }
    echo "Installing Debian packages:$needed"
    as_root=""
    [ "$(id -u)" -eq 0 ] || as_root="sudo"
    $as_root apt-get update -q </dev/null
    # shellcheck disable=SC2086 # one word for each package
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $needed </dev/null
    needed=""
    cmake_is_recent || {
        echo "CMake $cmake_version or later is needed; this is ${found:-none}." >&2
        exit 1
    }
}
