# shellcheck shell=bash
# Sourced by the checks of the examples, with the folder of the programs as the argument: goes into a folder of its own,
# which is removed at the end, and says where a check fails.
set -Eeuo pipefail

bin=$(cd -- "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'echo "FAILED in line $LINENO, called from ${BASH_LINENO[*]}: $BASH_COMMAND" >&2
    tail -n 20 "$work"/std* | cat -v | cut -c -500 >&2' ERR
cd "$work"
mkdir tmp
export TMPDIR=$work/tmp
ulimit -c 0

nothing_left() { [ -z "$(find . -path './tmp/*' -o -name '*.part')" ]; }

# run <exit status> <program> [<argument>...]: it ends with this status, and nothing is left behind.
run() {
    local status=0
    timeout 100 "$bin/$2" "${@:3}" >stdout 2>stderr || status=$?
    [ "$status" -eq "$1" ]
    nothing_left
}

# succeed <text> <program> [<argument>...]: it prints the text, and not a word on stderr.
succeed() {
    run 0 "${@:2}"
    grep -q -- "$1" stdout
    [ ! -s stderr ]
}

# refuse <text> <program> [<argument>...]: it prints the text in the only line on stderr, and not a word on stdout.
refuse() {
    run 1 "${@:2}"
    grep -q -- "$1" stderr
    [ "$(wc -l <stderr)" -eq 1 ]
    [ ! -s stdout ]
}

# made_up: files that the system makes up as they are read, with a size that reads as 0.
made_up() {
    local file
    for file in /proc/filesystems /proc/crypto; do
        [ ! -r "$file" ] || echo "$file"
    done
}

# command_line <program> <argument>...: it has help and refuses an unknown option and these arguments.
command_line() {
    run 0 "$1" --help
    grep -q '^Usage: ' stdout
    [ "$(wc -L <stdout)" -le 80 ]
    local arguments
    for arguments in --unknown "${*:2}"; do
        # shellcheck disable=SC2086 # each word is an argument
        run 2 "$1" $arguments
        [ "$(wc -l <stderr)" -eq 1 ]
        [ ! -s stdout ]
    done
}
