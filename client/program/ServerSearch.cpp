// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/ServerSearch.h"

namespace quillmote {
namespace {

using namespace std::chrono_literals;

/// Servers answer after a random delay of 20 to 120 ms (RFC 6762, section 6). So all other servers
/// follow the first within this time, unless a message is lost.
constexpr auto quietTime = 500ms;

} // namespace

ServerSearch::ServerSearch(const WantedServer &which) : wanted(which)
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

SearchResult ServerSearch::run(std::chrono::milliseconds limit)
{
    QTimer::singleShot(limit, &loop, [this] { decide(SearchState::Over); });
    browser.start();
    loop.exec();
    return result;
}

void ServerSearch::decide(SearchState state)
{
    result.choice = chooseServer(wanted, seen.values(), state);
    if (result.choice.kind != ServerChoice::Kind::Undecided) {
        loop.quit();
    }
}

} // namespace quillmote
