// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

namespace quillmote {

/// Where the session socket of this desktop's server is, see docs/session.md.
struct SessionPlace
{
    QString runtimeFolder;  ///< the user's own folder on this computer; empty if there is none
    QString waylandDisplay; ///< WAYLAND_DISPLAY
    QString display;        ///< DISPLAY

    /// The place that the environment of this process names.
    static SessionPlace ofEnvironment();

    /// The full path of the socket; empty without a runtime folder.
    QString path() const;

    /// Why nothing may be sent to the socket of that path: there is none, or it is not safe. What
    /// is typed may be a password, so it goes to a server of the same user only; and others must
    /// not be able to put a socket of their own into the folder. Empty if it can be used.
    static QString reasonAgainst(const QString &path);
};

/// The folder for sockets and the like that belongs to this user on this computer only; empty if
/// there is none. It has a form of its own on each system.
QString ownRuntimeFolder();

} // namespace quillmote
