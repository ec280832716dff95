# shellcheck shell=bash
# Sourced, with check_common.sh, by the checks of the programs that start a second process.

# For builds with ThreadSanitizer: a process that ends because the other one has gone does not wait for its channel's
# thread.
TSAN_OPTIONS="${TSAN_OPTIONS-} report_thread_leaks=0"
TSAN_OPTIONS+=" suppressions='$(realpath -- "$(dirname -- "${BASH_SOURCE[0]}")")/tsan_suppressions.txt'"
export TSAN_OPTIONS

# eventually <command> [<argument>...]: waits, at most a minute, until the command succeeds.
eventually() {
    local deadline=$((SECONDS + 60))
    until "$@"; do
        [ "$SECONDS" -lt "$deadline" ]
        sleep 0.01
    done
}

has_child() { child=$(grep -lsx "PPid:[[:space:]]*$1" /proc/[0-9]*/status | cut -d / -f 3) && [ -n "$child" ]; }
no_pipes() { [ -z "$(ls -A tmp)" ]; }
is_gone() { [ ! -e "/proc/$1/status" ] || grep -qs '^State:[[:space:]]*Z' "/proc/$1/status"; }

# interrupt <moment> <victim> <signal> <exit status> <program> <argument>...: sends the signal to the first or second
# process, at_once or when_connected. Both end, the program exits with this status, and no file is left behind.
interrupt() {
    local status=0 child=''
    "$bin/$5" "${@:6}" >stdout 2>stderr &
    local first=$!
    eventually has_child "$first"
    local second=$child
    [ "$1" = at_once ] || eventually no_pipes
    kill "-$3" "${!2}"
    wait "$first" 2>/dev/null || status=$?
    eventually is_gone "$second"
    [ "$status" -eq "$4" ]
    [ ! -s stdout ]
    nothing_left
}

# interrupt_stuck <signal> <program> <argument>...: both end even if nothing reads their error messages.
interrupt_stuck() {
    local status=0 child=''
    mkfifo full
    exec 8<>full
    dd if=/dev/zero of=full bs=4096 count=100 oflag=nonblock status=none 2>/dev/null || true
    "$bin/$2" "${@:3}" >stdout 2>full 8>&- &
    local first=$!
    eventually has_child "$first"
    kill -KILL "$child"
    eventually is_gone "$child"
    kill "-$1" "$first"
    wait "$first" 2>/dev/null || status=$?
    exec 8>&-
    rm full
    [ "$status" -eq 1 ] || [ "$status" -eq $((128 + $(kill -l "$1"))) ]
    nothing_left
}

# interrupt_all <program> <argument>...: interrupts it in all ways. Its work must take longer than the check.
interrupt_all() {
    local moment signal
    for moment in at_once when_connected; do
        for signal in KILL TERM; do
            interrupt "$moment" second "$signal" 1 "$@"
            grep -q 'the second process was ended by a signal: ' stderr
        done
        for signal in HUP INT QUIT TERM; do
            interrupt "$moment" first "$signal" $((128 + $(kill -l "$signal"))) "$@"
        done
        for signal in HUP INT QUIT; do  # passed on by the second one
            interrupt "$moment" second "$signal" $((128 + $(kill -l "$signal"))) "$@"
        done
        interrupt "$moment" first KILL 137 "$@"
        grep -q 'the first process is gone' stderr
    done
    for signal in INT TERM; do
        interrupt_stuck "$signal" "$@"
    done
}
