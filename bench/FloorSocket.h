// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstdio>
#include <cstring>

/// Where the minimal programs get their orders from.
namespace FloorSocket {

/// A socket that listens there, after a line on standard output that says so; -1 on failure.
inline int listenAt(const char *path)
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

/// The same over TCP; the line is the port.
inline int listenOnLoopback()
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

/// The first client of the local socket of that path, or of a port on the loopback without a path.
inline int acceptAt(const char *path)
{
    return accept(path != nullptr ? listenAt(path) : listenOnLoopback(), nullptr, nullptr);
}

} // namespace FloorSocket
