#!/usr/bin/env bash
# Checks safe_pipes from outside. Usage: check_safe_pipes.sh PROGRAM_DIRECTORY
# shellcheck source=examples/check_common.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/check_common.sh"

succeed '^500 senders that are killed within a message mix none' safe_pipes
command_line safe_pipes too_much
