// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace platform {

/// What a session offers to programs that read and set its clipboard without the focus.
struct ClipboardOffer
{
    bool hasWayland = false;     ///< A Wayland compositor answers.
    bool hasDataControl = false; ///< By either of its names.
    bool isInputByPortal = false;
    bool isToolkitOnX11 = false;
};

/// How the clipboard is reached in a session, if it is.
enum class ClipboardRoute { DataControl, Portal, NoneInWayland, X11, Toolkit };

ClipboardRoute clipboardRouteOf(const ClipboardOffer &offered);

} // namespace platform
