// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/SessionEntry.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

QString remove(const QString &file)
{
    return QFile::remove(file) ? QString() : u"%1 cannot be removed."_s.arg(file);
}

} // namespace

bool SessionEntry::exists()
{
    return QFileInfo::exists(path());
}

QString SessionEntry::set(bool isWanted)
{
    if (!isWanted) {
        return exists() ? remove(path()) : QString();
    }
    QDir().mkpath(QFileInfo(path()).path());
    QSaveFile file(path());
    const QByteArray wanted = content();
    const bool isWritten =
        file.open(QIODevice::WriteOnly) && file.write(wanted) == wanted.size() && file.commit();
    return isWritten ? QString() : u"%1 cannot be written: %2"_s.arg(path(), file.errorString());
}

} // namespace quillmote
