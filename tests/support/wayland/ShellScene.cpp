// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/wayland/ShellScene.h"

#include "support/Waiting.h"
#include "support/protocol/SessionClient.h"

using namespace std::chrono_literals;

std::optional<ShellScene::Shell> ShellScene::ofEnvironment()
{
    const QByteArray name = qgetenv("VORNA_DESKTOP");
    return name == "gnome"    ? std::optional(Shell::Gnome)
           : name == "plasma" ? std::optional(Shell::Plasma)
                              : std::nullopt;
}

ShellScene::ShellScene(Shell shell) : desktop(shell)
{
    if (desktop.problem().isEmpty()) {
        panel = std::make_unique<NotificationDesk>(desktop.busAddress());
    }
}

QByteArray ShellScene::problem() const
{
    if (!desktop.problem().isEmpty()) {
        return desktop.problem();
    }
    return panel->isReady() ? QByteArray() : "the names of the panel are taken";
}

bool ShellScene::start()
{
    process = std::make_unique<ServerProcess>(desktop);
    const qsizetype before = panel->icons().size();
    return desktop.dismissOverview() && process->port() != 0 &&
           waitUntil([&] { return panel->icons().size() > before; });
}

QString ShellScene::errorOfKey() const
{
    SessionClient client(desktop.serverSocket());
    return client.ask(u"key"_s, {{u"key"_s, u"Shift"_s}}).error();
}

bool ShellScene::allow()
{
    return waitUntil([this] { return QFile::exists(socketPath()); }) &&
           errorOfKey() == "consent-pending"_L1 && desktop.consent() &&
           waitUntil([this] { return errorOfKey().isEmpty(); }, GenerousLimit, 50ms) &&
           SessionClient(socketPath()).ask(u"move"_s, {{u"dx"_s, 9999}, {u"dy"_s, 9999}}).isOk();
}

QByteArray ShellScene::problemAtEnd()
{
    const QByteArray problem = process ? process->problemAtEnd() : QByteArray();
    return problem.isEmpty() ? problem : problem + '\n' + process->errorText();
}
