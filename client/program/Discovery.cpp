// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Discovery.h"

#include <QEventLoop>
#include <QMap>
#include <QTimer>

namespace quillmote {

DiscoveredServers discoverServers(std::chrono::milliseconds duration)
{
    QMap<QString, ServerAddress> seen;
    const QString problem = watchServers(
        duration, [&](const ServerAddress &server) { seen.insert(server.name, server); },
        [&](const QString &name) { seen.remove(name); });
    return {seen.values(), problem};
}

QString watchServers(std::optional<std::chrono::milliseconds> limit,
                     const std::function<void(const ServerAddress &)> &came,
                     const std::function<void(const QString &)> &went)
{
    QString problem;
    QEventLoop loop;
    ServerBrowser browser;
    QObject::connect(&browser, &ServerBrowser::found, &loop, came);
    QObject::connect(&browser, &ServerBrowser::gone, &loop, went);
    QObject::connect(&browser, &ServerBrowser::failed, &loop, [&](const QString &why) {
        problem = why;
        loop.quit();
    });
    if (limit) {
        QTimer::singleShot(*limit, &loop, &QEventLoop::quit);
    }
    browser.start();
    loop.exec();
    return problem;
}

} // namespace quillmote
