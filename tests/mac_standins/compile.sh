#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# compile.sh ARCHITECTURE FOLDER [OPTION OF CMAKE...]: configures the project for a Mac and makes every
# object of it in the folder, warnings as errors, and what its bundle holds besides; nothing is linked.
# Fails too when a source file is in no object, and when the adapters import anything but what
# imports.txt names.
set -euo pipefail

architecture=$1 folder=$2
shift 2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)

cmake -G Ninja -S "$root" -B "$folder" --toolchain "$here/toolchain.cmake" \
    -DMAC_ARCHITECTURE="$architecture" -DVORNA_WERROR=ON -DVORNA_PRECOMPILE=ON \
    -DCMAKE_PREFIX_PATH=/usr/lib/x86_64-linux-gnu/cmake \
    -DCMAKE_PROJECT_INCLUDE="$here/packages.cmake" "$@"

mapfile -t products < <(ninja -C "$folder" -t targets all |
    sed -nE 's/^(.*\.(o|icns)): .*/\1/p')
ninja -C "$folder" -j1 "${products[@]}"

status=0
fail() {
    echo "$*" >&2
    status=1
}

# is_for_mac FILE: begins as an object of 64 bits for a Mac does.
is_for_mac() {
    [ -s "$1" ] && [ "$(head -c 4 "$1" | od -An -tx1 | tr -d ' \n')" = cffaedfe ]
}

for product in "${products[@]}"; do
    [[ $product != *.o ]] || is_for_mac "$folder/$product" || fail "Not an object for a Mac: $product"
done

cd "$root"
ninja -C "$folder" -t deps >"$folder/deps.txt"
count=0
while IFS= read -r source; do
    count=$((count + 1))
    grep -q -F -x "    $root/$source" "$folder/deps.txt" || fail "In no object: $source"
done < <(find src client \( -name '*.cpp' -o -name '*.mm' \) -not -path '*/linux/*')
[ "$count" -gt 0 ] || fail "No source files were found."

# Names of C++ are the toolkit's, the C++ library's and ours. The compiler itself fills memory, on
# one machine by a call, on another without.
imports=$folder/imports.txt
mapfile -t adapters < <(find "$folder/src" \
    -path '*.dir/platform/mac/*.o' -o -name 'unity_src_platform_mac_*.o')
llvm-nm-14 -u --just-symbol-name "${adapters[@]}" | sed -n '/^_/p' |
    grep -v -e '^__Z' -e '^_qt_' -e '^_memset$' -e '^_bzero$' | LC_ALL=C sort -u >"$imports"
grep -v '^#' "$here/imports.txt" | diff - "$imports" || fail "The adapters import other symbols."
[ "$status" -eq 0 ] && echo "$count source files compiled for $architecture."
exit "$status"
