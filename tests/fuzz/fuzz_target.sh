#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# fuzz_target.sh PROGRAM SECONDS [FOUND]
#
# Runs one target: with 0 seconds on each file of its corpus, else for so long on what libFuzzer makes
# of them. What opens new ways through the code goes into the folder FOUND and is used the next time;
# without FOUND it is forgotten. An input that shows a fault is printed and kept beside the program.
set -euo pipefail

program=$(realpath "$1")
seconds=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
name=$(basename "$program")
name=${name#fuzz_}
faults=$(dirname "$program")/faults
# Fewer runs than this in the time given would show nothing.
fewest_runs=200

scratch=$(mktemp -d -p "$([ -w /dev/shm ] && echo /dev/shm || echo "${TMPDIR:-/tmp}")" vorna-XXXXXX)
trap 'rm -rf "$scratch"' EXIT
found=${3:-$scratch/found}
mkdir -p "$faults" "$found" "$scratch/tmp" "$scratch/run"
chmod 700 "$scratch/run"

# No desktop, no bus and no settings but the target's own.
export HOME=$scratch TMPDIR=$scratch/tmp XDG_RUNTIME_DIR=$scratch/run XDG_CONFIG_HOME=$scratch/config
export DISPLAY='' WAYLAND_DISPLAY='' QT_QPA_PLATFORM=offscreen QT_LOGGING_RULES='' LC_ALL=C.UTF-8
export DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent
export LSAN_OPTIONS=suppressions=$here/../lsan.supp:print_suppressions=0
export UBSAN_OPTIONS=print_stacktrace=1 ASAN_OPTIONS=detect_stack_use_after_return=1

corpus=("$here/corpus/$name"/*)
[ -f "${corpus[0]}" ] || { echo "There is no corpus for $name." >&2 && exit 1; }
options=(-timeout=10 -rss_limit_mb=2048 -artifact_prefix="$faults/$name-")
if [ "$seconds" -eq 0 ]; then
    inputs=("${corpus[@]}")
else
    options+=(-max_total_time="$seconds" -print_final_stats=1 -dict="$here/$name.dict")
    inputs=("$found" "$here/corpus/$name")
fi

touch "$scratch/begin"
status=0
# One line for each step of its way is too much to read.
"$program" "${options[@]}" "${inputs[@]}" 2>&1 | tee "$scratch/log" |
    grep -v -E '^#[0-9]+[[:space:]]+(NEW|REDUCE|pulse|RELOAD)' || status=$?

# The input that the program ended with.
faulty_input() {
    if [ "$seconds" -eq 0 ]; then
        sed -n 's/^Running: //p' "$scratch/log" | tail -n 1
    else
        find "$faults" -newer "$scratch/begin" -name "$name-*"
    fi
}

if [ "$status" -ne 0 ]; then
    faulty_input | while read -r fault; do
        printf '\nThe input, %s:\n' "$fault"
        od -A d -t x1z "$fault"
        echo "Again: QT_QPA_PLATFORM=offscreen $program $fault"
    done
    exit "$status"
fi
if [ "$seconds" -eq 0 ]; then
    runs=$(grep -c '^Executed ' "$scratch/log" || true)
    fewest_runs=${#corpus[@]}
else
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$scratch/log")
fi
echo "$name: $runs runs"
[ "${runs:-0}" -ge "$fewest_runs" ] || { echo "Expected at least $fewest_runs." >&2 && exit 1; }
