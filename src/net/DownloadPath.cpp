// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/DownloadPath.h"

#include <QDir>
#include <QFileInfo>

bool isAllowedDownloadPath(const QString &path, const QString &directory)
{
    const QString root = QDir::cleanPath(QDir(directory).absolutePath());
    const QString file = QDir::cleanPath(QDir().absoluteFilePath(path));
    const bool isInside = file.startsWith(root.endsWith(u'/') ? root : root + u'/');
    // Opening a named pipe would wait for its other end.
    const QFileInfo present(file);
    return isInside && (!present.exists() || present.isFile());
}
