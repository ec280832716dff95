#!/usr/bin/env bash
# Checks the help of scripts and programs. Usage: check_help.sh PROGRAM...
#
# --help must print a summary and a usage line, none of them over 80 columns, and nothing else may happen: a script that
# ignored it would start its work. An unknown option must print the usage and exit with status 2.
set -euo pipefail
cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.."

fail() {
    printf 'check_help: %s\n' "$*" >&2
    exit 1
}

mapfile -t scripts < <(find scripts -type f -perm -u+x | sort)
[ "${#scripts[@]}" -gt 0 ] || fail 'there are no scripts'

for command in "${scripts[@]}" "$@"; do
    help=$(timeout 20 "$command" --help) || fail "$command --help fails"
    grep -qi '^usage: ' <<<"$help" || fail "$command --help prints no usage"
    [ "$(wc -L <<<"$help")" -le 80 ] || fail "$command --help has a line over 80 columns"
done

for command in "${scripts[@]}" "$@"; do
    case $command in
        scripts/bench | scripts/soak | scripts/test | scripts/tidy) continue ;;  # they pass it on to another program
    esac
    status=0
    message=$(timeout 20 "$command" --no-such-option 2>&1) || status=$?
    [ "$status" -eq 2 ] || fail "$command --no-such-option exits with status $status"
    grep -qi '^usage: ' <<<"$message" || fail "$command --no-such-option prints no usage"
done
