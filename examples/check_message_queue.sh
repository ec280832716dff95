#!/usr/bin/env bash
# Checks message_queue from outside. Usage: check_message_queue.sh PROGRAM_DIRECTORY
# shellcheck source=examples/check_common.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/check_common.sh"

succeed '^1000 messages arrived in order$' message_queue
command_line message_queue too_much
