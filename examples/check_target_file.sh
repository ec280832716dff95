#!/usr/bin/env bash
# Checks how the programs write their files. Usage: check_target_file.sh PROGRAM_DIRECTORY TEXT_FILE
text=$(realpath -- "$2")
# shellcheck source=examples/check_common.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/check_common.sh"

permissions() { stat -c '%a %u %g' -- "$1"; }

# fail_always <call> <command>...: runs a command in whose programs this call fails, see Faults/FailCalls.cpp.
fail_always() {
    export FAULT_ALWAYS=$1 LD_PRELOAD=$bin/kitio_fail_calls.so
    ASAN_OPTIONS="${ASAN_OPTIONS-}:verify_asan_link_order=0" "${@:2}"
    unset FAULT_ALWAYS LD_PRELOAD
}

pack() { succeed ' bytes' bit_pack pack "$text" "$1"; }

# make_files <yes or no: may this user give files away>: each written file has the right permissions.
make_files() {
    local mode
    for mode in 022 077 002 027; do
        (umask "$mode" && pack new && : >pattern)
        [ "$(permissions new)" = "$(permissions pattern)" ]
        rm new pattern
    done
    for mode in 4755 2711 1640 600 666; do
        echo before >old
        chmod "$mode" old
        pack old
        [ "$(permissions old)" = "$((mode % 1000)) $(id -u) $(id -g)" ]
    done
    if [ "$1" = yes ]; then
        chown 12345:23456 old
        chmod 4750 old
        pack old
        [ "$(permissions old)" = '750 12345 23456' ]
        rm old
    fi
}

refuse_close() {
    echo before >kept
    refuse 'kept: Input/output error' bit_pack pack "$text" kept
    [ "$(cat kept)" = before ]
    refuse 'new: Input/output error' bit_pack pack "$text" new
    refuse 'new: Input/output error' file_transfer "$text" new
    [ ! -e new ]
}

may_give=no
touch probe
chown 12345:23456 probe 2>/dev/null && may_give=yes
make_files "$may_give"
fail_always nameless make_files "$may_give"
fail_always close refuse_close

# If the user may not give files away, the group gets no more permissions than all others.
if [ "$may_give" = yes ] && command -v setpriv >/dev/null &&
    setpriv --reuid=65534 --regid=65534 --clear-groups test -x "$bin/bit_pack"; then
    chmod 755 .
    mkdir -m 777 shared
    cp "$text" shared/source
    while read -r before after; do
        echo before >shared/old
        chmod "$before" shared/old
        setpriv --reuid=65534 --regid=65534 --clear-groups "$bin/bit_pack" pack shared/source shared/old >stdout
        [ "$(permissions shared/old)" = "$after 65534 65534" ]
        rm shared/old
    done <<'END'
666 666
777 777
676 666
662 622
642 600
606 600
END
fi

# A link is followed to the file that it points to, whether that exists or not.
mkdir there
ln -s there/file link
ln -s link chain
ln -s "$PWD/there/absolute" far
for name in chain far link; do
    pack "$name"
    [ -L "$name" ]
done
[ -f there/file ] && [ -f there/absolute ]
ln -s round round
refuse 'Too many levels of symbolic links' bit_pack pack "$text" round
ln -s none/file nowhere
refuse 'none/file: No such file or directory' bit_pack pack "$text" nowhere

# The file has no name while it is written, so that nothing is left of it when both processes are killed.
truncate -s 1T endless
"$bin/file_transfer" endless target >stdout 2>stderr &
first=$!
second=
until [ -n "$second" ] && find "/proc/$second/fd" -lname "$PWD/*deleted*" 2>/dev/null | grep -q .; do
    kill -0 "$first"
    second=$(grep -lsx "PPid:[[:space:]]*$first" /proc/[0-9]*/status | cut -d / -f 3) || true
done
kill -STOP "$first"
kill -KILL "$second" "$first"
wait "$first" 2>/dev/null || true
[ -z "$(find . -name '*.part')" ]
