#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
set -euo pipefail

usage() {
    cat <<'END'
Usage: tests/fuzz/run.sh [--help] [SECONDS [TARGET...]]

Builds the fuzz targets (preset fuzz) and runs one after the other, each for so many seconds (600).
Without names all targets are run. What they find on their way is kept in
$XDG_CACHE_HOME/vornaserver-fuzz (usually ~/.cache/vornaserver-fuzz) and is where the next run goes
on. Ends at the first fault.
END
}

case ${1:-} in
--help | -h) usage && exit 0 ;;
esac

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
seconds=${1:-600}
shift || true
targets=("$@")
if [ "${#targets[@]}" -eq 0 ]; then
    mapfile -t targets < <(ls "$here/corpus")
fi

cd "$root"
cmake --preset fuzz
cmake --build --preset fuzz
for target in "${targets[@]}"; do
    "$here/fuzz_target.sh" "build/fuzz/fuzz_$target" "$seconds" \
        "${XDG_CACHE_HOME:-$HOME/.cache}/vornaserver-fuzz/$target"
done
