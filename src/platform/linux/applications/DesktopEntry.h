// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/applications/KeyFile.h"

#include <QString>
#include <QStringList>

namespace platform {

/// The group "[Desktop Entry]" of a file that describes a program: its name and how it is started
/// (Desktop Entry Specification 1.5).
class DesktopEntry
{
public:
    DesktopEntry(const KeyFile &contents, const QString &path);

    static DesktopEntry read(const QString &path);

    /// Whether it describes a program that can be started on this host: it is not marked as deleted
    /// and its program is installed.
    bool isApplication() const;
    bool isHidden() const { return flag("Hidden"); }
    bool isDBusActivatable() const { return flag("DBusActivatable"); }
    bool needsTerminal() const { return flag("Terminal"); }

    /// Whether the entry is for one of these desktops, as XDG_CURRENT_DESKTOP names them.
    bool isMeantFor(const QStringList &desktops) const;

    /// The name in the language of the locale, such as "de_AT.UTF-8".
    QString name(const QString &locale) const;
    /// The program that Exec names, as a path or as a name to be looked up in PATH; if Exec begins
    /// with "env", the program that this starts. Empty when Exec names none.
    QString program() const;
    /// The program and its arguments when it is started without files; empty when Exec must not be
    /// run.
    QStringList command(const QString &locale) const;
    QString workingDirectory() const { return text("Path"); }
    /// The class of the program's windows; empty when the entry does not name it.
    QString windowClass() const { return text("StartupWMClass"); }
    /// The name of the file without ".desktop"; also the bus name of a program that D-Bus starts.
    QString baseName() const;

    /// The text of a file that starts the program at logon. `path` is absolute.
    static QByteArray autostartText(const QString &name, const QString &path);

private:
    QString text(const char *key) const;
    bool flag(const char *key) const;
    bool isInstalled() const;

    KeyFile keys;
    QString fileName;
};

/// The locale of the user's messages, from the environment.
QString messageLocale();

} // namespace platform
