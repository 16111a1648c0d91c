#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# Runs each row of some functions of a test in a process of its own, all of them at once. For rows
# that wait nearly all of their time. Shows what each of them says; those that failed come last.
#
# Usage: rows_at_once.sh TEST FUNCTION...
set -euo pipefail

test=$1
shift

# The server gives a program that answers nothing a second to read; on a busy machine the other tests
# would use it up. This takes privileges, and is left out without them.
renice -n -10 -p $$ >/dev/null 2>&1 || true

logs=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$logs"' EXIT

rows=()
for function in "$@"; do
    mapfile -t tags < <("$test" "$function" -datatags | sed -n "s/^[^ ]* $function //p")
    if [ ${#tags[@]} -eq 0 ]; then
        echo "$function has no rows." >&2
        exit 1
    fi
    rows+=("${tags[@]/#/$function:}")
done

processes=()
for number in "${!rows[@]}"; do
    "$test" "${rows[number]}" >"$logs/$number" 2>&1 &
    processes+=($!)
done

failed=()
for number in "${!rows[@]}"; do
    if wait "${processes[number]}"; then
        cat "$logs/$number"
    else
        failed+=("$number")
    fi
done
for number in "${failed[@]}"; do
    cat "$logs/$number"
done
for number in "${failed[@]}"; do
    echo "Failed: ${rows[number]}"
done
echo "$((${#rows[@]} - ${#failed[@]})) of ${#rows[@]} rows passed."
[ ${#failed[@]} -eq 0 ]
