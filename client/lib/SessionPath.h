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
};

/// The folder for sockets and the like that belongs to this user on this computer only; empty if
/// there is none. It has a form of its own on each system.
QString ownRuntimeFolder();

} // namespace quillmote
