// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Discovery.h"

#include <QEventLoop>
#include <QMap>
#include <QTimer>

namespace quillmote {
namespace {

using namespace std::chrono_literals;

/// Servers answer a browser after 20 to 120 ms drawn at random (RFC 6762, section 6), so that one
/// found is followed by the others within this time unless a message is lost.
constexpr auto quietTime = 500ms;

/// Runs the event loop with a browser in it, until the limit if there is one.
QString browse(std::optional<std::chrono::milliseconds> limit,
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

/// Looks until it is clear which server is meant.
class Search
{
public:
    explicit Search(const WantedServer &which) : wanted(which)
    {
        quiet.setSingleShot(true);
        QObject::connect(&browser, &ServerBrowser::found, &loop, [this](const auto &server) {
            seen.insert(server.name, server);
            quiet.start(quietTime);
            decide(SearchState::Running);
        });
        QObject::connect(&browser, &ServerBrowser::gone, &loop,
                         [this](const QString &name) { seen.remove(name); });
        QObject::connect(&browser, &ServerBrowser::failed, &loop, [this](const QString &why) {
            result.problem = why;
            loop.quit();
        });
        QObject::connect(&quiet, &QTimer::timeout, &loop, [this] { decide(SearchState::Quiet); });
    }

    SearchResult run(std::chrono::milliseconds limit)
    {
        QTimer::singleShot(limit, &loop, [this] { decide(SearchState::Over); });
        browser.start();
        loop.exec();
        return result;
    }

private:
    void decide(SearchState state)
    {
        result.choice = chooseServer(wanted, seen.values(), state);
        if (result.choice.kind != ServerChoice::Kind::Undecided) {
            loop.quit();
        }
    }

    WantedServer wanted;
    QMap<QString, ServerAddress> seen;
    SearchResult result;
    QEventLoop loop;
    QTimer quiet;
    ServerBrowser browser;
};

} // namespace

DiscoveredServers discoverServers(std::chrono::milliseconds duration)
{
    QMap<QString, ServerAddress> seen;
    const QString problem = browse(
        duration, [&](const ServerAddress &server) { seen.insert(server.name, server); },
        [&](const QString &name) { seen.remove(name); });
    return {seen.values(), problem};
}

QString watchServers(std::optional<std::chrono::milliseconds> limit,
                     const std::function<void(const ServerAddress &)> &came,
                     const std::function<void(const QString &)> &went)
{
    return browse(limit, came, went);
}

SearchResult searchServer(const WantedServer &wanted, std::chrono::milliseconds limit)
{
    return Search(wanted).run(limit);
}

} // namespace quillmote
