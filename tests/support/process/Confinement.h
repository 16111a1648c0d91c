// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <functional>

/// What a server is confined by; each is a last preparation of its process (see ServerProcess), and
/// the process cannot start where it fails.
namespace Confinement {

/// Takes away what lets root pass over the permissions of files. Nothing to take from others.
std::function<void()> heedsPermissions();

/// Makes a system call fail with that error, as a sandbox does or a kernel that lacks it.
std::function<void()> withoutCall(long number, int error);

/// Puts a file system with so little room over the folder, seen by the process only: others look
/// into it by insideOf(). The folder must exist; the number of bytes is rounded up to pages.
std::function<void()> smallDisk(const QString &folder, qint64 bytes);

/// The path by which others see what the process sees at the path.
QString insideOf(qint64 processId, const QString &path);

} // namespace Confinement
