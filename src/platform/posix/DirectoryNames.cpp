// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/DirectoryNames.h"

#include "platform/posix/Descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace platform {

DirectoryNames::DirectoryNames(int directory)
{
    Descriptor opened(openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.isOpen()) {
        stream.reset(fdopendir(opened.get()));
    }
    if (stream) {
        opened.release();
    }
}

/// Not every file system tells the kind with the name.
bool DirectoryNames::isPlainFile(const dirent &entry) const
{
    if (entry.d_type != DT_UNKNOWN) {
        return entry.d_type == DT_REG;
    }
    struct stat status
    {
    };
    return fstatat(descriptor(), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISREG(status.st_mode);
}

} // namespace platform
