#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# What run.sh and test.sh say with --no-install when packages are missing: their names, and nothing is
# built. The package manager is played by a script, which lacks socat and xterm.
set -uo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=tests/support/check.sh
. "$root/tests/support/check.sh"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cat >"$scratch/dpkg-query" <<'END'
#!/bin/sh
case "$*" in
*" socat" | *" xterm") exit 1 ;;
*) echo installed ;;
esac
END
# Would be seen: nothing may be installed or built.
for program in apt-get sudo cmake; do
    printf '#!/bin/sh\necho "called: %s" >&2\nexit 99\n' "$program" >"$scratch/$program"
done
chmod 755 "$scratch"/*

# run PROGRAM OPTION...: its status in `status`, what it said in `said`.
run() {
    said=$(env -u DISPLAY -u WAYLAND_DISPLAY -u VORNA_SERVER PATH="$scratch:$PATH" "$@" 2>&1 </dev/null)
    status=$?
}

says() { grep -qF -- "$1" <<<"$said"; }
says_not() { ! says "$1"; }

run "$root/test.sh" --no-install
check "test.sh fails" [ "$status" -eq 1 ]
check "test.sh names what is missing: $said" says "These packages are missing: socat xterm"
check "test.sh says how to install it" says "apt-get install --no-install-recommends socat xterm"
check "test.sh calls nothing: $said" says_not "called:"

run "$root/run.sh" --demo --no-install
check "run.sh fails" [ "$status" -eq 1 ]
check "run.sh names what is missing: $said" says "These packages are missing: xterm"
check "run.sh calls nothing: $said" says_not "called:"

[ "$failures" -eq 0 ]
