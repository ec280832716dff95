#!/usr/bin/env bash
# Checks socket_messages from outside. Usage: check_socket_messages.sh PROGRAM_FOLDER TEXT_FILE
text=$(realpath -- "$2")
# shellcheck source=examples/check_common.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/check_common.sh"

# listen <address>: starts the program that listens; $address is where it can be reached.
listen() {
    : >listening
    timeout 100 "$bin/socket_messages" "$1" >listening 2>complaint &
    listener=$!
    until address=$(grep -o '[a-z]*:.*' listening); do
        kill -0 "$listener"
        sleep 0.01
    done
}
# ends <exit status> <text>: so does the one that listens.
ends() {
    local status=0
    wait "$listener" || status=$?
    [ "$status" -eq "$1" ]
    grep -q -- "$2" listening complaint
}

for place in unix:socket tcp:127.0.0.1:0; do
    listen "$place"
    succeed "^$(wc -l <"$text") messages, every answer was right$" socket_messages "$address" "$text"
    ends 0 "^$(wc -l <"$text") messages answered$"
    [ ! -e socket ]
done

# A line that is too long; then what peers say that are of the other byte order, killed while they write, or just gone.
head -c 1000000 /dev/zero >long
listen unix:socket
refuse 'the other side is gone' socket_messages "$address" long
ends 1 'sends too long a message$'
while read -r bytes reason; do
    listen tcp:127.0.0.1:0
    printf '%b' "$bytes" >"/dev/tcp/127.0.0.1/${address##*:}"
    ends 1 "$reason"
done <<'END'
\0\0\0\0\0\0\0\4abcd   sends too long a message$
\4\0\0\0\0\0\0\0abc    gone within a message$
\4\0\0                  gone within a message$
\c                      the other side is gone$
END

refuse 'No such file or directory' socket_messages unix:none "$text"
refuse 'none: .*: No such file or directory' socket_messages unix:none none
refuse 'nowhere: neither' socket_messages nowhere
command_line socket_messages
