#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"
# shellcheck source=scripts/demo.sh
. "$root/scripts/demo.sh"

usage() {
    cat <<'END'
Usage: ./run.sh [--phone] [--demo] [--once] [--no-install] [--help]

Installs what is missing, builds VornaServer and starts it. In a graphical session it appears in
your tray. Without one it shows itself: on a desktop of its own, with nothing of yours touched,
quillmote, the handheld for the command line, types into a window, and a screenshot is taken
(build/demo/screenshot.png).

  --phone       also start quillmote-web, which shows a QR code that makes your phone's browser the
                remote control; Ctrl+C ends both
  --demo        show the demonstration although there is a graphical session
  --once        show the demonstration, then end: status 0 when the typed text arrived, else 1
  --no-install  install nothing; if packages are missing, name them and fail
  --help        this text

Root is asked for (by sudo) only to install packages, after they have been listed.
VORNA_SERVER=FILE in the environment starts that server: nothing is installed or built. The quillmote
of the demonstration lies beside it, or is named by VORNA_QUILLMOTE.
END
}

demo=no once=no install=yes phone=no
for option in "$@"; do
    case $option in
    --phone) phone=yes ;;
    --demo) demo=yes ;;
    --once) demo=yes once=yes ;;
    --no-install) install=no ;;
    --help | -h) usage && exit 0 ;;
    *)
        echo "run.sh: unknown option $option" >&2
        usage >&2
        exit 2
        ;;
    esac
done
if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    demo=yes
    [ "$phone" = no ] || echo "There is no graphical session that a phone could control; this is the demonstration." >&2
fi

# A demonstration must not make a service of the machine speak on its network.
provide_packages() {
    local how=serving needed=run_packages
    [ "$demo" = no ] || how=silent needed=demo_packages
    mapfile -t packages < <(build_packages && "$needed")
    if [ "$install" = yes ]; then
        install_packages "$how" "${packages[@]}"
    else
        require_packages "${packages[@]}"
    fi
}

build_release() {
    cd "$root"
    cmake --preset release
    cmake --build --preset release --target VornaServer quillmote quillmote-web
}

server=${VORNA_SERVER:-}
if [ -z "$server" ]; then
    provide_packages
    (build_release)
    server=$root/build/release/VornaServer
fi
programs=$(dirname "$server")

# A server that runs already stays the only one.
run_with_phone() {
    "$programs/quillmote" info --local >/dev/null 2>&1 || "$server" &
    exec "$programs/quillmote-web"
}

if [ "$demo" = no ]; then
    [ "$phone" = no ] || run_with_phone
    exec "$server"
fi
run_demo "$server" "${VORNA_QUILLMOTE:-$programs/quillmote}" \
    "${VORNA_SCREENSHOTS:-$root/build/demo}" "$once"
