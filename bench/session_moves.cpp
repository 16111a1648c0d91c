// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How much of a core a session's pointer costs at 1,000 moves a second, compared with a minimal
// program that reads a byte for each move and does nothing else. The X server's share is counted
// apart. The two take turns in one run.
//
// Needs VORNA_SERVER (the server's executable) and the minimal program as first argument; a second
// one is the seconds of each turn, a third the number of turns.

#include "BareProgram.h"
#include "support/Sample.h"
#include "support/process/ProcessTables.h"

#include <cstdio>
#include <thread>

using std::chrono::steady_clock;
using namespace std::chrono_literals;

namespace {

constexpr int MovesPerSecond = 1000;

/// How much of a core a process uses, in percent.
class Share
{
public:
    explicit Share(qint64 processId)
        : process(processId)
        , before(ProcessTables::processorTime(processId))
    {
    }

    double now() const
    {
        const std::chrono::duration<double> time = steady_clock::now() - start;
        const std::chrono::duration<double> used = ProcessTables::processorTime(process) - before;
        return 100 * (used / time);
    }

private:
    qint64 process;
    std::chrono::nanoseconds before;
    steady_clock::time_point start = steady_clock::now();
};

/// Throws away what has come, so that the server is never held up by answers.
void empty(int socket)
{
    char bytes[4096];
    while (::recv(socket, bytes, sizeof bytes, MSG_DONTWAIT) > 0) {
    }
}

struct Shares
{
    Sample ofProgram;
    Sample ofDisplay;
};

void measure(SessionPeer &peer, const QByteArray &there, const QByteArray &back, int seconds,
             qint64 program, qint64 display, Shares &shares)
{
    const Share share(program);
    const Share shareOfDisplay(display);
    auto next = steady_clock::now();
    for (int i = 0; i < seconds * MovesPerSecond; ++i) {
        ServerBench::require(peer.send(i % 2 == 0 ? there : back), "a move");
        empty(peer.socket());
        next += std::chrono::microseconds(1'000'000 / MovesPerSecond);
        std::this_thread::sleep_until(next);
    }
    shares.ofProgram.add(share.now());
    shares.ofDisplay.add(shareOfDisplay.now());
}

void print(const char *name, const Shares &shares)
{
    std::printf("%-8s median %5.1f %% of a core, and %5.1f %% in the X server\n", name,
                shares.ofProgram.median(), shares.ofDisplay.median());
}

void compare(const QStringList &arguments)
{
    const int seconds = arguments.value(2, u"5"_s).toInt();
    const int turns = arguments.value(3, u"3"_s).toInt();
    ServerBench bench(u"/nonexistent"_s);
    bench.start();
    const BareProgram bare(arguments.value(1), bench.session());
    SessionPeer session = SessionPeer::soon(SessionPeer::pathOf(bench.session()));
    SessionPeer floor = bare.peer();
    ServerBench::require(!session.message().isEmpty() && floor.isConnected(), "the sockets");

    const QByteArray right = R"({"id":1,"request":"move","dx":1,"dy":0})"
                             "\n";
    const QByteArray left = R"({"id":1,"request":"move","dx":-1,"dy":0})"
                            "\n";
    const qint64 display = bench.session().xServer().processId();
    Shares ofSession;
    Shares ofFloor;
    for (int turn = 0; turn < turns; ++turn) {
        measure(session, right, left, seconds, bench.processId(), display, ofSession);
        const QByteArray byte(1, '\0');
        measure(floor, byte, byte, seconds, bare.processId(), display, ofFloor);
    }
    print("session", ofSession);
    print("floor", ofFloor);
    std::printf("ratio of the medians %.1f; goal: the session costs less than 5 %% of a core\n",
                ofSession.ofProgram.median() / ofFloor.ofProgram.median());
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return ServerBench::run([] { compare(QCoreApplication::arguments()); });
}
