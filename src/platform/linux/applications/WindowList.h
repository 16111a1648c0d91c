// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace platform {

/// The windows that the window manager of an X display keeps (Extended Window Manager Hints 1.5).
/// Without a display, or without such a window manager, there are none.
class WindowList
{
public:
    using Window = std::uint32_t;

    /// Connects to the display that the environment names.
    WindowList();
    ~WindowList();

    /// The topmost window of that class or class instance, in any letter case; panels and the
    /// desktop's background do not count.
    std::optional<Window> topmostOf(const QString &windowClass);

    /// Asks the window manager to bring the window to the front, then waits until the window is the
    /// active one and keys go to it. False when that took longer than the limit.
    bool activate(Window window, std::chrono::milliseconds limit);

private:
    class Display;

    std::unique_ptr<Display> display;
};

} // namespace platform
