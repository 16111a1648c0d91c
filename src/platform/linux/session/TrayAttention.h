// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QPointer>

namespace platform {

/// The tray icon's call for attention. For as long as a balloon lasts the toolkit reports that its
/// icon needs attention. GNOME's extension then shows the balloon's icon in place of ours, which
/// hides the light, so there the call is ended at once. Until the balloon's time is over the icon
/// has no tool tip then, but GNOME shows none.
class TrayAttention
{
public:
    TrayAttention();

    /// To be called after each balloon. Does nothing on other desktops, or if the toolkit has
    /// changed.
    void end();

private:
    const bool isVisible;
    QPointer<QObject> item; ///< The toolkit's own part of the icon, once it is found.
};

} // namespace platform
