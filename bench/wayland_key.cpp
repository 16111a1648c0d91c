// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How long a key takes on sway from the send() of a session, or of a handheld, until a program of
// Wayland has it, compared with a minimal program that reads bytes from a local socket, or over
// TCP, and asks for a key of its virtual keyboard. They take turns in one run, so that other load
// on the machine affects all of them.
//
// Each turn begins with a key that is not measured: with another keyboard in use than before, the
// compositor first sends all programs a key map, which they read.
//
// Needs VORNA_SERVER (the server's executable) and the minimal program as first argument; a second
// one is the number of keys. sway refuses root: root starts it by as_ordinary_user.sh.

#include "SessionPeer.h"
#include "support/Sample.h"
#include "support/protocol/Handheld.h"
#include "support/protocol/Tokens.h"
#include "support/wayland/SwayScene.h"
#include "support/wayland/WaylandWindow.h"

#include <QThread>

#include <cstdio>

using std::chrono::steady_clock;
using namespace std::chrono_literals;

namespace {

constexpr int UsualNumberOfKeys = 200;
constexpr int KeysPerTurn = 5;
constexpr unsigned long PauseMilliseconds = 50; ///< Of somebody who types fast.
constexpr char CodeOfA = 30;                    ///< The key A, as the kernel numbers keys.

/// The program that is typed into.
class Observer
{
public:
    explicit Observer(const SwaySession &session) : window(session.displayPath())
    {
        ServerBench::require(waitUntil([this] { return window.isShown() && window.hasFocus(); }),
                             "a window with the focus");
    }

    /// Waits for the next press and release; the moment of the press.
    steady_clock::time_point waitForKey()
    {
        waitForEvent(1);
        const auto pressed = steady_clock::now();
        waitForEvent(2);
        window.clear();
        return pressed;
    }

private:
    void waitForEvent(std::size_t count)
    {
        while (window.keys().size() < count) {
            ServerBench::require(window.waitForEvents(5s), "a key");
        }
    }

    WaylandWindow window;
};

/// A minimal program that reads bytes; it has started when it says something.
class BareProcess
{
public:
    BareProcess(const SwaySession &session, const QString &executable, const QStringList &arguments)
    {
        process.setProcessEnvironment(session.environment());
        process.start(executable, arguments);
        ServerBench::require(process.waitForReadyRead(), "start of the bare program");
    }

    QByteArray answer() { return process.readLine().trimmed(); }

private:
    ChildProcess process;
};

/// One way for a key, and how long it took.
struct Way
{
    const char *name;
    std::function<bool()> send;
    std::function<bool()> isAnswered;
    Sample times = {};

    void turn(Observer &observer, unsigned long pause)
    {
        measure(observer);
        QThread::msleep(PauseMilliseconds);
        for (int i = 0; i < KeysPerTurn; ++i) {
            times.add(measure(observer));
            QThread::msleep(pause);
        }
    }

    double measure(Observer &observer) const
    {
        const auto start = steady_clock::now();
        ServerBench::require(send(), "a sent key");
        const std::chrono::duration<double, std::micro> time = observer.waitForKey() - start;
        ServerBench::require(isAnswered(), "the answer to a key");
        return time.count();
    }

    void print() const
    {
        std::printf("  %-14s median %8.1f us   p95 %8.1f us   (%zu keys)\n", name, times.median(),
                    times.atShare(0.95), times.size());
    }

    void printBeside(const Way &floor) const
    {
        print();
        floor.print();
        std::printf("  ratio of the medians %.2f (goal: at most 1.5)\n",
                    times.median() / floor.times.median());
    }
};

void compare(const QStringList &arguments)
{
    SwayScene scene;
    ServerBench::require(scene.problem().isEmpty(), scene.problem());
    ServerBench::require(scene.start(), "start of the server");
    const QString path = scene.session().path(u"floor"_s);
    BareProcess local(scene.session(), arguments.value(1), {path});
    BareProcess remote(scene.session(), arguments.value(1), {});

    SessionPeer session = SessionPeer::soon(scene.socketPath());
    Handheld handheld(scene.port());
    SessionPeer floor = SessionPeer::soon(path);
    Handheld floorOverTcp(remote.answer().toUShort());
    ServerBench::require(!session.message().isEmpty() && floor.isConnected(), "the sockets");
    Observer observer(scene.session());

    const QByteArray request = R"({"id":1,"request":"key","key":"a"})"
                               "\n";
    const QByteArray token = commandText(u"KEYBOARD_CMD"_s, {{u"fncCommand"_s, u"A"_s}});
    const QByteArray byte(1, CodeOfA);
    const auto nothing = [] { return true; };
    const int wanted = arguments.value(2).toInt();
    const int keys = wanted > 0 ? wanted : UsualNumberOfKeys;
    for (const unsigned long pause : {PauseMilliseconds, 0UL}) {
        Way ofSession{"session", [&] { return session.send(request); },
                      [&] { return session.message().contains(u"ok"_s); }};
        Way ofFloor{"floor", [&] { return floor.send(byte); }, nothing};
        Way ofHandheld{"handheld", [&] { return handheld.send(token); }, nothing};
        Way ofFloorOverTcp{"floor over TCP", [&] { return floorOverTcp.send(byte); }, nothing};
        for (int i = 0; i < keys; i += KeysPerTurn) {
            for (Way *way : {&ofSession, &ofFloor, &ofHandheld, &ofFloorOverTcp}) {
                way->turn(observer, pause);
            }
        }
        std::printf("%lu ms between keys:\n", pause);
        ofSession.printBeside(ofFloor);
        ofHandheld.printBeside(ofFloorOverTcp);
    }
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return ServerBench::run([] { compare(QCoreApplication::arguments()); });
}
