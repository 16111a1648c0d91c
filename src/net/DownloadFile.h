// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class QFile;

/// Whether files may be saved below that directory: only an absolute path means the same directory
/// wherever the program was started.
bool isDownloadDirectory(const QString &directory);

/// Opens the file of that name below the directory for appending, unbuffered. The path is the
/// directory, "/" and the name; platform::openFileBelow() says what it may lead to.
/// \return false if it must not or cannot be opened; the file is closed then
bool openDownload(QFile &file, const QString &directory, const QString &name);
