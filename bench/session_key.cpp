// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How long a key takes from a session's send() until another program sees it, compared with a
// minimal program that reads bytes from a local socket and does nothing else. The two take turns in
// one run, so that other load on the machine affects both.
//
// Needs VORNA_SERVER (the server's executable) and the minimal program as first argument; a second
// one is the number of keys.

#include "BareProgram.h"
#include "KeyObserver.h"
#include "support/Sample.h"

#include <QThread>

#include <cstdio>

using std::chrono::steady_clock;

namespace {

constexpr int UsualNumberOfKeys = 200;
constexpr unsigned long PauseMilliseconds = 50;
constexpr char CodeOfA = 38; ///< The key A of Xvfb's keyboard.

/// Sends the bytes and measures the microseconds until the press is seen.
void measure(SessionPeer &sender, const QByteArray &bytes, KeyObserver &observer, Sample &times)
{
    QThread::msleep(PauseMilliseconds);
    const auto start = steady_clock::now();
    ServerBench::require(sender.send(bytes) && observer.waitFor(XCB_INPUT_RAW_KEY_PRESS), "a key");
    const std::chrono::duration<double, std::micro> time = steady_clock::now() - start;
    times.add(time.count());
    ServerBench::require(observer.waitFor(XCB_INPUT_RAW_KEY_RELEASE), "a key's release");
}

void print(const char *name, const Sample &times)
{
    std::printf("%-8s median %8.1f us   p99 %8.1f us   (%zu keys)\n", name, times.median(),
                times.atShare(0.99), times.size());
}

void compare(const QStringList &arguments)
{
    ServerBench bench(u"/nonexistent"_s);
    bench.start();
    const BareProgram bare(arguments.value(1), bench.session());

    SessionPeer server = SessionPeer::soon(SessionPeer::pathOf(bench.session()));
    SessionPeer floor = bare.peer();
    ServerBench::require(!server.message().isEmpty() && floor.isConnected(), "the sockets");
    KeyObserver observer(bench.session().display());
    const int keys = arguments.value(2).toInt();
    Sample ofServer;
    Sample ofFloor;
    for (int i = 0; i < (keys > 0 ? keys : UsualNumberOfKeys); ++i) {
        measure(server,
                R"({"id":1,"request":"key","key":"a"})"
                "\n",
                observer, ofServer);
        ServerBench::require(server.message().contains(u"ok"_s), "the answer to a key");
        measure(floor, QByteArray(1, CodeOfA), observer, ofFloor);
    }
    print("session", ofServer);
    print("floor", ofFloor);
    std::printf("ratio of the medians %.2f (goal: at most 1.5)\n",
                ofServer.median() / ofFloor.median());
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return ServerBench::run([] { compare(QCoreApplication::arguments()); });
}
