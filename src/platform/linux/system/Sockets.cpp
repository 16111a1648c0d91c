// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/Sockets.h"

#include <linux/close_range.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <limits>

namespace platform {
namespace {

void setOption(qintptr descriptor, int level, int name, int value)
{
    setsockopt(static_cast<int>(descriptor), level, name, &value, sizeof value);
}

} // namespace

void tuneAcceptedSocket(qintptr descriptor)
{
    setOption(descriptor, SOL_SOCKET, SO_KEEPALIVE, 1);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPIDLE, 15);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, 5);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPCNT, 3);
    setOption(descriptor, IPPROTO_TCP, TCP_NODELAY, 1);
}

int descriptorsLeftAfter(qintptr descriptor)
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const auto most = std::min<rlim_t>(limit.rlim_cur, std::numeric_limits<int>::max());
    return static_cast<int>(most) - static_cast<int>(descriptor) - 1;
}

void closeDescriptorsOnExec()
{
    close_range(STDERR_FILENO + 1, std::numeric_limits<unsigned>::max(), CLOSE_RANGE_CLOEXEC);
}

} // namespace platform
