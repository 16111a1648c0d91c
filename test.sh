#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"

usage() {
    cat <<'END'
Usage: ./test.sh [--no-install] [--help] [OPTION OF CTEST...]

Installs what is missing, builds with sanitizers and with warnings as errors (preset dev), and runs
every test. The last line reads "N passed, M failed"; the status is 0 only when all passed.

  --no-install  install nothing; fail when something is missing
  --help        this text

Everything else goes to ctest: ./test.sh -R clipboard
Root is asked for (by sudo) only to install packages, after they have been listed. No service of
them is started.
END
}

install=yes
ctest_options=()
for option in "$@"; do
    case $option in
    --no-install) install=no ;;
    --help | -h) usage && exit 0 ;;
    *) ctest_options+=("$option") ;;
    esac
done

# count ATTRIBUTE: a number from the head of the report that ctest wrote.
count() {
    grep -o -m 1 "\b$1=\"[0-9]*\"" "$report" | tr -dc '0-9'
}

cd "$root"
if [ "$install" = yes ]; then
    mapfile -t packages < <(test_packages)
    install_packages silent "${packages[@]}"
fi
cmake --preset dev
cmake --build --preset dev

report=$root/build/dev/report.xml
rm -f "$report"
status=0
ctest --preset dev -j2 --no-tests=error --output-junit "$report" "${ctest_options[@]}" || status=$?
if [ ! -s "$report" ]; then
    echo "No test was run." >&2
    exit 1
fi

# A test that was skipped or could not be started has shown nothing: it counts as failed.
tests=$(count tests)
failed=$(($(count failures) + $(count disabled) + $(count skipped)))
echo "$((tests - failed)) passed, $failed failed"
[ "$failed" -eq 0 ] || exit 1
exit "$status"
