// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How long a key takes from a session's send() through the desktop's RemoteDesktop portal until the
// desktop has it, compared with a minimal program that reads bytes from a local socket and calls
// the portal's NotifyKeyboardKeysym. The two take turns in one run, so that other load on the
// machine affects both. The portal is the real one; behind it is a program that prints what it is
// told.
//
// Needs VORNA_SERVER (the server's executable) and the minimal program as first argument; a second
// one is the number of keys.

#include "SessionPeer.h"
#include "adapters/PortalScene.h"
#include "support/Sample.h"
#include "support/wayland/CompositorThread.h"

#include <QThread>

using std::chrono::steady_clock;

namespace {

constexpr int UsualNumberOfKeys = 200;
constexpr unsigned long PauseMilliseconds = 50;
constexpr char Letter = 'a'; ///< Also its keysym.

/// Sends the bytes and measures the microseconds until the desktop has the press.
void measure(SessionPeer &sender, const QByteArray &bytes, PortalScene &desktop, Sample &times)
{
    desktop.forgetRecord();
    QThread::msleep(PauseMilliseconds);
    const QString key = u"keysym %1 "_s.arg(int{Letter});
    const auto start = steady_clock::now();
    ServerBench::require(sender.send(bytes) && desktop.waitForLineAtOnce(key + u'1'), "a key");
    const std::chrono::duration<double, std::micro> time = steady_clock::now() - start;
    times.add(time.count());
    ServerBench::require(desktop.waitForLineAtOnce(key + u'0'), "a key's release");
}

void print(const char *name, const Sample &times)
{
    std::printf("%-8s median %8.1f us   p95 %8.1f us   (%zu keys)\n", name, times.median(),
                times.atShare(0.95), times.size());
}

/// Allows what somebody asks for.
void consent(PortalScene &desktop)
{
    ServerBench::require(desktop.waitForLine(u"start"_s) && desktop.command(u"answer 0"_s),
                         "the question for consent");
    desktop.forgetRecord();
}

void compare(const QStringList &arguments)
{
    const CompositorThread compositor(StandInCompositor::Offer::Nothing);
    PortalScene desktop;
    DesktopSession session;
    ServerBench::require(compositor.isRunning && desktop.isReady() && session.problem().isEmpty(),
                         "a desktop with a portal");
    // The server's windows are on the X display; what it types goes the compositor's way.
    const QString name = qEnvironmentVariable("WAYLAND_DISPLAY");
    session.addVariable(u"WAYLAND_DISPLAY"_s,
                        qEnvironmentVariable("XDG_RUNTIME_DIR") + u'/' + name);
    session.addVariable(u"DBUS_SESSION_BUS_ADDRESS"_s, desktop.address());
    const ServerProcess process(session);
    ServerBench::require(process.port() != 0, "start of the server: " + process.errorText());

    const QString path = session.path(u"floor"_s);
    ChildProcess bare;
    bare.setProcessEnvironment(session.environment());
    bare.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    bare.start(arguments.value(1), {path});
    consent(desktop);
    ServerBench::require(waitUntil([&] { return bare.canReadLine(); }),
                         "start of the bare program");
    SessionPeer floor = SessionPeer::soon(path);

    const QByteArray request = R"({"id":1,"request":"key","key":"a"})"
                               "\n";
    SessionPeer server =
        SessionPeer::soon(session.path(u"run/vornaserver/"_s + name + u".socket"_s));
    ServerBench::require(!server.message().isEmpty() && server.send(request), "a session");
    ServerBench::require(server.message().contains(u"error"_s), "a key before the consent");
    consent(desktop);
    ServerBench::require(waitUntil([&] {
                             server.send(request);
                             return server.message().contains(u"ok"_s);
                         }),
                         "a key after the consent");
    ServerBench::require(desktop.waitForLine(u"keysym %1 0"_s.arg(int{Letter})), "the first key");

    const int keys = arguments.value(2).toInt();
    Sample ofServer;
    Sample ofFloor;
    for (int i = 0; i < (keys > 0 ? keys : UsualNumberOfKeys); ++i) {
        measure(server, request, desktop, ofServer);
        ServerBench::require(server.message().contains(u"ok"_s), "the answer to a key");
        measure(floor, QByteArray(1, Letter), desktop, ofFloor);
    }
    print("session", ofServer);
    print("floor", ofFloor);
    std::printf("ratio of the medians %.2f (goal: at most 1.3)\n",
                ofServer.median() / ofFloor.median());
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return ServerBench::run([] { compare(QCoreApplication::arguments()); });
}
