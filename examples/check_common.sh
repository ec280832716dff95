# shellcheck shell=bash
# Sourced by the checks of the examples, with the programs' directory as the argument. Changes to a temporary directory,
# which is removed at the end, and reports where a check fails.
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

# run <exit status> <program> [<argument>...]: exits with this status and leaves no file behind.
run() {
    local status=0
    timeout 100 "$bin/$2" "${@:3}" >stdout 2>stderr || status=$?
    [ "$status" -eq "$1" ]
    nothing_left
}

# succeed <text> <program> [<argument>...]: prints the text, and nothing on stderr.
succeed() {
    run 0 "${@:2}"
    grep -q -- "$1" stdout
    [ ! -s stderr ]
}

# refuse <text> <program> [<argument>...]: fails with one line on stderr, which has the text, and prints nothing else.
refuse() {
    run 1 "${@:2}"
    grep -q -- "$1" stderr
    [ "$(wc -l <stderr)" -eq 1 ]
    [ ! -s stdout ]
}

# made_up: lists files that the system generates as they are read. They report the size 0.
made_up() {
    local file
    for file in /proc/filesystems /proc/crypto; do
        [ ! -r "$file" ] || echo "$file"
    done
}

# command_line <program> <argument>...: has help within 80 columns, and refuses an unknown option and these arguments.
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
