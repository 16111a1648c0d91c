// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/ScriptingBridge.h"
#include "platform/linux/applications/DesktopEntry.h"

namespace platform {

/// The program that a desktop entry describes. It runs when it owns its name on the session bus (if
/// D-Bus starts it) or has a window; between its start and its first window it does not yet run.
class DesktopApplication final : public ScriptableApplication
{
public:
    explicit DesktopApplication(const DesktopEntry &desktopEntry);

    bool isRunning() override;
    /// Returns when the program's window is the active one, or after half a second at most.
    ///
    /// Window managers activate some time after they are asked, whereas the caller types a shortcut
    /// at once: without the wait it would reach, and quit, the program that was in front before.
    /// Only the window's having the focus tells that keys go to it, and half a second is the price
    /// of an answer that never comes, not of the usual few milliseconds.
    void activate() override;
    /// Does not wait for the start.
    void run() override;
    QString name() override;

private:
    /// The class that windows of the program bear.
    QStringList windowClasses() const;

    DesktopEntry entry;
};

} // namespace platform
