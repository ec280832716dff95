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

for command in scripts/{bench,bootstrap,check-abi,check-consumers,check-headers,coverage,demo,docs,fail-examples} \
    scripts/{follow-page,format,fuzz,package,soak,test,tidy} "$@"; do
    help=$(timeout 20 "$command" --help) || fail "$command --help fails"
    grep -qi '^usage: ' <<<"$help" || fail "$command --help prints no usage"
    [ "$(wc -L <<<"$help")" -le 80 ] || fail "$command --help has a line over 80 columns"
done

# Those that pass unknown options on to another program are not among these.
for command in scripts/{bootstrap,check-abi,check-consumers,check-headers,coverage,demo,docs,fail-examples,follow-page} \
    scripts/{format,fuzz,package} "$@"; do
    status=0
    message=$(timeout 20 "$command" --no-such-option 2>&1) || status=$?
    [ "$status" -eq 2 ] || fail "$command --no-such-option exits with status $status"
    grep -qi '^usage: ' <<<"$message" || fail "$command --no-such-option prints no usage"
done
