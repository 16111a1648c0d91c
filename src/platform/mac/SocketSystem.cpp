// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/SocketSystem.h"

#include "platform/Sockets.h"

#include <cstdlib>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <unistd.h>

namespace platform {
namespace {

struct DirectoryCloser
{
    void operator()(DIR *directory) const { closedir(directory); }
};

} // namespace

const int keepaliveIdleOption = TCP_KEEPALIVE;

// The resource limit may be "unlimited"; this is the number that the kernel allows.
int grantedDescriptors()
{
    return getdtablesize();
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
