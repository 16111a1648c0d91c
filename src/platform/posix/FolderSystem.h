// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <sys/stat.h>

// What directories need of each system under a name of its own.

namespace platform {

/// Renames within the directory; fails with EEXIST if the new name exists, and with EINVAL, ENOSYS
/// or ENOTSUP if the system or the directory's file system cannot promise that.
int renameToFreeName(int directory, const char *name, const char *newName);

/// When the file was modified, in milliseconds since 1970.
qint64 modifiedMilliseconds(const struct stat &status);

} // namespace platform
