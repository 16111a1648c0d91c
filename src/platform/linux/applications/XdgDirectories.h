// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

namespace platform {

/// Where the desktop keeps its files (XDG Base Directory Specification 0.8), the most important
/// directory first.
struct XdgDirectories
{
    QString configHome;
    QStringList configDirs;
    QString dataHome;
    QStringList dataDirs;
    /// What the running desktop calls itself, such as "GNOME".
    QStringList desktops;

    static XdgDirectories fromEnvironment();

    QStringList allConfig() const { return QStringList{configHome} + configDirs; }
    QStringList allData() const { return QStringList{dataHome} + dataDirs; }

    /// The file of the desktop entry with that identifier: "a-b.desktop" is the file a-b.desktop or
    /// a/b.desktop in the first data directory that has one. Empty when none has.
    QString applicationFile(const QString &desktopId) const;
};

} // namespace platform
