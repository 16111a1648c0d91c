#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# hardening.sh [PROGRAM...]: what the preset "release" builds is hardened. It builds the smallest
# program, and looks at the commands for the others. Programs that are named are looked at too.
#
# shellcheck disable=SC2317  # much is called by way of check
set -uo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$(mktemp -d)
trap 'rm -rf "$build"' EXIT
# shellcheck source=tests/support/check.sh
. "$(dirname "${BASH_SOURCE[0]}")/../support/check.sh"

# has WORD COMMAND...: what it prints has the word in it.
has() {
    local word=$1
    shift
    "$@" 2>&1 | grep -E -- "$word" >/dev/null
}
lacks() { ! has "$@"; }

# is_hardened PROGRAM
is_hardened() {
    local name=${1##*/}
    check "$name can be anywhere in memory" has 'Type: +DYN' readelf -hW "$1"
    check "$name makes its tables read-only" has GNU_RELRO readelf -lW "$1"
    check "$name resolves all symbols at its start" has 'BIND_NOW|Flags: NOW' readelf -dW "$1"
    check "$name has a stack" has GNU_STACK readelf -lW "$1"
    check "$name cannot run code on its stack" lacks 'GNU_STACK.*E' readelf -lW "$1"
    check "$name guards its stack" has __stack_chk_fail readelf --dyn-syms -W "$1"
    check "$name checks the sizes of its buffers" has '__[a-z]+_chk' readelf --dyn-syms -W "$1"
}

# commands_are_hardened PROGRAM SOURCE: those that compile the source and link the program.
commands_are_hardened() {
    local compile link flag
    compile=$(ninja -C "$build" -t commands "$1" | grep -F -- "-c $root/$2")
    link=$(ninja -C "$build" -t commands "$1" | tail -n 1)
    for flag in -D_FORTIFY_SOURCE=2 -fstack-protector-strong -fstack-clash-protection; do
        check "$2 is compiled with $flag" has "$flag" echo "$compile"
    done
    if [ "$(uname -m)" = x86_64 ]; then
        check "$2 is compiled with -fcf-protection" has -fcf-protection echo "$compile"
    fi
    check "$2 can be anywhere in memory" has ' -fPI[CE]' echo "$compile"
    for flag in -pie -z,relro -z,now -z,noexecstack; do
        check "$1 is linked with $flag" has "$flag" echo "$link"
    done
}

cd "$root" || exit 1
check "the preset is configured" \
    cmake --preset release -B "$build" -DVORNA_BUILD_BENCH=OFF --log-level=ERROR
check "the guard is built" ninja -C "$build" --quiet VornaServer-guard
is_hardened "$build/VornaServer-guard"
commands_are_hardened VornaServer src/app/main.cpp
commands_are_hardened quillmote client/program/main.cpp
commands_are_hardened VornaServer-guard src/platform/linux/input/InputGuardProgram.cpp
if [ "$(uname -m)" = x86_64 ]; then
    object=$(find "$build" -name InputGuardProgram.cpp.o)
    check "jumps go to marked places only" has 'IBT, SHSTK' readelf -nW "$object"
fi
for program in "$@"; do
    is_hardened "$program"
done
exit "$((failures > 0))"
