# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# Sourced by the tests that are shell programs.
failures=0

# check WHAT COMMAND...: counts a failure, and says what should have held, when the command fails.
check() {
    local what=$1
    shift
    "$@" && return
    echo "FAIL: $what"
    failures=$((failures + 1))
}
