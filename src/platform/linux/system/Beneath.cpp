// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/Beneath.h"

#include "platform/posix/ComponentWalk.h"

#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace platform {

const int passing = O_PATH;

namespace {

/// The call fails with EAGAIN if anything is renamed or mounted while ".." is looked up.
constexpr int mostAttempts = 32;

/// -1 with the reason in errno.
int openInKernel(int directory, const QByteArray &path)
{
    open_how how{};
    how.flags = appending | O_LARGEFILE;
    how.mode = newFileMode;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    return static_cast<int>(syscall(SYS_openat2, directory, path.constData(), &how, sizeof how));
}

} // namespace

int openBeneath(int directory, const QByteArray &path)
{
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        const int opened = openInKernel(directory, path);
        if (opened != -1) {
            return opened;
        }
        // Linux before 5.6 lacks the call; a sandbox may forbid it.
        if (errno == ENOSYS || errno == EPERM) {
            break;
        }
        if (errno != EAGAIN && errno != EINTR) {
            return -1;
        }
    }
    return openByWalking(directory, path);
}

} // namespace platform
