// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/session/DesktopSession.h"
#include "support/session/ServerProcess.h"

/// The menu of the server's tray icon, used with the mouse as a person does.
class TrayMenu
{
public:
    /// The items from the top.
    enum class Item { About, SupportWebsite, StartStop, Preferences, Quit };
    static constexpr int ItemCount = 5;

    TrayMenu(const DesktopSession &session, const ServerProcess &server);

    /// Clicks the icon with the right button and waits until the menu is painted whole.
    bool open() const;

    /// Clicks an item of the open menu and waits until the menu is gone.
    bool click(Item item) const;

    /// Closes the open menu with the Escape key.
    bool leave() const;

    bool choose(Item item) const { return open() && click(item); }

    /// What the row of an item of the open menu looks like; a null picture when none is open.
    QImage row(Item item) const;

private:
    std::optional<SeenWindow> window() const;
    std::optional<QPoint> middleOf(Item item) const;

    const DesktopSession &desktop;
    const ServerProcess &process;
};
