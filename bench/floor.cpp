// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The minimum cost of a remote key: reads bytes over loopback TCP, and for each one presses and
// releases the key with that code by XTEST; for a 0 it moves the pointer by a pixel. Writes its
// port to standard output. With an argument it reads from a local socket of that path instead, and
// writes a line when it listens.

#include "FloorSocket.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <initializer_list>

#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace {

void move(xcb_connection_t *display)
{
    constexpr std::uint8_t Relative = 1;
    xcb_test_fake_input(display, XCB_MOTION_NOTIFY, Relative, XCB_CURRENT_TIME, XCB_NONE, 1, 0, 0);
    xcb_flush(display);
}

void tap(xcb_connection_t *display, std::uint8_t code)
{
    for (const int type : {XCB_KEY_PRESS, XCB_KEY_RELEASE}) {
        xcb_test_fake_input(display, static_cast<std::uint8_t>(type), code, XCB_CURRENT_TIME,
                            XCB_NONE, 0, 0, 0);
    }
    xcb_flush(display);
}

} // namespace

int main(int argc, char **argv)
{
    xcb_connection_t *display = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(display)) {
        return 1;
    }
    const int client = FloorSocket::acceptAt(argc > 1 ? argv[1] : nullptr);
    std::uint8_t code = 0;
    while (recv(client, &code, 1, 0) == 1) {
        if (code == 0) {
            move(display);
        } else {
            tap(display, code);
        }
    }
    xcb_disconnect(display);
    return 0;
}
