#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# Writes docs/reliability.md anew: loads the release build, and lets the tests cause every fault in
# the build with sanitizers. An argument from 1 to 100 is the share of the load in hundredths.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

share=${1:-100}
tests='tst_BadInput|tst_Faults|tst_Load|tst_PairingDialog|tst_SettingsFile|tst_StartAndEnd|tst_Transfers'
page=docs/reliability.md
made=$(mktemp)
trap 'rm -f "$made" "$made.tests"' EXIT

cmake --preset release >/dev/null
cmake --build --preset release --target VornaServer reliability >/dev/null
cmake --preset dev >/dev/null
cmake --build --preset dev >/dev/null

status=0
{
    cat <<'END'
# Reliability

What the server promises under load and when something around it breaks, and what was seen. This page is written by `bench/reliability.sh`; change that.

## Loads

The release build on Xvfb with openbox and a tray, all on one machine that does other work too. Times are those of the slowest part that happened to be in the way.

| load | promised | measured | held |
|---|---|---|---|
END
    VORNA_SERVER=$PWD/build/release/VornaServer build/release/bench/reliability "$share" || status=1
    cat <<'END'

In each of them no key and no button is down afterwards, asked of the X server.

Most of the time of a connection that comes and goes is spent on its two balloons.

## Faults

Each is a test of the whole program with the address and undefined behaviour sanitizers, on a real X server. The sentence is the promise.

| test | promise | seen |
|---|---|---|
END
    # -V prints each function of a test: "12: PASS   : tst_Faults::name(row)".
    ctest --preset dev -j2 -V -R "^($tests)\$" >"$made.tests" || status=1
    sed -nE 's/^[0-9]+: (PASS|FAIL!|XFAIL|SKIP) *: (tst_[A-Za-z]+)::([A-Za-z]+)\(.*/\1 \2 \3/p' "$made.tests" |
        grep -vE ' (initTestCase|cleanupTestCase)$' |
        awk '{ key = $2 " " $3
               if (!(key in seen)) order[++count] = key
               seen[key] = ($1 == "PASS" && seen[key] != "no") ? "yes" : "no" }
             END { for (i = 1; i <= count; ++i) print order[i], seen[order[i]] }' |
        sort |
        while read -r test function seen; do
            sentence=$(sed -E 's/([A-Z])/ \L\1/g' <<<"$function")
            printf '| `%s` | %s | %s |\n' "$test" "$sentence" "$seen"
        done
    cat <<'END'

## What is not promised

- **The X server ends:** the toolkit ends the program at once, with status 1. Connections are closed, bytes of files that have arrived are in their files, but devices paired in that run are forgotten. A session that starts it again brings it back; it does not start itself.
- **The tray ends:** the server goes on without an icon, and the icon comes back with the tray. At its start it needs one.
- **SIGKILL:** devices paired in that run are forgotten. Received bytes are in their files.
- **A token in pieces or merged with another** is lost, as [the protocol](protocol.md#3-one-arrival-is-one-token) tells.
- **Two floods at once** make others wait twice as long.
END
} >"$made"
cp "$made" "$page"
echo "Written: $page"
exit "$status"
