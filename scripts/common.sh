# shellcheck shell=bash
# Sourced by the other scripts: changes to the repository's root and answers --help.
cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." || exit

# The comment at the top of the script is its help.
print_help() {
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "scripts/${0##*/}"
}

case ${1-} in
    -h | --help)
        print_help
        exit 0
        ;;
esac

# wrong_usage <message>: prints the message and the script's usage, and exits with status 2.
wrong_usage() {
    printf '%s: %s\n' "${0##*/}" "$1" >&2
    print_help | grep '^Usage: ' >&2
    exit 2
}

# no_arguments <argument>...: for scripts that take none.
no_arguments() {
    [ "$#" -eq 0 ] || wrong_usage "unknown argument '$1'"
}

# Where the core's public headers are included from, and those of the bridges.
core_roots=(Export Pointer Filesystem Exception Hash Foundation IO)
bridge_roots=(Bridges/*/)
bridge_roots=("${bridge_roots[@]%/}")

# Prints the path of each of our sources and headers, with a zero byte after each.
our_sources() {
    find "${core_roots[@]}" Bridges tests examples bench soak fuzz -type f \( -name '*.h' -o -name '*.cpp' \) -print0
}

# quietly <headline> <command>...: prints one line, and the command's own output only if it fails.
quietly() {
    local headline=$1 log status=0
    shift
    log=$(mktemp)
    printf '%s ... ' "$headline"
    # Not in a condition: there, a function would continue after one of its commands has failed.
    set +e
    (set -e; "$@") >"$log" 2>&1
    status=$?
    set -e
    if [ "$status" -eq 0 ]; then
        printf 'done\n'
    else
        printf 'FAILED\n'
        cat -- "$log"
    fi
    rm -f -- "$log"
    return "$status"
}
