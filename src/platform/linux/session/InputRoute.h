// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace platform {

/// What a session offers to programs that type and point for the user. Nothing here depends on the
/// name of a desktop.
struct SessionOffer
{
    bool hasWayland = false; ///< A Wayland compositor answers.
    bool hasVirtualKeyboard = false;
    bool hasVirtualPointer = false;
    bool hasPortal = false; ///< The RemoteDesktop portal.
    bool hasX11 = false;    ///< An X server answers.
    bool isXwayland = false;
    bool canFakeInput = false; ///< The X server has XTEST and XKEYBOARD.
};

/// How input is posted in a session, or why it cannot be.
enum class InputRoute { X11, Wlroots, Portal, NoneInWayland, NoneWithoutXtest, NoneWithoutDisplay };

InputRoute inputRouteOf(const SessionOffer &offered);

} // namespace platform
