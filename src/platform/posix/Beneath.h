// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <fcntl.h>

namespace platform {

/// Opens for appending, creates the file if need be, does not wait, and does not make a terminal
/// the controlling one.
constexpr int appending =
    O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t newFileMode = 0666;

/// How this system opens a directory only to look up names in it.
extern const int passing;

/// Opens the file at the path for appending, by this system's best means. The rules are those of
/// openFileBelow(), but what is opened need not be a regular file.
/// \return -1 when there is no such path
int openBeneath(int directory, const QByteArray &path);

} // namespace platform
