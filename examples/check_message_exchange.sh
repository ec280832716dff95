#!/usr/bin/env bash
# Checks message_exchange from outside. Usage: check_message_exchange.sh PROGRAM_DIRECTORY TEXT_FILE
text=$(realpath -- "$2")
# shellcheck source=examples/check_interrupted.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/check_interrupted.sh"
# shellcheck source=examples/check_common.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/check_common.sh"

: >empty
printf 'a\n\n\nlast' >lines
printf '\0\n\377\r\n\0' >binary
head -c 20000000 /dev/zero >long
succeed '^[1-9][0-9]* messages with .*, every answer was right$' message_exchange
succeed "^$(wc -l <"$text") messages with $(stat -c %s "$text") bytes" message_exchange "$text"
succeed '^0 messages with 0 bytes' message_exchange empty
succeed '^4 messages with 8 bytes' message_exchange lines
succeed '^3 messages with 6 bytes' message_exchange binary
succeed '^1 messages with 20000000 bytes' message_exchange long

# The log shows each step, and neither an error nor a warning at the end. A terminal shows progress.
run 0 message_exchange --verbose lines
grep -q ' bytes have been read' stderr
if grep '^[EW]' stderr; then false; fi
script -qec "'$bin/message_exchange' long" screen >stdout
grep -q '#\] 100 %' screen

mkfifo fifo
refuse 'none: .*: No such file or directory' message_exchange none
refuse 'tmp: is a directory' message_exchange tmp
refuse 'fifo: is not a regular file' message_exchange fifo
command_line message_exchange one two

yes '' | head -c 5M >endless || true
interrupt_all message_exchange endless
