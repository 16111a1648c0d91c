// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/ScriptingBridge.h"
#include "platform/linux/applications/DesktopEntry.h"

namespace platform {

/// The program that a desktop entry describes. It counts as running when it owns its name on the
/// session bus (if D-Bus starts it) or has a window; until its first window it does not.
class DesktopApplication final : public ScriptableApplication
{
public:
    explicit DesktopApplication(const DesktopEntry &desktopEntry);

    bool isRunning() override;
    /// Returns when the program's window is the active one, or after half a second at most.
    ///
    /// Window managers activate a window some time after the request, but the caller types a
    /// shortcut at once: without the wait it would reach, and quit, the program that was in front
    /// before. Keys go to the window only once it has the focus. That usually takes a few
    /// milliseconds; half a second is lost only if the window never gets it.
    void activate() override;
    /// Does not wait for the start.
    void run() override;
    QString name() override;

private:
    /// The classes that windows of the program may have.
    QStringList windowClasses() const;

    DesktopEntry entry;
};

} // namespace platform
