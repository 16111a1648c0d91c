// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/TrayHost.h"

#include "platform/linux/session/StatusNotifierHosts.h"
#include "platform/linux/session/X11TraySelection.h"

#include <QEventLoop>
#include <QTimer>

namespace platform {

void waitForTrayHost(std::chrono::milliseconds limit)
{
    const StatusNotifierHosts hosts;
    const X11TraySelection selection;
    QEventLoop loop;
    const auto stopWhenShown = [&] {
        if (hosts.hasHost() || selection.hasOwner()) {
            loop.quit();
        }
    };
    // Watched before the first look, so that nothing appears in between unseen.
    QObject::connect(&hosts, &StatusNotifierHosts::appeared, &loop, stopWhenShown);
    QObject::connect(&selection, &X11TraySelection::ownerAppeared, &loop, stopWhenShown);
    if (hosts.hasHost() || selection.hasOwner()) {
        return;
    }
    QTimer::singleShot(limit, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace platform
