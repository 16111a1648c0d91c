// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/FileToSend.h"

#include "lib/PrintableText.h"
#include "program/ShellWord.h"

#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

constexpr qint64 headSize = 4096;

/// A tag as long as that of a first transfer; the checks do not depend on its value.
constexpr quint64 sampleTag = 1;

QString systemsReason(int error)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return u"no such file"_s;
    case EACCES:
    case EPERM:
        return u"permission denied"_s;
    default:
        return QString::fromLocal8Bit(strerror(error));
    }
}

bool hasInvisibleCharacter(const QString &name)
{
    const auto isOtherWhiteSpace = [](QChar character) {
        return character.isSpace() && character != u' ';
    };
    return printable(name) != name || std::any_of(name.cbegin(), name.cend(), isOtherWhiteSpace);
}

/// The server saves nothing outside its download directory, and does not report that.
QString reasonAgainstName(const QString &name)
{
    const QStringList parts = name.split(u'/');
    if (name.isEmpty() || name.endsWith(u'/') || parts.last() == "."_L1) {
        return u"it names no file"_s;
    }
    if (parts.contains(".."_L1)) {
        return u"it leads out of the download directory"_s;
    }
    return hasInvisibleCharacter(name) ? u"it holds a character that nobody sees"_s : QString();
}

} // namespace

/// Asks the system instead of opening the file, because opening a pipe waits for ever.
QString reasonAgainstReading(const QString &path)
{
    const QByteArray native = QFile::encodeName(path);
    struct stat status = {};
    if (stat(native.constData(), &status) != 0) {
        return systemsReason(errno);
    }
    if (S_ISDIR(status.st_mode)) {
        return u"is a directory; pack it into an archive, or name its files"_s;
    }
    if (!S_ISREG(status.st_mode)) {
        return u"is not a regular file"_s;
    }
    return access(native.constData(), R_OK) != 0 ? systemsReason(errno) : QString();
}

FileToSend FileToSend::at(const QString &path, const std::optional<QString> &name)
{
    FileToSend found;
    found.path = path;
    found.name = name.value_or(QFileInfo(path).fileName());
    const QString unreadable = reasonAgainstReading(path);
    if (!unreadable.isEmpty()) {
        found.problem = u"%1: %2."_s.arg(printable(path), unreadable);
        return found;
    }
    const QString unnamable = reasonAgainstName(found.name);
    if (!unnamable.isEmpty()) {
        found.problem = u"The name \"%1\" cannot be used: %2. Give another one with --as."_s.arg(
            printable(found.name), unnamable);
        return found;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        found.problem = u"%1: %2."_s.arg(printable(path), file.errorString());
        return found;
    }
    const FileAnnouncement announcement =
        announcementOf(found.name, file, static_cast<quint64>(file.size()), sampleTag);
    found.place = announcement.place;
    found.obstacle = announcement.obstacle;
    if (!announcement.refusal.isEmpty()) {
        found.problem = announcement.refusal + u" Give it another name with --as."_s;
    }
    return found;
}

FileAnnouncement announcementOf(const QString &name, QFile &file, quint64 size, quint64 tag)
{
    return FileAnnouncement::of(name, size, file.peek(headSize), tag);
}

QString restoringCommand(const QString &name, quint64 size)
{
    // With "./" in front, no name is taken for an option.
    const QString received = quotedForShell(u"./"_s + name);
    const QString restored = quotedForShell(u"./"_s + name + u".restored"_s);
    return u"tail -c %1 %2 >%3 && mv %3 %2"_s.arg(size).arg(received, restored);
}

} // namespace quillmote
