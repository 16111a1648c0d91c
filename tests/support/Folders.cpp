// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Folders.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QFile>

#include <set>

namespace Folders {

namespace {

QByteArray describe(const QFileInfo &entry)
{
    if (entry.isSymLink()) {
        return "link to " + entry.symLinkTarget().toUtf8();
    }
    if (entry.isDir()) {
        return "folder";
    }
    if (entry.isFile()) {
        return QByteArray::number(entry.size()) + " bytes " + fileHash(entry.filePath()).toHex();
    }
    return "special file";
}

} // namespace

QMap<QString, QByteArray> listing(const QString &folder)
{
    QMap<QString, QByteArray> found;
    QDirIterator entries(folder,
                         QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        entries.next();
        found.insert(QDir(folder).relativeFilePath(entries.filePath()),
                     describe(entries.fileInfo()));
    }
    return found;
}

QStringList differences(const QMap<QString, QByteArray> &before,
                        const QMap<QString, QByteArray> &after)
{
    std::set<QString> paths;
    for (const auto &[path, content] : before.asKeyValueRange()) {
        if (after.value(path) != content) {
            paths.insert(path);
        }
    }
    for (const auto &[path, content] : after.asKeyValueRange()) {
        if (before.value(path) != content) {
            paths.insert(path);
        }
    }
    return QStringList(paths.begin(), paths.end());
}

QByteArray fileBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
}

QByteArray fileHash(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha1);
    return file.open(QIODevice::ReadOnly) && hash.addData(&file) ? hash.result() : QByteArray();
}

} // namespace Folders
