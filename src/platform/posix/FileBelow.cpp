// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/FileBelow.h"

#include "platform/posix/Beneath.h"
#include "platform/posix/Descriptor.h"

#include <sys/stat.h>

namespace platform {
namespace {

bool isRegularFile(const Descriptor &descriptor)
{
    struct stat status
    {
    };
    return fstat(descriptor.get(), &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

int openFileBelow(const QByteArray &directory, const QByteArray &path)
{
    const Descriptor root(open(directory.constData(), passing | O_DIRECTORY | O_CLOEXEC));
    if (!root.isOpen()) {
        return -1;
    }
    Descriptor file(openBeneath(root.get(), path));
    // Checked after opening: a pipe that has a reader opens at once, and so do devices.
    return file.isOpen() && isRegularFile(file) ? file.release() : -1;
}

} // namespace platform
