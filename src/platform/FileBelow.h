// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

namespace platform {

/// Opens a regular file below a directory for appending, and creates it if it does not exist. Never
/// waits for the other end of a pipe, and creates no directory.
///
/// What is checked is what is opened: the path is followed from a descriptor of the directory, and
/// no part of it may lead out, neither ".." nor a link. A link inside is followed if it is relative
/// and stays inside; the file itself must not be a link. The directory may be a link, which is
/// followed wherever it leads.
///
/// \param directory an absolute path
/// \param path relative to the directory
/// \return a descriptor that the caller closes, or -1. Programs that are started do not inherit it.
int openFileBelow(const QByteArray &directory, const QByteArray &path);

} // namespace platform
