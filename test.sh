#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"

usage() {
    cat <<'END'
Usage: ./test.sh [--desktops] [--browser] [--no-install] [--help] [OPTION OF CTEST...]

Installs what is missing, builds with sanitizers and with warnings as errors, and runs the tests
(preset dev) and each fuzz target for 20 seconds (preset fuzz). The last line reads
"N passed, M failed"; the status is 0 only when all passed.

  --desktops    also run the long tests on desktops: 10,000 characters into each program,
                and GNOME Shell and KWin
  --browser     also run the tests with Chromium, 410 MB; what drives it, playwright-core, is
                fetched by npm into the build folder, 13 MB
  --no-install  install nothing; if packages are missing, name them and fail
  --help        this text

Without the first two, those tests are not run and not counted; .ci/run gives both.
Everything else goes to ctest: ./test.sh -R clipboard
Root is asked for (by sudo) only to install packages, after they have been listed. No service of
them is started.
END
}

install=yes
desktops=OFF
browser=OFF
ctest_options=()
for option in "$@"; do
    case $option in
    --no-install) install=no ;;
    --desktops) desktops=ON ;;
    --browser) browser=ON ;;
    --help | -h) usage && exit 0 ;;
    *) ctest_options+=("$option") ;;
    esac
done

# count REPORT ATTRIBUTE: a number from the head of a report that ctest wrote.
count() {
    grep -o -m 1 "\b$2=\"[0-9]*\"" "$1" | tr -dc '0-9'
}

# build PRESET
build() {
    cmake --preset "$1" -DVORNA_TEST_DESKTOPS=$desktops -DVORNA_TEST_BROWSER=$browser
    cmake --build --preset "$1"
}

# run_tests PRESET: runs the tests of a preset that is built, and counts them. A preset may be without
# a test that the options ask for.
run_tests() {
    local report=$root/build/$1/report.xml
    rm -f "$report"
    # A test that keeps a processor busy counts twice.
    ctest --preset "$1" -j$((2 * $(nproc))) --no-tests=ignore --output-junit "$report" "${ctest_options[@]}" ||
        status=$?
    [ -s "$report" ] || return 0
    tests=$((tests + $(count "$report" tests)))
    # A test that was skipped or could not be started has shown nothing: it counts as failed.
    failed=$((failed + $(count "$report" failures) + $(count "$report" disabled) +
        $(count "$report" skipped)))
}

cd "$root"
mapfile -t packages < <(
    test_packages
    [ "$desktops" = OFF ] || desktop_packages
    [ "$browser" = OFF ] || browser_packages
)
if [ "$install" = yes ]; then
    install_packages silent "${packages[@]}"
else
    require_packages "${packages[@]}"
fi
tests=0
failed=0
status=0
build dev
# Most tests wait most of their time. This takes what they leave of the processors, and no more.
set -m # a group of its own, which is ended with this script
build fuzz >build/fuzz.log 2>&1 &
building=$!
set +m
trap 'kill -- -"$building" 2>/dev/null || true' EXIT
chrt --idle --pid 0 "$building" || true # it may have ended
run_tests dev
wait "$building" || { cat build/fuzz.log && exit 1; }
run_tests fuzz
if [ "$tests" -eq 0 ]; then
    echo "No test was run." >&2
    exit 1
fi
echo "$((tests - failed)) passed, $failed failed"
[ "$failed" -eq 0 ] || exit 1
exit "$status"
