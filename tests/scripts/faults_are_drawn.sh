#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# What scripts/mutate.sh draws: the same faults for the same seed, and faults of code only.
#
# The functions are called by way of check.
# shellcheck disable=SC2317
set -uo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
# shellcheck source=tests/support/check.sh
. "$root/tests/support/check.sh"

drawn() {
    "$root/scripts/mutate.sh" --list "$@"
}

# A source with one fault on each line that has code, and what becomes of these lines.
cat >"$folder/source.cpp" <<'END'
#include "number 1.h"
// 2 == 3, true
/* if (a == b)
   foo(); */
static_assert(sizeof(int) == 4);
    Messages::debug({u"only in the log"_s, name});
    virtual void pure() = 0;
    const bool isSame = one == other;
    return !isEmpty;
    constexpr int few = 7;
    constexpr int many = 65'536;
    wait(500ms);
    const QString text = u"text // no comment"_s;
    const QChar sign = u';';
    socket->write(answer,
                  size);
    emit done();
END
cat >"$folder/expected" <<'END'
6 Messages::debug({u"only in the log"_s, name}); -> ;
8 == -> !=
9 ! -> 
10 7 -> 8
11 65'536 -> 131072
12 500 -> 1000
12 wait(500ms); -> ;
13 "text // no comment" -> ""
14 ';' -> '~'
15 socket->write(answer, size); -> ;
17 emit done(); -> ;
END

faults_of_the_source() {
    python3 -B - "$root/scripts" "$folder/source.cpp" <<'END'
import pathlib, sys
sys.path.insert(0, sys.argv[1])
import mutants
text = pathlib.Path(sys.argv[2]).read_text()
for fault in mutants.faults_of("source.cpp", text):
    print(fault.line, " ".join(fault.old.split()), "->", fault.new)
    assert fault.applied_to(text).count("\n") == text.count("\n")
END
}

faults_are_those_expected() {
    faults_of_the_source | sort -n | diff "$folder/expected" -
}

seeds_repeat() {
    diff <(drawn --seed 1) <(drawn --seed 1)
}

seeds_differ() {
    ! diff -q <(drawn --seed 1 | tail -n +2) <(drawn --seed 2 | tail -n +2) >/dev/null
}

count_is_heeded() {
    [ "$(drawn --seed 1 --count 7 | grep -c '^[0-9]')" -eq 7 ]
}

only_one_is_chosen() {
    diff <(drawn --seed 1 --only 3 | grep -A2 '^3\.') <(drawn --seed 1 | grep -A2 '^3\.')
}

check "a source has the faults that are expected" faults_are_those_expected
check "a seed draws the same faults again" seeds_repeat
check "another seed draws others" seeds_differ
check "--count sets how many are drawn" count_is_heeded
check "--only takes one of them" only_one_is_chosen
exit "$((failures > 0))"
