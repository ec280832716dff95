# shellcheck shell=bash
# Sourced by the other scripts: goes to the repository's root, from wherever the script was called.
cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." || exit

# Where the core's public headers are included from, and those of the bridges.
core_roots=(Export Pointer Filesystem Exception Hash Foundation IO)
bridge_roots=(Bridges/*/)
bridge_roots=("${bridge_roots[@]%/}")

# Prints a path for each file of ours that a compiler reads, each ended by a zero byte.
our_sources() {
    find "${core_roots[@]}" Bridges tests examples bench soak fuzz -type f \( -name '*.h' -o -name '*.cpp' \) -print0
}

# quietly <headline> <command>...: shows one line; the command's own output only when it fails.
quietly() {
    local headline=$1 log status=0
    shift
    log=$(mktemp)
    printf '%s ... ' "$headline"
    # Not as a part of a condition: there, a function would go on after a command of it has failed.
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
