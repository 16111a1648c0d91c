#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# run_sh_demo.sh once|stopped: the demonstration of run.sh shows the typed text, ends well (by itself,
# or when told to by SIGTERM) and leaves neither a process nor a folder behind. Needs VORNA_SERVER.
set -uo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
: "${VORNA_SERVER:?names the server to demonstrate}"
TMPDIR=$(mktemp -d)
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT
output=$TMPDIR/output
: >"$output"
# shellcheck source=tests/support/check.sh
. "$(dirname "${BASH_SOURCE[0]}")/../support/check.sh"

# The processes of the demonstration all have a temporary folder in ours, by their environment.
# shellcheck disable=SC2317  # called by way of check
processes_left() {
    grep -lzsF "TMPDIR=$TMPDIR" /proc/[0-9]*/environ | grep -oE '[0-9]+'
}

# shellcheck disable=SC2317  # called by way of check
nothing_is_left() {
    local process left=0
    for process in $(processes_left); do
        [ -e "/proc/$process" ] || continue # the search found itself
        echo "still runs: $process $(tr '\0' ' ' <"/proc/$process/cmdline")"
        left=1
    done
    return "$left"
}

run_once() {
    "$root/run.sh" --demo --once --no-install >"$output" 2>&1
}

run_until_stopped() {
    "$root/run.sh" --demo --no-install >"$output" 2>&1 &
    local demonstration=$! end=$((SECONDS + 60))
    until grep -q 'Ctrl+C' "$output" || [ "$SECONDS" -ge "$end" ]; do
        kill -0 "$demonstration" 2>/dev/null || break
        sleep 0.1
    done
    kill -TERM "$demonstration" 2>/dev/null
    wait "$demonstration"
}

case ${1:-} in
once) run_once ;;
stopped) run_until_stopped ;;
*) echo "once or stopped?" && exit 2 ;;
esac
status=$?
cat "$output"
check "run.sh ends with status 0, not $status" [ "$status" -eq 0 ]
check "the text arrives in the window" \
    grep -qx 'The window received: hello from the handheld' "$output"
check "quillmote asks and is answered" grep -q ' x .* pixels, MAC-OSX$' "$output"
check "quillmote copies and pastes" grep -qx '    see you at eight' "$output"
screenshot=$(sed -n 's/^Screenshot: //p' "$output")
check "there is a screenshot" [ -s "$screenshot" ]
check "no process is left" nothing_is_left
check "no folder is left" [ -z "$(find "$TMPDIR" -mindepth 1 -not -name output)" ]
exit "$((failures > 0))"
