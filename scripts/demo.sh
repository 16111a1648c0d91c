# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# A private desktop, the server in it, and quillmote that types into a window of it; sourced.

# shellcheck source=scripts/processes.sh
. "${BASH_SOURCE[0]%/*}/processes.sh"

readonly demo_text="hello from the handheld"
readonly demo_title="VornaServer demonstration"
demo_folder=
demo_pictures=
demo_quillmote=
demo_server=
demo_port=

# run_demo SERVER QUILLMOTE PICTURES ONCE: the whole demonstration; screenshot.png goes into PICTURES. Returns
# 0 when the text arrived and, when ONCE is "yes", the server ended well; otherwise it serves on until
# it is asked to exit.
run_demo() {
    demo_quillmote=$2
    demo_pictures=$3
    trap demo_ends EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM HUP
    check_demo_commands || return 1
    make_private_places
    start_desktop && start_text_window && start_server "$1" || return 1
    drive_server || return 1
    if [ "$4" = yes ]; then
        stop_server
    else
        serve_until_told
    fi
}

demo_ends() {
    trap '' INT TERM HUP
    stop_all
    [ -z "$demo_folder" ] || rm -rf "$demo_folder"
}

demo_fails() {
    echo "The demonstration failed: $1" >&2
    local log
    for log in "$demo_folder"/*.log; do
        [ ! -s "$log" ] || sed "s|^|  ${log##*/}: |" "$log" >&2
    done
    return 1
}

check_demo_commands() {
    local name missing=()
    for name in Xvfb dbus-daemon import openbox ss trayer xdotool xprop xsetroot xterm; do
        command -v "$name" >/dev/null || missing+=("$name")
    done
    [ "${#missing[@]}" -eq 0 ] && return 0
    echo "The demonstration needs these commands, which are missing: ${missing[*]}" >&2
    return 1
}

# Nothing of the demonstration may touch the user's settings, session or network name.
make_private_places() {
    demo_folder=$(mktemp -d "${TMPDIR:-/tmp}/vornaserver-demo.XXXXXX")
    mkdir -p "$demo_folder"/{home/Downloads,config,data,cache,state}
    mkdir -m 700 "$demo_folder/run"
    export HOME=$demo_folder/home XDG_CONFIG_HOME=$demo_folder/config
    export XDG_DATA_HOME=$demo_folder/data XDG_CACHE_HOME=$demo_folder/cache
    export XDG_STATE_HOME=$demo_folder/state XDG_RUNTIME_DIR=$demo_folder/run
    export DBUS_SESSION_BUS_ADDRESS=unix:path=$demo_folder/run/bus
    export DBUS_SYSTEM_BUS_ADDRESS=unix:path=$demo_folder/no-system-bus
    export TMPDIR=$demo_folder # xterm, when ended early, leaves a file behind
    export QT_QPA_PLATFORM=xcb NO_AT_BRIDGE=1 LC_ALL=C.UTF-8
    unset WAYLAND_DISPLAY XDG_CURRENT_DESKTOP XDG_SESSION_TYPE SESSION_MANAGER XAUTHORITY
    unset QT_QPA_PLATFORMTHEME QT_STYLE_OVERRIDE
    echo "A private desktop with its own home and session bus, below $demo_folder"
    echo "There is no system bus in it, so the server is not advertised on your network."
}

start_desktop() {
    : >"$demo_folder/display"
    start "$demo_folder/xvfb.log" Xvfb -displayfd 8 -screen 0 1024x640x24 -nolisten tcp \
        8>"$demo_folder/display"
    wait_until 15 test -s "$demo_folder/display" || demo_fails "no display" || return 1
    DISPLAY=:$(cat "$demo_folder/display")
    export DISPLAY
    start_session_bus || return 1
    start "$demo_folder/openbox.log" openbox --sm-disable
    wait_until 15 has_window_manager || demo_fails "no window manager" || return 1
    xsetroot -solid '#3f5a73'
    start "$demo_folder/trayer.log" trayer --edge top --align right --widthtype request --height 24
}

has_window_manager() {
    [[ $(xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null) == *'window id'* ]]
}

