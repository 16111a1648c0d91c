// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/applications/WindowList.h"

#include <QDeadlineTimer>

namespace platform {

std::optional<WindowList::Window> WindowList::topmostOf(const QString &windowClass)
{
    if (!manager.isConnected() || windowClass.isEmpty()) {
        return std::nullopt;
    }
    const auto windows = manager.windows();
    for (auto window = windows.crbegin(); window != windows.crend(); ++window) {
        if (manager.hasClass(*window, windowClass) && manager.isOrdinary(*window)) {
            return *window;
        }
    }
    return std::nullopt;
}

bool WindowList::activate(Window window, std::chrono::milliseconds limit)
{
    if (!manager.isConnected()) {
        return false;
    }
    const QDeadlineTimer deadline(limit);
    manager.watch(window);
    manager.askToActivate(window);
    while (!manager.isActive(window)) {
        // There may be endless events that have nothing to do with the window.
        if (deadline.hasExpired() || !manager.waitForEvents(deadline)) {
            return false;
        }
    }
    return true;
}

} // namespace platform
