// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/SocketSystem.h"

#include "platform/DescriptorLimit.h"
#include "platform/Sockets.h"

#include <limits>

#include <linux/close_range.h>
#include <netinet/tcp.h>
#include <unistd.h>

namespace platform {

const int keepaliveIdleOption = TCP_KEEPIDLE;

int grantedDescriptors()
{
    return descriptorLimit();
}

void closeDescriptorsOnExec()
{
    close_range(STDERR_FILENO + 1, std::numeric_limits<unsigned>::max(), CLOSE_RANGE_CLOEXEC);
}

} // namespace platform
