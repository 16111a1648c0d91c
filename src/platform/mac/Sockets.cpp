// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/Sockets.h"

#include <dirent.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

namespace platform {
namespace {

void setOption(qintptr descriptor, int level, int name, int value)
{
    setsockopt(static_cast<int>(descriptor), level, name, &value, sizeof value);
}

struct DirectoryCloser
{
    void operator()(DIR *directory) const { closedir(directory); }
};

} // namespace

void tuneAcceptedSocket(qintptr descriptor)
{
    setOption(descriptor, SOL_SOCKET, SO_KEEPALIVE, 1);
    // The silence before the first probe has another name here than elsewhere.
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPALIVE, 15);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, 5);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPCNT, 3);
    setOption(descriptor, IPPROTO_TCP, TCP_NODELAY, 1);
}

// The resource limit may read "unlimited"; this is what the kernel grants.
int descriptorsLeftAfter(qintptr descriptor)
{
    return getdtablesize() - static_cast<int>(descriptor) - 1;
}

void closeDescriptorsOnExec()
{
    const std::unique_ptr<DIR, DirectoryCloser> open(opendir("/dev/fd"));
    while (const dirent *entry = open ? readdir(open.get()) : nullptr) {
        // "." and ".." read as 0, one of the standard streams.
        const int descriptor = std::atoi(entry->d_name);
        if (descriptor > STDERR_FILENO) {
            fcntl(descriptor, F_SETFD, FD_CLOEXEC);
        }
    }
}

} // namespace platform
