// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Discovery.h"

#include <QEventLoop>
#include <QMap>
#include <QTimer>

using quillmote::ServerAddress;
using quillmote::ServerBrowser;

namespace {

/// Runs the event loop with a browser in it. `came` ends it by returning true.
QString browse(std::optional<std::chrono::milliseconds> limit,
               const std::function<bool(const ServerAddress &)> &came,
               const std::function<void(const QString &)> &went)
{
    QString problem;
    QEventLoop loop;
    ServerBrowser browser;
    QObject::connect(&browser, &ServerBrowser::found, &loop, [&](const ServerAddress &server) {
        if (came(server)) {
            loop.quit();
        }
    });
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

/// With a name given, ends as soon as that one is there.
DiscoveredServers collect(const QString &wanted, std::chrono::milliseconds duration)
{
    QMap<QString, ServerAddress> seen;
    DiscoveredServers result;
    result.problem = browse(
        duration,
        [&](const ServerAddress &server) {
            seen.insert(server.name, server);
            return server.name == wanted;
        },
        [&](const QString &name) { seen.remove(name); });
    result.servers = seen.values();
    return result;
}

} // namespace

DiscoveredServers discoverServers(std::chrono::milliseconds duration)
{
    return collect(QString(), duration);
}

QString watchServers(std::optional<std::chrono::milliseconds> limit,
                     const std::function<void(const ServerAddress &)> &came,
                     const std::function<void(const QString &)> &went)
{
    return browse(
        limit,
        [&](const ServerAddress &server) {
            came(server);
            return false;
        },
        went);
}

DiscoveredServers discoverServer(const QString &name, std::chrono::milliseconds limit)
{
    return collect(name, limit);
}
