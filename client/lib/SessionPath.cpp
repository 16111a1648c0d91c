// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/SessionPath.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// What follows the last slash: a display of Wayland may be named by a path.
QString lastPart(const QString &path)
{
    return path.section(u'/', -1, -1, QString::SectionSkipEmpty);
}

QString withoutScreen(const QString &display)
{
    static const QRegularExpression screen(u"(:[0-9]+)\\.[0-9]+\\z"_s);
    return QString(display).replace(screen, u"\\1"_s);
}

QString desktopName(const SessionPlace &place)
{
    if (!place.waylandDisplay.isEmpty()) {
        return lastPart(place.waylandDisplay);
    }
    return place.display.isEmpty() ? u"desktop"_s : withoutScreen(place.display);
}

} // namespace

SessionPlace SessionPlace::ofEnvironment()
{
    return {ownRuntimeFolder(), qEnvironmentVariable("WAYLAND_DISPLAY"),
            qEnvironmentVariable("DISPLAY")};
}

QString SessionPlace::path() const
{
    static const QRegularExpression unusual(u"[^A-Za-z0-9._-]"_s);
    if (runtimeFolder.isEmpty()) {
        return {};
    }
    const QString name = desktopName(*this).replace(unusual, u"_"_s);
    return u"%1/vornaserver/%2.socket"_s.arg(runtimeFolder, name);
}

QString SessionPlace::reasonAgainst(const QString &path)
{
    const QFileInfo socket(path);
    const QFileInfo folder(socket.path());
    if (path.isEmpty() || !socket.exists()) {
        return u"there is none"_s;
    }
    const auto others = QFile::WriteGroup | QFile::WriteOther;
    const bool isOurs = socket.ownerId() == geteuid() && folder.ownerId() == geteuid();
    return isOurs && !(folder.permissions() & others) ? QString()
                                                      : u"its socket belongs to another user"_s;
}

} // namespace quillmote
