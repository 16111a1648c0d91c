// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/PrivateFile.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QTemporaryFile>

using namespace Qt::StringLiterals;

namespace quillmote::PrivateFile {
namespace {

constexpr auto ownerOnly = QFile::ReadOwner | QFile::WriteOwner;

/// An existing folder keeps its permissions.
bool makeFolder(const QString &path)
{
    if (QFileInfo(path).isDir()) {
        return true;
    }
    return makeFolder(QFileInfo(path).path()) &&
           (QDir().mkdir(path, ownerOnly | QFile::ExeOwner) || QFileInfo(path).isDir());
}

QString problemWithFolder(const QString &path)
{
    const QString folder = QFileInfo(path).absolutePath();
    return makeFolder(folder) ? QString() : u"the folder %1 cannot be made"_s.arg(folder);
}

} // namespace

QByteArray read(const QString &path, qint64 limit)
{
    QFile file(path);
    const bool isWithinLimit = QFileInfo(path).isFile() && file.size() <= limit;
    return isWithinLimit && file.open(QIODevice::ReadOnly) ? file.read(limit) : QByteArray();
}

QString replace(const QString &path, const QByteArray &content)
{
    const QString problem = problemWithFolder(path);
    if (!problem.isEmpty()) {
        return problem;
    }
    QSaveFile file(path);
    const bool isWritten = file.open(QIODevice::WriteOnly) && file.setPermissions(ownerOnly) &&
                           file.write(content) == content.size() && file.commit();
    return isWritten ? QString() : file.errorString();
}

QString create(const QString &path, const QByteArray &content)
{
    const QString problem = problemWithFolder(path);
    if (!problem.isEmpty()) {
        return problem;
    }
    // Only their owner may read temporary files.
    QTemporaryFile file(path + u".XXXXXX"_s);
    const bool isWritten = file.open() && file.write(content) == content.size() && file.flush();
    if (!isWritten) {
        return file.errorString();
    }
    // Renaming does not replace an existing file.
    if (QFile::rename(file.fileName(), path)) {
        file.setAutoRemove(false);
    }
    return QFileInfo::exists(path) ? QString() : u"%1 cannot be written"_s.arg(path);
}

} // namespace quillmote::PrivateFile
