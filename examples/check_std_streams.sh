#!/usr/bin/env bash
# Checks std_streams from outside. Usage: check_std_streams.sh PROGRAM_DIRECTORY TEXT_FILE
text=$(realpath -- "$2")
# shellcheck source=examples/check_common.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/check_common.sh"

filter() { timeout 100 "$bin/std_streams"; }

# complain <text>: the filter fails with its present input and output, and one line on stderr, which has the text.
complain() {
    local status=0
    filter 2>stderr || status=$?
    [ "$status" -eq 1 ]
    grep -q -- "$1" stderr
    [ "$(wc -l <stderr)" -eq 1 ]
}

: >empty
printf '\n\nlast\0' >ragged
head -c 300000 /dev/urandom >random
for file in empty ragged random "$text" "$bin/std_streams"; do
    cat -n "$file" >expected
    run 0 std_streams <"$file"
    [ ! -s stderr ]
    cmp stdout expected
    # shellcheck disable=SC2002 # this tests a pipe
    cat "$file" | filter | cmp - expected
done

# Each line comes back before the next one is written.
mkfifo to from
filter <to >from &
exec 6>to 7<from
for line in one two; do
    echo "$line" >&6
    read -r -t 60 number answer <&7
    echo "$number $answer"
done >answers
printf '1 one\n2 two\n' | cmp - answers
exec 6>&-
wait $!

# A named pipe whose writer has gone.
mkfifo fifo
exec 8<>fifo
exec 9<fifo
echo left >&8
exec 8>&-
run 0 std_streams <&9
printf '     1\tleft\n' | cmp - stdout

# When its reader goes, the filter ends as others do: by the signal, without a message.
{ yes || true; } | { filter 2>stderr || echo $? >status; } | head -n 1 | grep -q y
[ "$(cat status)" -eq 141 ]
[ ! -s stderr ]

# In a group of commands the next one continues where the filter has stopped.
{
    filter
    cat
    echo after
} <"$text" >group
{
    cat -n "$text"
    echo after
} | cmp - group

echo before >log
complain 'standard output is a file that is not empty' <"$text" >>log
[ "$(cat log)" = before ]
{
    read -r _
    complain 'standard input is a file that is not at its start' >out
} <ragged
complain 'standard input is closed' <&- >out
complain 'standard output is closed' <"$text" >&-
complain 'standard output: .*No space left on device' <"$text" >/dev/full
complain 'standard input: .*Is a directory' <tmp >out
[ ! -s out ]

run 0 std_streams --verbose <"$text"
grep -q ' bytes have been written' stderr
command_line std_streams argument
