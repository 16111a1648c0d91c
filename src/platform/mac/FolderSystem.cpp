// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/FolderSystem.h"

#include <cstdio>

namespace platform {

int renameToFreeName(int directory, const char *name, const char *newName)
{
    return renameatx_np(directory, name, directory, newName, RENAME_EXCL);
}

// Whole seconds: what is below has another name here than the standard gives it.
qint64 modifiedMilliseconds(const struct stat &status)
{
    return qint64(status.st_mtime) * 1000;
}

} // namespace platform
