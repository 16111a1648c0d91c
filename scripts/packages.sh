# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# The one place that names Debian packages; sourced by run.sh and test.sh.

# What the compiler and CMake ask for.
build_packages() {
    printf '%s\n' g++ cmake ninja-build pkg-config \
        qt6-base-dev qt6-base-dev-tools libgl-dev \
        libxcb1-dev libxcb-randr0-dev libxcb-xtest0-dev libxcb-xkb-dev libxcb-xinput-dev \
        libxkbcommon-dev libxkbcommon-x11-dev libwayland-dev libwayland-bin \
        libavahi-compat-libdnssd-dev libglib2.0-dev \
        qt6-websockets-dev libqrcodegencpp-dev libsodium-dev node-tweetnacl
}

# What the server wants around it in a user's session. Without avahi-daemon it runs, but as its port
# is chosen anew at each start, no handheld finds it. Without file, and without a large desktop,
# xdg-open cannot tell what kind of file has been received. Without qt6-wayland it has no windows in
# a Wayland session that lacks Xwayland.
run_packages() {
    printf '%s\n' avahi-daemon file qt6-wayland xdg-utils
}

# The desktop that the demonstration brings along.
demo_packages() {
    printf '%s\n' dbus file fonts-dejavu-core imagemagick iproute2 openbox trayer \
        x11-utils x11-xkb-utils x11-xserver-utils xdotool xdg-utils xkb-data xterm xvfb
}

# What the adapters of macOS are compiled and exercised with, without a Mac.
mac_check_packages() {
    printf '%s\n' clang-14 gobjc libgnustep-base-dev libstdc++-12-dev-arm64-cross llvm-14 python3
}

# What the tests look with, beyond the demonstration's desktop.
test_packages() {
    build_packages
    demo_packages
    mac_check_packages
    printf '%s\n' avahi-daemon avahi-utils clang clang-format-16 clang-tidy desktop-file-utils dex fish \
        foot gir1.2-gtk-4.0 git grim libclang-rt-14-dev libfaketime libglib2.0-bin lld mako-notifier \
        man-db mandoc nodejs poppler-utils python3 python3-gi qt6-wayland shellcheck socat sway tmux \
        waybar wayland-protocols wl-clipboard wmctrl xclip xdg-desktop-portal xwayland zbar-tools zsh
}

# What only the tests on large desktops need, beyond those of all tests: 300 MB to fetch.
desktop_packages() {
    printf '%s\n' at-spi2-core gir1.2-atspi-2.0 gjs gnome-shell \
        gnome-shell-extension-appindicator kwin-wayland qtwayland5 xdg-desktop-portal-gnome \
        xdg-desktop-portal-kde
}

# What only the tests with a browser need: 120 MB to fetch, 410 MB on the disk.
# Node's own packages bring npm along and do not go together with Debian's.
browser_packages() {
    printf '%s\n' chromium
    command -v npm >/dev/null || printf '%s\n' npm
}

# Of the packages named, those that are not installed, one a line.
missing_packages() {
    local name
    for name in "$@"; do
        dpkg-query -W -f '${db:Status-Status}\n' "$name" 2>/dev/null | grep -x installed >/dev/null ||
            printf '%s\n' "$name"
    done
}

# require_packages NAME...: fails with the names of those that are missing. Elsewhere than on Debian
# it only shows what is needed, by Debian's names.
require_packages() {
    local missing
    if ! command -v dpkg-query >/dev/null; then
        echo "Nothing is installed. What is needed, by the names of Debian's packages: $*" >&2
        return 0
    fi
    mapfile -t missing < <(missing_packages "$@" | sort -u)
    [ "${#missing[@]}" -eq 0 ] && return 0
    echo "These packages are missing: ${missing[*]}" >&2
    echo "As root: apt-get install --no-install-recommends ${missing[*]}" >&2
    return 1
}

# as_root COMMAND...: runs it by sudo, or directly for root.
as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# install_packages HOW NAME...: lists what is missing of the packages, then installs it; does not ask
# for root when nothing is missing. HOW is "serving", or "silent": then no service is started.
install_packages() {
    local how=$1 missing
    shift
    if ! command -v dpkg-query >/dev/null; then
        echo "Packages are installed on Debian only; elsewhere give --no-install." >&2
        return 1
    fi
    mapfile -t missing < <(missing_packages "$@" | sort -u)
    [ "${#missing[@]}" -eq 0 ] && return 0
    if [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null; then
        echo "There is no sudo. As root: apt-get install --no-install-recommends ${missing[*]}" >&2
        return 1
    fi
    echo "Installing: ${missing[*]}"
    as_root bash -c "$(declare -f run_apt hold_services)"$'\nrun_apt "$@"' \
        install "$how" "${missing[@]}"
}

# Runs as root in a shell of its own, so that its trap is its own too.
run_apt() {
    local how=$1
    shift
    set -e
    export DEBIAN_FRONTEND=noninteractive
    [ "$how" = serving ] || hold_services
    apt-get update -q
    apt-get install -q -y --no-install-recommends "$@"
}

# A machine that only tests must not begin to speak on its network: avahi-daemon would start with
# its installation and announce the machine. Debian asks policy-rc.d before it starts a service, and
# 101 forbids it. A machine that has a policy keeps it; ours goes when the installation ends.
hold_services() {
    policy=/usr/sbin/policy-rc.d
    [ -e "$policy" ] && return 0
    trap 'rm -f "$policy"' EXIT
    trap 'exit 1' HUP INT TERM
    printf '#!/bin/sh\nexit 101\n' >"$policy"
    chmod 755 "$policy"
}
