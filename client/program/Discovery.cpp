// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Discovery.h"

#include <QEventLoop>
#include <QMap>
#include <QTimer>

namespace {

/// With a name given, ends as soon as that one is there.
DiscoveredServers watch(const QString &wanted, std::chrono::milliseconds duration)
{
    using quillmote::ServerBrowser;
    DiscoveredServers result;
    QMap<QString, quillmote::ServerAddress> seen;
    QEventLoop loop;
    ServerBrowser browser;
    QObject::connect(&browser, &ServerBrowser::found, &loop,
                     [&](const quillmote::ServerAddress &server) {
                         seen.insert(server.name, server);
                         if (server.name == wanted) {
                             loop.quit();
                         }
                     });
    QObject::connect(&browser, &ServerBrowser::gone, &loop,
                     [&](const QString &name) { seen.remove(name); });
    QObject::connect(&browser, &ServerBrowser::failed, &loop, [&](const QString &problem) {
        result.problem = problem;
        loop.quit();
    });
    QTimer::singleShot(duration, &loop, &QEventLoop::quit);
    browser.start();
    loop.exec();
    result.servers = seen.values();
    return result;
}

} // namespace

DiscoveredServers discoverServers(std::chrono::milliseconds duration)
{
    return watch(QString(), duration);
}

DiscoveredServers discoverServer(const QString &name, std::chrono::milliseconds limit)
{
    return watch(name, limit);
}
