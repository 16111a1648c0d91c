// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/FolderSystem.h"

#include <cstdio>

namespace platform {

int renameToFreeName(int directory, const char *name, const char *newName)
{
    return renameat2(directory, name, directory, newName, RENAME_NOREPLACE);
}

qint64 modifiedMilliseconds(const struct stat &status)
{
    return status.st_mtim.tv_sec * 1000 + status.st_mtim.tv_nsec / 1'000'000;
}

} // namespace platform
