// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Kills the server during floods of keys and clicks, a thousand times, and counts how often a key
// or button is still down two seconds later. Prints a row of a table, as bench/attacks does.
//
// Needs VORNA_SERVER (the server's executable). The argument, from 1 to 100, is the percentage of
// the load; the default is 100. Exits with status 1 if a key or button was down.

#include "LoadTable.h"
#include "support/protocol/Handheld.h"
#include "support/protocol/Typist.h"
#include "support/session/DesktopSession.h"
#include "support/session/ServerProcess.h"
#include "support/x11/InputWatcher.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <random>
#include <vector>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

namespace {

QByteArray click(const char *code)
{
    return commandText(u"MOUSE_CMD"_s, {{u"fncCommand"_s, QLatin1StringView(code)}});
}

/// A killed server may leave a button down; release it before the next round.
void letGo(InputWatcher &watcher)
{
    for (const int keycode : watcher.keysDown()) {
        QProcess::execute(u"xdotool"_s, {u"keyup"_s, QString::number(keycode)});
    }
    for (const char *button : {"1", "2", "3"}) {
        QProcess::execute(u"xdotool"_s, {u"mouseup"_s, QLatin1StringView(button)});
    }
}

/// Whether the killed server has left something down.
bool isLeftDown(const DesktopSession &session, std::mt19937 &random)
{
    ServerProcess server(session);
    const quint16 port = server.port();
    if (port == 0) {
        std::fprintf(stderr, "no server: %s\n", server.errorText().constData());
        std::exit(2);
    }
    InputWatcher watcher(session.display());
    std::vector<std::unique_ptr<Typist>> typists;
    for (const QByteArray &token : {keyCommand(u"Cmd+Alt+Shift+A"_s), keyCommand(u"Shift+B"_s),
                                    keyCommand(u"C"_s), click("0"), click("1")}) {
        typists.push_back(std::make_unique<Typist>(port, token));
    }
    std::this_thread::sleep_for(std::chrono::microseconds(20'000 + random() % 180'000));
    server.end(SIGKILL);
    typists.clear();
    const bool isUp = waitUntil([&] { return watcher.isNothingDown(); }, 2s, 5ms);
    if (!isUp) {
        letGo(watcher);
    }
    return !isUp;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    LoadTable::takeShare(argc, argv);
    const int rounds = LoadTable::scaled(1000);
    const DesktopSession session;
    if (!session.problem().isEmpty()) {
        std::fprintf(stderr, "%s\n", session.problem().constData());
        return 2;
    }
    qputenv("DISPLAY", session.display().toLatin1());
    std::mt19937 random(1);
    int left = 0;
    for (int round = 1; round <= rounds; ++round) {
        left += isLeftDown(session, random) ? 1 : 0;
        if (round % 50 == 0) {
            std::fprintf(stderr, "%d kills, %d with a key or button left down\n", round, left);
        }
    }
    LoadTable::report(u"%1 kills during floods of keys and clicks"_s.arg(rounds),
                      u"no key and no button is down two seconds later"_s,
                      u"one was after %1 of them"_s.arg(left), left == 0);
    return LoadTable::haveAllHeld() ? 0 : 1;
}
