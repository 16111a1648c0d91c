#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# program_man.sh PROGRAM PAGE: the program's man page is well formed and knows every option that --help
# lists and the version.
#
# shellcheck disable=SC2317  # much is called by way of check
set -euo pipefail

program=$1
page=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../packaging" && pwd)/man/$2
# shellcheck source=tests/support/check.sh
. "$(dirname "${BASH_SOURCE[0]}")/../support/check.sh"

is_silent() {
    local output
    output=$("$@" 2>&1 >/dev/null)
    [ -z "$output" ] || { echo "$output" && false; }
}

contains() { grep -qE -- "$2" <<<"$1"; }

check "mandoc has no complaint" mandoc -T lint -W warning "$page"
check "groff has no warning" is_silent man --warnings -E UTF-8 -Tutf8 -Z -l "$page"
check "the version is the program's" grep -qF "\"$("$program" --version)\"" "$page"
text=$(MANWIDTH=100 man -E UTF-8 -l "$page" | col -bx)
mapfile -t options < <("$program" --help | sed -nE 's/^  (-[a-z], )?(-[a-z-]*)[ =].*/\2/p')
check "there are options" [ "${#options[@]}" -ge 5 ]
for option in "${options[@]}"; do
    check "the page describes $option" contains "$text" "^ +(-[a-z], )?$option( |\$)"
done
exit "$((failures > 0))"
