// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/applications/XdgDirectories.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

/// The longest name that a file may have.
constexpr qsizetype longestId = 255;

// The standard says that relative paths are ignored; the toolkit's own QStandardPaths uses them.
bool isRelative(const QString &path)
{
    return !path.startsWith(u'/');
}

QString directory(const char *variable, const QString &belowHome)
{
    const QString path = qEnvironmentVariable(variable);
    return isRelative(path) ? QDir::homePath() + belowHome : path;
}

QStringList directories(const char *variable, const QStringList &fallback)
{
    QStringList paths = qEnvironmentVariable(variable).split(u':', Qt::SkipEmptyParts);
    paths.removeIf(isRelative);
    return paths.isEmpty() ? fallback : paths;
}

/// Each dash may stand for a folder. Only existing folders are searched, so a long row of dashes
/// costs little.
QString findBelow(const QString &folder, const QString &name)
{
    const QString file = folder + u'/' + name;
    if (QFileInfo(file).isFile()) {
        return file;
    }
    for (qsizetype dash = name.indexOf(u'-'); dash > 0; dash = name.indexOf(u'-', dash + 1)) {
        const QString inner = folder + u'/' + name.first(dash);
        // Hidden folders hold no entries, and ".." would lead out.
        if (name.startsWith(u'.') || !QFileInfo(inner).isDir()) {
            continue;
        }
        const QString found = findBelow(inner, name.sliced(dash + 1));
        if (!found.isEmpty()) {
            return found;
        }
    }
    return {};
}

} // namespace

XdgDirectories XdgDirectories::fromEnvironment()
{
    return {
        directory("XDG_CONFIG_HOME", u"/.config"_s),
        directories("XDG_CONFIG_DIRS", {u"/etc/xdg"_s}),
        directory("XDG_DATA_HOME", u"/.local/share"_s),
        directories("XDG_DATA_DIRS", {u"/usr/local/share"_s, u"/usr/share"_s}),
        qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':', Qt::SkipEmptyParts),
    };
}

QString XdgDirectories::applicationFile(const QString &desktopId) const
{
    // Identifiers come from files and callers, so none may lead out of the folder.
    if (desktopId.contains(u'/') || desktopId.contains(QChar(u'\0')) ||
        desktopId.size() > longestId) {
        return {};
    }
    for (const QString &data : allData()) {
        const QString found = findBelow(data + "/applications"_L1, desktopId);
        if (!found.isEmpty()) {
            return found;
        }
    }
    return {};
}

} // namespace platform
