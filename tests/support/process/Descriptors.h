// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <fcntl.h>
#include <sys/socket.h>

/// What the system says about a descriptor of this process.
namespace Descriptors {

/// An option whose value is an int; -1 if the socket does not have it.
inline int socketOption(int socket, int level, int name)
{
    int value = -1;
    socklen_t size = sizeof value;
    getsockopt(socket, level, name, &value, &size);
    return value;
}

inline bool closesOnExec(int descriptor)
{
    return (fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0;
}

} // namespace Descriptors
