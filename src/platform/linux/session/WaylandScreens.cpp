// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/WaylandScreens.h"

#include <utility>

namespace platform {

WaylandScreens::WaylandScreens(std::unique_ptr<WaylandConnection> openConnection,
                               CompositorPatience patience)
    : connection(std::move(openConnection))
    , outputs(*connection)
{
    // Queued: one change of the compositor's comes as several events.
    QObject::connect(
        &outputs, &WaylandOutputs::changed, &outputs, [this] { compare(); }, Qt::QueuedConnection);
    patience.answers(*connection);
}

QSize WaylandScreens::desktopSize()
{
    return outputs.bounds().size();
}

QList<Screen> WaylandScreens::all()
{
    return outputs.all();
}

void WaylandScreens::watch(std::function<void()> changed)
{
    report = std::move(changed);
    latest = all();
}

void WaylandScreens::compare()
{
    if (report && all() != latest) {
        latest = all();
        // It may end the watch.
        const auto listener = report;
        listener();
    }
}

} // namespace platform
