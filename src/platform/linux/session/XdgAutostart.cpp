// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/XdgAutostart.h"

#include "platform/linux/applications/DesktopEntry.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

constexpr auto programName = "VornaServer"_L1;

} // namespace

XdgAutostart::XdgAutostart(const QString &autostartFolder) : folder(autostartFolder)
{
    const QStringList names = QDir(folder).entryList({u"*.desktop"_s}, QDir::Files, QDir::Name);
    for (const QString &name : names) {
        const QString fileName = folder + u'/' + name;
        entries.append({DesktopEntry::read(fileName).program(), fileName});
    }
}

QString XdgAutostart::applicationPath() const
{
    const QString image = qEnvironmentVariable("APPIMAGE");
    const QString mount = qEnvironmentVariable("APPDIR");
    const QString executable = QCoreApplication::applicationFilePath();
    // A terminal that is itself an AppImage passes both variables on to all programs started in it.
    const bool isFromImage = !mount.isEmpty() && executable.startsWith(mount + u'/');
    return isFromImage && !image.isEmpty() ? image : executable;
}

void XdgAutostart::append(const QString &path, bool)
{
    entries.append({path, QString()});
}

void XdgAutostart::removeAt(int index)
{
    if (index < 0 || index >= entries.size()) {
        return;
    }
    const Entry removed = entries.takeAt(index);
    if (!removed.fileName.isEmpty()) {
        removedFiles.append(removed.fileName);
    }
}

void XdgAutostart::save()
{
    // Done first, because a new entry may get the name of a removed one.
    for (const QString &fileName : removedFiles) {
        QFile::remove(fileName);
    }
    removedFiles.clear();
    for (Entry &entry : entries) {
        if (entry.fileName.isEmpty()) {
            write(entry);
        }
    }
}

/// A file of our name that does not start us belongs to somebody else, or is how the user masks an
/// administrator's entry.
QString XdgAutostart::freeFileName() const
{
    QString fileName = folder + u'/' + programName + ".desktop"_L1;
    for (int number = 2; QFileInfo::exists(fileName) || QFileInfo(fileName).isSymLink(); ++number) {
        fileName = folder + u'/' + programName + u'-' + QString::number(number) + ".desktop"_L1;
    }
    return fileName;
}

void XdgAutostart::write(Entry &entry) const
{
    QDir().mkpath(folder);
    QSaveFile file(freeFileName());
    if (file.open(QIODevice::WriteOnly) &&
        file.write(DesktopEntry::autostartText(programName, entry.path)) > 0 && file.commit()) {
        entry.fileName = file.fileName();
    }
}

} // namespace platform
