// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class QFile;

/// Whether files may go below the directory of that name: only a full path names the same one
/// wherever the program was started.
bool isDownloadDirectory(const QString &directory);

/// Opens the file of that name below the directory for appending, unbuffered. The path is the
/// directory, "/" and the name; what it may lead to tells platform::openFileBelow().
/// \return false when it may not be opened or cannot; then the file stays closed
bool openDownload(QFile &file, const QString &directory, const QString &name);
