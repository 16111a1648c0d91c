# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# Starting helpers in the background and ending every one of them; sourced.

started=() # process ids in the order of their start, so that the latest is the last

# start LOG COMMAND...: runs it in the background with its output in the file LOG.
start() {
    local log=$1
    shift
    "$@" >"$log" 2>&1 &
    started+=("$!")
}

# Whether the process id is a child of ours that still runs. The shell's own table is asked, since
# the system may have given the number of an ended process to a stranger.
is_running() {
    [[ $'\n'$(jobs -pr)$'\n' == *$'\n'"$1"$'\n'* ]]
}

# wait_until SECONDS COMMAND...: polls; fails when the command has not succeeded within the time.
wait_until() {
    local end=$((SECONDS + $1))
    shift
    until "$@"; do
        [ "$SECONDS" -lt "$end" ] || return 1
        sleep 0.02
    done
}

has_ended() { ! is_running "$1"; }

# stop PID: asks it to end, insists after 5 seconds; the status is the process's own.
stop() {
    if is_running "$1"; then
        kill -TERM "$1" 2>/dev/null || true
        wait_until 5 has_ended "$1" || kill -KILL "$1" 2>/dev/null || true
    fi
    wait "$1"
}

# Ends what was started, the latest first, so that nobody loses what it stands on.
stop_all() {
    local index
    for ((index = ${#started[@]} - 1; index >= 0; index--)); do
        stop "${started[index]}" || true
    done
    started=()
}
