# Installs what is missing. Read in by the other scripts: need PACKAGE CHECK..., then install_needed.

needed=""

# Notes a Debian package whose check, a command line, fails.
need() {
    package=$1
    shift
    "$@" >/dev/null 2>&1 || needed="$needed $package"
}

install_needed() {
    [ -n "$needed" ] || return 0
    echo "Installing Debian packages:$needed"
    as_root=""
    [ "$(id -u)" -eq 0 ] || as_root="sudo"
    $as_root apt-get update -q </dev/null
    # shellcheck disable=SC2086 # one word for each package
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $needed </dev/null
    needed=""
}
