// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/TrayHost.h"

#include "platform/linux/session/TrayWatch.h"

#include <QEventLoop>
#include <QTimer>

#include <algorithm>

namespace platform {

void waitForTrayHost(std::chrono::milliseconds limit)
{
    const auto watches = makeTrayWatches();
    const auto hasTray = [&watches] {
        return std::ranges::any_of(watches, [](const auto &watch) { return watch->hasTray(); });
    };
    QEventLoop loop;
    const auto stopWhenShown = [&] {
        if (hasTray()) {
            loop.quit();
        }
    };
    // Watched before the first look, so that no tray that appears in between is missed.
    for (const auto &watch : watches) {
        QObject::connect(watch.get(), &TrayWatch::appeared, &loop, stopWhenShown);
    }
    if (hasTray()) {
        return;
    }
    QTimer::singleShot(limit, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace platform
