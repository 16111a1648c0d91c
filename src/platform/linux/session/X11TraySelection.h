// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/session/TrayWatch.h"
#include "platform/linux/x11/X11Connection.h"

namespace platform {

/// The tray of the X11 system tray protocol: a window that owns a selection.
class X11TraySelection final : public TrayWatch
{
    Q_OBJECT

public:
    /// Without an X display there is never an owner.
    X11TraySelection();

    /// Whether the selection has an owner.
    bool hasTray() const override;

private:
    void readEvents();

    X11Connection connection;
    xcb_atom_t selection = XCB_ATOM_NONE;
};

} // namespace platform
