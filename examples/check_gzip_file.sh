#!/usr/bin/env bash
# Checks gzip_file from outside. Usage: check_gzip_file.sh PROGRAM_DIRECTORY TEXT_FILE
text=$(realpath -- "$2")
# shellcheck source=examples/check_common.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/check_common.sh"

: >empty
head -c 1000000 /dev/urandom >random
for file in empty random "$text"; do
    run 0 gzip_file compress "$file" packed
    gzip -dc packed | cmp - "$file"
    gzip -c "$file" | cat - packed >twice  # a gzip file may have several parts
    run 0 gzip_file expand twice unpacked
    cat "$file" "$file" | cmp - unpacked
done

for file in $(made_up); do
    run 0 gzip_file compress "$file" packed_too
    gzip -dc packed_too | cmp - "$file"
done

for length in 5 20 $(($(stat -c %s packed) - 1)); do
    head -c "$length" packed >short
    refuse 'short: is not compressed by gzip, or damaged' gzip_file expand short out
done
refuse 'is not compressed by gzip, or damaged' gzip_file expand "$text" out
refuse 'none: .*: No such file or directory' gzip_file compress none out
mkfifo fifo
refuse 'fifo: is not a regular file' gzip_file compress fifo out
refuse 'tmp: is a directory' gzip_file compress tmp out
refuse 'neither compress nor expand' gzip_file shrink empty out
(
    trap '' XFSZ  # otherwise the limit ends the program
    ulimit -f 10
    refuse 'out: ' gzip_file compress random out
)
[ ! -e out ]
command_line gzip_file compress empty
