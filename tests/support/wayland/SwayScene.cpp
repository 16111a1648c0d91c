// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/wayland/SwayScene.h"

#include "support/Waiting.h"

SwayScene::SwayScene()
{
    if (sway.problem().isEmpty()) {
        panel = std::make_unique<NotificationDesk>(sway.busAddress());
    }
}

QByteArray SwayScene::problem() const
{
    if (!sway.problem().isEmpty()) {
        return sway.problem();
    }
    return panel->isReady() ? QByteArray() : "the names of the panel are taken";
}

bool SwayScene::start()
{
    process = std::make_unique<ServerProcess>(sway);
    const qsizetype before = panel->icons().size();
    return process->port() != 0 && waitUntil([&] { return panel->icons().size() > before; });
}

QByteArray SwayScene::problemAtEnd()
{
    const QByteArray problem = process ? process->problemAtEnd() : QByteArray();
    return problem.isEmpty() ? problem : problem + '\n' + process->errorText();
}
