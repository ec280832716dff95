#!/usr/bin/env bash
# Checks socket_messages from outside. Usage: check_socket_messages.sh PROGRAM_DIRECTORY TEXT_FILE
text=$(realpath -- "$2")
# shellcheck source=examples/check_common.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/check_common.sh"

# listen <address> [<option>...]: starts a listener and sets $address to where clients can reach it.
listen() {
    : >listening
    timeout 100 "$bin/socket_messages" "$@" >listening 2>complaint &
    listener=$!
    until address=$(grep -o '[a-z]*:.*' listening); do
        kill -0 "$listener"
        sleep 0.01
    done
}
# ends <exit status> <text>: waits for the listener, which must exit with this status and print the text.
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

# A line that is too long; then peers that have the other byte order, are killed while they write, or just leave.
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

# Wrong addresses.
while read -r wrong reason; do
    run 2 socket_messages "$wrong"
    grep -q -- "$reason" stderr
    [ "$(wc -l <stderr)" -eq 1 ]
    [ ! -s stdout ]
done <<'END'
nowhere                 nowhere: neither unix:PATH nor tcp:HOST:PORT
tcp:localhost           neither unix:PATH nor tcp:HOST:PORT
tcp:localhost:99999     the port is not a number from 0 to 65535
tcp:localhost:65536     the port is not a number from 0 to 65535
tcp:localhost:-1        the port is not a number from 0 to 65535
tcp:localhost:          the port is not a number from 0 to 65535
tcp:localhost:http      the port is not a number from 0 to 65535
unix:                   has no path
END

# Only this user may connect. A listener that was killed leaves its file, which the next one replaces. The file of a
# running listener, which does not notice the attempt, and a file of another kind are not replaced.
stop() {
    kill "-$1" "$listener"
    wait "$listener" 2>/dev/null || true
}
for place in socket "$PWD/socket"; do
    : >listening
    (umask 0 && exec "$bin/socket_messages" "unix:$place" >listening 2>complaint) &
    listener=$!
    until [ -s listening ]; do
        kill -0 "$listener"
        sleep 0.01
    done
    [ "$(stat -c %a socket)" = 600 ]
    stop KILL
    [ -S socket ]
    : >listening
    listen "unix:$place"
    refuse 'Address already in use' socket_messages "unix:$place"
    succeed 'every answer was right$' socket_messages "$address" "$text"
    ends 0 'messages answered$'
    [ ! -e socket ]
done
echo kept >file
refuse 'Address already in use' socket_messages unix:file
[ "$(cat file)" = kept ]

# Clients that send nothing, or only a part of a message, do not block others.
listen tcp:127.0.0.1:0 --timeout 1
exec 5<>"/dev/tcp/127.0.0.1/${address##*:}"
exec 6<>"/dev/tcp/127.0.0.1/${address##*:}"
printf '\4\0\0' >&6
succeed 'every answer was right$' socket_messages "$address" "$text"
ends 0 'messages answered$'
exec 5>&- 6>&-
command_line socket_messages
