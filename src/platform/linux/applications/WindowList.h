// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/x11/X11WindowManager.h"

#include <QString>

#include <chrono>
#include <cstdint>
#include <optional>

namespace platform {

/// The windows that the window manager of an X display keeps. Without a display, or without a
/// window manager that publishes them, there are none.
class WindowList
{
public:
    using Window = std::uint32_t;

    /// The topmost window of that class or class instance, in any letter case; panels and the
    /// desktop's background do not count.
    std::optional<Window> topmostOf(const QString &windowClass);

    /// Asks the window manager to bring the window to the front, then waits until the window is the
    /// active one and keys go to it. False when that took longer than the limit.
    bool activate(Window window, std::chrono::milliseconds limit);

private:
    X11WindowManager manager;
};

} // namespace platform
