// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/ScriptingBridge.h"
#include "platform/linux/applications/XdgDirectories.h"

namespace platform {

/// Takes bundle identifiers for names of desktop entries: "com.apple.iTunes" is the program that
/// com.apple.iTunes.desktop describes. Where there is no such entry, the music player of a Mac is
/// the desktop's own music player, and the Finder its file manager.
class DesktopEntryBridge final : public ScriptingBridge
{
public:
    explicit DesktopEntryBridge(const XdgDirectories &xdgDirectories);

    /// Reads the entries afresh, as programs come and go.
    std::unique_ptr<ScriptableApplication>
    applicationWithBundleIdentifier(const QString &identifier) override;

private:
    QString applicationFile(const QString &identifier) const;

    XdgDirectories directories;
};

} // namespace platform