# Its configuration names no folder of services: the bus starts nothing that would outlive us.
start_session_bus() {
    cat >"$demo_folder/bus.conf" <<END
<busconfig>
  <type>session</type>
  <listen>$DBUS_SESSION_BUS_ADDRESS</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
END
    start "$demo_folder/bus.log" dbus-daemon --nofork --nopidfile \
        --config-file="$demo_folder/bus.conf"
    wait_until 15 test -S "$demo_folder/run/bus" || demo_fails "no session bus"
}

# The terminal hands on each key at once, as no key that can be sent ends a line.
start_text_window() {
    : >"$demo_folder/typed.txt"
    # shellcheck disable=SC2016  # $1 is the inner shell's
    start "$demo_folder/xterm.log" xterm -T "$demo_title" -fa 'DejaVu Sans Mono' -fs 16 \
        -geometry 56x10+80+120 -e sh -c 'stty -icanon min 1
            printf "What the handheld types arrives here:\n\n"; exec cat >"$1"' \
        sh "$demo_folder/typed.txt"
    wait_until 15 text_window_has_focus || demo_fails "the text window has no focus"
}

text_window_has_focus() {
    [ "$(xdotool getwindowfocus getwindowname 2>/dev/null)" = "$demo_title" ] && return 0
    xdotool search --onlyvisible --name "^$demo_title\$" windowfocus >/dev/null 2>&1 || true
    return 1
}

start_server() {
    start "$demo_folder/server.log" "$1"
    demo_server=${started[-1]}
    wait_until 30 server_listens_or_has_ended
    [ -n "$demo_port" ] || demo_fails "the server does not listen" || return 1
    echo "The server listens on port $demo_port."
}

# Sets demo_port when there is one.
server_listens_or_has_ended() {
    demo_port=$(ss -ltnpH | sed -n "s/.*:\([0-9]*\) .*pid=$demo_server,.*/\1/p" | head -n 1)
    [ -n "$demo_port" ] || has_ended "$demo_server"
}

drive_server() {
    local arrived=yes
    use_every_way || demo_fails "quillmote could not drive the server" || return 1
    wait_until 5 text_has_arrived || arrived=no
    echo "The window received: $(cat "$demo_folder/typed.txt")"
    take_screenshot || demo_fails "no screenshot" || return 1
    echo "Screenshot: $demo_pictures/screenshot.png"
    [ "$arrived" = yes ] || demo_fails "the text was to be: $demo_text"
}

# The typing comes last, so that the screenshot shows it.
use_every_way() {
    local keys=() index
    for ((index = 0; index < ${#demo_text}; index++)); do
        keys+=("${demo_text:index:1}")
    done
    handheld pair --name "Demo" && handheld info && handheld copy "see you at eight" &&
        handheld paste && handheld key "${keys[@]/#" "/Space}"
}

# handheld ARGUMENT...: runs quillmote with them and shows what it says.
handheld() {
    echo "  \$ quillmote $*"
    "$demo_quillmote" "$@" --host 127.0.0.1 --port "$demo_port" >"$demo_folder/quillmote.out" &&
        awk '{ print "    " $0 }' "$demo_folder/quillmote.out"
}

text_has_arrived() { [ "$(cat "$demo_folder/typed.txt")" = "$demo_text" ]; }

# Twice the same picture: then the window has painted all of it.
take_screenshot() {
    mkdir -p "$demo_pictures"
    wait_until 10 picture_stands_still
}

picture_stands_still() {
    local picture=$demo_pictures/screenshot.png
    mv -f "$picture" "$demo_folder/before.png" 2>/dev/null || true
    import -window root "$picture" && import -window root "$demo_folder/again.png" &&
        [ "$(identify -format '%#' "$picture")" = "$(identify -format '%#' "$demo_folder/again.png")" ]
}

stop_server() {
    stop "$demo_server" || demo_fails "the server ended with status $?"
}

serve_until_told() {
    trap 'exit 0' INT TERM HUP
    cat <<END
The server goes on, reachable on port $demo_port (from your network too). Try in another terminal:
  $demo_quillmote remote --host 127.0.0.1 --port $demo_port
Ctrl+C ends it and everything it started.
END
    wait "$demo_server" || demo_fails "the server ended with status $?"
}
