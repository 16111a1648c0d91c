// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The minimum cost of a remote key: reads bytes over loopback TCP, and for each one presses and
// releases the key with that code by XTEST; for a 0 it moves the pointer by a pixel. Writes its
// port to standard output. With an argument it reads from a local socket of that path instead, and
// writes a line when it listens.

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace {

int listenOnLoopback()
{
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    if (bind(listener, generic, length) != 0 || listen(listener, 1) != 0 ||
        getsockname(listener, generic, &length) != 0) {
        return -1;
    }
    std::printf("%d\n", ntohs(address.sin_port));
    std::fflush(stdout);
    return listener;
}

int listenAt(const char *path)
{
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
    if (bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        listen(listener, 1) != 0) {
        return -1;
    }
    std::puts("ready");
    std::fflush(stdout);
    return listener;
}

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
    const int client = accept(argc > 1 ? listenAt(argv[1]) : listenOnLoopback(), nullptr, nullptr);
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
