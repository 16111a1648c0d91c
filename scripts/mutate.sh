#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

usage() {
    cat <<'END'
Usage: scripts/mutate.sh [--seed N] [--count N] [--only N] [--list] [--no-check]

Puts faults into the server and the client, one at a time, and shows which test catches each. A fault
is one changed operator or constant, or one deleted call, in src/net, src/server, src/interaction,
src/app, src/startup or client/lib. It works on a copy of the tree in build/mutate.

  --seed N   draw the faults from this seed (default: a new one, which is printed)
  --count N  how many faults to try (default: 40)
  --only N   try only the fault with this number
  --list     print the faults and try none
  --no-check do not run the tests without a fault first; they must be known to pass

A fault that does not compile does not count: the next one is drawn instead. A test that runs into
its time limit has caught the fault. The last line reads "N of M caught".
The status is 0 when every fault was caught, 1 when one was missed, 2 when the tests could not run.
END
}

for option in "$@"; do
    case $option in
    --help | -h) usage && exit 0 ;;
    esac
done
exec python3 -B "$root/scripts/mutate.py" "$root" "$@"
