#!/usr/bin/env bash
# Checks file_transfer from outside. Usage: check_file_transfer.sh PROGRAM_DIRECTORY TEXT_FILE
text=$(realpath -- "$2")
# shellcheck source=examples/check_interrupted.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/check_interrupted.sh"
# shellcheck source=examples/check_common.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/check_common.sh"

: >empty
head -c 262144 /dev/urandom >piece  # one full message
head -c 5000001 /dev/urandom >pieces
for source in empty piece pieces "$text" "$bin/file_transfer"; do
    succeed "^$(stat -L -c %s "$source") bytes in " file_transfer "$source" target
    cmp "$source" target
    md5sum target | cmp - <(head -n 1 stdout)
done
for source in $(made_up); do
    succeed "^$(wc -c <"$source") bytes in " file_transfer "$source" target
    cmp "$source" target
done
cp pieces target
chmod 640 target
ln -s target link
succeed '  link$' file_transfer pieces link
cmp pieces target
[ -L link ]
[ "$(stat -c %a target)" -eq 640 ]

refuse 'none: .*: No such file or directory' file_transfer none target
refuse 'tmp: is a directory' file_transfer tmp target
refuse 'tmp: is a directory' file_transfer piece tmp
mkfifo fifo
refuse 'fifo: is not a regular file' file_transfer fifo target
refuse '/dev/full: is not a regular file' file_transfer piece /dev/full
refuse 'none/.*: No such file or directory' file_transfer piece none/target
refuse 'are the same file' file_transfer target link
(
    ulimit -f 1000
    refuse 'ended by a signal: File size limit' file_transfer pieces target
    trap '' XFSZ  # otherwise the limit ends the receiver
    refuse 'target: File too large' file_transfer pieces target
)
command_line file_transfer one

truncate -s 1T endless
interrupt_all file_transfer endless target
cmp pieces target
