#!/bin/sh
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# Builds the release preset and measures it; prints what we compare. An argument names another
# build folder, which is then taken as it is.
set -eu
cd "$(dirname "$0")/.."

build=${1:-build/release}
if [ $# -eq 0 ]; then
    cmake --preset release >/dev/null
    cmake --build --preset release --target VornaServer floor key_latency \
        file_rate clipboard_latency event_loop_gaps quillmote quillmote_keys quillmote_send \
        session_file session_key session_moves session_text wayland_floor wayland_key wayland_text \
        portal_floor portal_key
fi

VORNA_SERVER=$(readlink -f "$build/VornaServer")
export VORNA_SERVER

echo "A key, from the handheld's send to another program's event:"
"$build/bench/key_latency" "$build/bench/floor"

echo "A file of 1 GiB over the loopback, into the server and into socat by turns:"
"$build/bench/file_rate" "$build"

echo "A key by quillmote, from its start to another program's event, and by xdotool; then 10,000 keys:"
"$build/bench/quillmote_keys" "$build/quillmote"

# In memory: the programs are compared, and not what else the disk has to do.
echo "A file of 1 GiB by quillmote into the server, and from socat to socat:"
"$build/bench/quillmote_send" "$build/quillmote" /dev/shm

echo "The text of the clipboard, from the handheld's question to its answer:"
"$build/bench/clipboard_latency"

echo "How long another handheld waits while each kind of command is carried out:"
"$build/bench/event_loop_gaps" "$build"

echo "A key by the session socket, from send to another program's event, and the least that it takes:"
"$build/bench/session_key" "$build/bench/floor"

echo "Texts by the session socket into a program, and by xdotool:"
"$build/bench/session_text"

echo "A file of 1 GiB by the session socket, and into socat:"
"$build/bench/session_file" /dev/shm

echo "1,000 moves of the pointer a second by the session socket, and the least that they take:"
"$build/bench/session_moves" "$build/bench/floor"

# What Chromium is driven with comes by npm, so it is built only where both are.
if command -v chromium >/dev/null && command -v npm >/dev/null; then
    [ $# -gt 0 ] || cmake --build --preset release --target quillmote-web phone_floor phone_file \
        phone_latency phone_start browser-driver
    VORNA_QUILLMOTE_WEB=$(readlink -f "$build/quillmote-web")
    export VORNA_QUILLMOTE_WEB

    echo "A finger's move in the browser of a phone, from there to a pointer event, and with a bare page:"
    "$build/bench/phone_latency" "$build/bench/phone_floor"

    echo "A file of 200 MB from a phone's page over 100 Mbit/s, and from a bare page:"
    "$build/bench/phone_file" "$build/bench/phone_floor" /dev/shm

    echo "A phone's page from its first byte until it can be used, on a processor four times slower:"
    "$build/bench/phone_start" "$build/bench/phone_floor"
fi

# sway refuses root.
as_user=tests/support/wayland/as_ordinary_user.sh
echo "A key on sway, from send to another program's event, and the least that it takes:"
$as_user "$build/bench/wayland_key" "$build/bench/wayland_floor"

echo "Texts by the session socket on sway into a program:"
$as_user "$build/bench/wayland_text"

echo "A key through a desktop's portal, from send to the desktop, and the least that it takes:"
"$build/bench/portal_key" "$build/bench/portal_floor"
