#!/usr/bin/env bash
# Checks silent_peer from outside. Usage: check_silent_peer.sh PROGRAM_DIRECTORY
# shellcheck source=examples/check_common.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/check_common.sh"

succeed '^socket: ended within [0-9]* ms' silent_peer
grep -q '^pipe: ended within [0-9]* ms' stdout
command_line silent_peer too_much
