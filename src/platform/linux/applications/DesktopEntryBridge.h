// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/ScriptingBridge.h"
#include "platform/linux/applications/XdgDirectories.h"

namespace platform {

/// Takes bundle identifiers for names of desktop entries: "com.apple.iTunes" is the program that
/// com.apple.iTunes.desktop describes. If there is no such entry, iTunes stands for the desktop's
/// own music player, and the Finder for its file manager.
class DesktopEntryBridge final : public ScriptingBridge
{
public:
    explicit DesktopEntryBridge(const XdgDirectories &xdgDirectories);

    /// Reads the entries anew each time, because programs come and go.
    std::unique_ptr<ScriptableApplication>
    applicationWithBundleIdentifier(const QString &identifier) override;

private:
    QString applicationFile(const QString &identifier) const;

    XdgDirectories directories;
};

} // namespace platform
