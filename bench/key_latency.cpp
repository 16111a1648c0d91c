// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How long a key takes from the handheld's send() until another program sees it, compared with a
// minimal program that does nothing else. The two take turns in one run, so that other load on the
// machine affects both.
//
// Needs VORNA_SERVER (the server's executable) and the minimal program as first argument; a second
// one is the number of keys.

#include "KeyObserver.h"
#include "support/protocol/Handheld.h"
#include "support/session/DesktopSession.h"
#include "support/session/ServerProcess.h"

#include <QCoreApplication>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

using std::chrono::duration;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

using Microseconds = duration<double, std::micro>;

constexpr int UsualNumberOfKeys = 200;
constexpr milliseconds Pause{100};
constexpr quint8 CodeOfA = 38; ///< The key A of Xvfb's keyboard.

/// The times of one of the two programs.
struct Times
{
    std::vector<Microseconds> times;

    Microseconds atShare(double share)
    {
        std::sort(times.begin(), times.end());
        const auto index = static_cast<size_t>(share * static_cast<double>(times.size()));
        return times.at(std::min(index, times.size() - 1));
    }
    Microseconds median() { return atShare(0.5); }

    void print(const char *name)
    {
        std::printf("%-8s median %8.1f us   p99 %8.1f us   (%zu keys)\n", name, median().count(),
                    atShare(0.99).count(), times.size());
    }
};

/// Sends the bytes and measures the time until the press is seen; returns false if it is not seen.
bool measure(Handheld &sender, const QByteArray &bytes, KeyObserver &observer, Times &times)
{
    const auto start = steady_clock::now();
    if (!sender.send(bytes) || !observer.waitFor(XCB_INPUT_RAW_KEY_PRESS)) {
        return false;
    }
    times.times.push_back(steady_clock::now() - start);
    return observer.waitFor(XCB_INPUT_RAW_KEY_RELEASE);
}

[[noreturn]] void giveUp(const QByteArray &why)
{
    std::fprintf(stderr, "%s\n", why.constData());
    std::exit(1);
}

void compare(quint16 serverPort, quint16 floorPort, const QString &display, int keys)
{
    Handheld server(serverPort);
    Handheld floor(floorPort);
    KeyObserver observer(display);
    const QByteArray token = commandText(u"KEYBOARD_CMD"_s, {{u"fncCommand"_s, u"A"_s}});
    const QByteArray byte(1, static_cast<char>(CodeOfA));
    Times ofServer;
    Times ofFloor;
    for (int i = 0; i < keys; ++i) {
        QThread::msleep(static_cast<unsigned long>(Pause.count() / 2));
        if (!measure(server, token, observer, ofServer)) {
            giveUp("the server's key did not arrive");
        }
        QThread::msleep(static_cast<unsigned long>(Pause.count() / 2));
        if (!measure(floor, byte, observer, ofFloor)) {
            giveUp("the bare program's key did not arrive");
        }
    }
    ofServer.print("server");
    ofFloor.print("floor");
    std::printf("ratio of the medians %.2f (goal: at most 2)\n",
                ofServer.median().count() / ofFloor.median().count());
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const DesktopSession session;
    if (!session.problem().isEmpty()) {
        giveUp(session.problem());
    }
    const ServerProcess server(session);
    ChildProcess floor;
    floor.setProcessEnvironment(session.environment());
    floor.start(arguments.value(1), {});
    if (!floor.waitForReadyRead()) {
        giveUp("the bare program did not start");
    }
    const auto floorPort = floor.readLine().trimmed().toUShort();
    const quint16 serverPort = server.port();
    if (serverPort == 0) {
        giveUp("the server did not start: " + server.errorText());
    }
    const int keys = arguments.value(2).toInt();
    compare(serverPort, floorPort, session.display(), keys > 0 ? keys : UsualNumberOfKeys);
}
