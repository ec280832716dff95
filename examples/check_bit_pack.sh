#!/usr/bin/env bash
# Checks bit_pack from outside. Usage: check_bit_pack.sh PROGRAM_DIRECTORY TEXT_FILE
text=$(realpath -- "$2")
# shellcheck source=examples/check_common.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/check_common.sh"

size() { stat -c %s -- "$1"; }

# round_trip <file> <most bytes>: packs the file into at most that many bytes and unpacks it unchanged.
round_trip() {
    succeed " $(size "$1") bytes" bit_pack pack "$1" packed
    [ "$(size packed)" -le "$2" ]
    succeed " $(size "$1") bytes" bit_pack unpack packed unpacked
    cmp "$1" unpacked
}

# refuse_packed <text>: the file "packed" is refused, and the file that it would replace is unchanged.
refuse_packed() {
    refuse "packed: $1" bit_pack unpack packed kept
    [ "$(cat kept)" = before ]
}

# flip <position> <bit>: changes one bit of the file "packed".
flip() {
    local byte
    byte=$(od -An -tu1 -j "$1" -N 1 packed)
    printf '%b' "$(printf '\\x%x' $((byte ^ 1 << $2)))" | dd of=packed bs=1 seek="$1" conv=notrunc status=none
}

: >empty
head -c 100000 /dev/zero >same
head -c 100000 /dev/urandom >random
printf '%b' "$(printf '\\x%x' {0..255})" >every
round_trip empty 60
round_trip same $((100000 / 8 + 70))
round_trip random $((100000 + 300))
round_trip every $((256 + 300))
round_trip "$text" $(($(size "$text") * 3 / 4))
round_trip "$bin/bit_pack" "$(size "$bin/bit_pack")"
for file in $(made_up); do
    cat "$file" >expected
    succeed ": $(size expected) bytes; " bit_pack pack "$file" packed
    succeed " $(size expected) bytes" bit_pack unpack packed unpacked
    cmp expected unpacked
done
cp "$text" in_place
succeed in_place bit_pack pack in_place in_place
succeed in_place bit_pack unpack in_place in_place
cmp "$text" in_place

# A packed file written by hand: magic number, size, digest; 97 values that do not occur, "a" and "b" with codes of one
# bit, 157 that do not occur; the codes 0, 0, 1; a zero.
printf aab >aab
{
    printf 'KBP1\0\0\0\0\0\0\0\3'
    printf '\xe6\x25\x95\xee\x98\xb5\x85\x15\x3d\xac\x87\xce\x1a\xb6\x9c\x3c'
    printf '\0\0\0\0\0\0\0\0\0\0\0\0\x41\x82\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x02'
} >sound
round_trip aab 62
cmp packed sound

echo before >kept
for length in 0 3 4 11 12 27 28 40 41 61; do  # in each field of "sound"
    [ "$length" -lt 4 ] && complaint='was not packed by bit_pack' || complaint='is damaged or cut off'
    head -c "$length" sound >packed
    refuse_packed "$complaint"
    cp sound packed
    flip "$length" $((length % 8))
    refuse_packed "$complaint"
done
{ cat sound; printf '\0'; } >packed
refuse_packed 'is damaged or cut off'
cp "$text" packed
refuse_packed 'was not packed by bit_pack'

refuse 'none: .*: No such file or directory' bit_pack pack none out
refuse 'tmp: is a directory' bit_pack pack tmp out
refuse 'tmp: is a directory' bit_pack pack aab tmp
mkfifo fifo
refuse 'fifo: is not a regular file' bit_pack pack fifo out
refuse '/dev/full: is not a regular file' bit_pack pack aab /dev/full
refuse 'none/.*: No such file or directory' bit_pack pack aab none/out
refuse 'neither pack nor unpack' bit_pack shrink aab out
(
    trap '' XFSZ  # otherwise the limit ends the program
    ulimit -f 10
    refuse 'kept: ' bit_pack pack random kept
)
[ "$(cat kept)" = before ]
[ ! -e out ]
command_line bit_pack pack aab
