// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/DownloadFile.h"

#include "platform/FileBelow.h"

#include <QFile>

namespace {

/// Several slashes in a row count as one in a path, so leading slashes of the name only repeat the
/// one that joins it to the directory.
QByteArray pathBelow(const QString &name)
{
    QByteArray path = QFile::encodeName(name);
    while (path.startsWith('/')) {
        path.remove(0, 1);
    }
    return path;
}

} // namespace

bool isDownloadDirectory(const QString &directory)
{
    return directory.startsWith(u'/');
}

bool openDownload(QFile &file, const QString &directory, const QString &name)
{
    // For the system, a path ends at a NUL.
    if (!isDownloadDirectory(directory) || directory.contains(QChar::Null) ||
        name.contains(QChar::Null)) {
        return false;
    }
    const int descriptor = platform::openFileBelow(QFile::encodeName(directory), pathBelow(name));
    // Unbuffered: what has been read from the network is in the file whatever happens to this
    // process.
    return descriptor != -1 && file.open(descriptor, QIODevice::Append | QIODevice::Unbuffered,
                                         QFileDevice::AutoCloseHandle);
}
