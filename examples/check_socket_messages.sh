#!/usr/bin/env bash
# Checks socket_messages from outside. Usage: check_socket_messages.sh PROGRAM_FOLDER TEXT_FILE
text=$(realpath -- "$2")
# shellcheck source=examples/check_common.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/check_common.sh"

# listen <address> [<option>...]: starts the program that listens; $address is where it can be reached.
listen() {
    : >listening
    timeout 100 "$bin/socket_messages" "$@" >listening 2>complaint &
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

# Addresses that are none.
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

# Only this user may connect. A listener that was killed leaves its file, which the next one replaces. One that lives is
# not replaced and does not notice, and neither is a file of another kind.
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

# Clients that say nothing, or only a part of a message, keep nobody out.
listen tcp:127.0.0.1:0 --patience 1
exec 5<>"/dev/tcp/127.0.0.1/${address##*:}"
exec 6<>"/dev/tcp/127.0.0.1/${address##*:}"
printf '\4\0\0' >&6
succeed 'every answer was right$' socket_messages "$address" "$text"
ends 0 'messages answered$'
exec 5>&- 6>&-
command_line socket_messages
