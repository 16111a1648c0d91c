// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <fcntl.h>

namespace platform {

/// Opens for appending, makes the file if need be, and neither waits nor takes a terminal as its
/// own.
constexpr int appending =
    O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t newFileMode = 0666;

/// How this system opens a directory of which nothing is needed but the way on.
extern const int passing;

/// Opens for appending what the path leads to, by this system's best means. The rules are those of
/// openFileBelow(), but what is opened need not be a regular file.
/// \return -1 when there is no such way
int openBeneath(int directory, const QByteArray &path);

/// The same by any system's means: component by component, at most 64 directories deep and over at
/// most 40 links.
int openByWalking(int directory, const QByteArray &path);

} // namespace platform
