// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The whole program on a compositor of Wayland: what handhelds and programs of the user ask for
// arrives in another program's window, and nothing stays down.

#include "support/protocol/Handheld.h"
#include "support/protocol/SessionClient.h"
#include "support/session/SessionProcess.h"
#include "support/wayland/PlainKeys.h"
#include "support/wayland/WaylandScene.h"
#include "support/wayland/WaylandWindow.h"
#include "support/x11/XServer.h"

#include <QJsonArray>
#include <QLocalSocket>
#include <QTest>

#include <array>
#include <csignal>

#include <linux/input-event-codes.h>
#include <sys/socket.h>

namespace {

/// What a program of that session prints; nothing if it fails.
std::optional<QByteArray> output(const UserSession &session, const QString &program,
                                 const QStringList &arguments)
{
    ChildProcess process;
    process.setProcessEnvironment(session.environment());
    process.start(program, arguments);
    if (!process.waitForFinished() || process.exitCode() != 0) {
        return std::nullopt;
    }
    return process.readAllStandardOutput();
}

/// The process that listens on that socket; 0 if none does.
pid_t listener(const QString &path)
{
    QLocalSocket socket;
    socket.connectToServer(path);
    ucred peer{};
    socklen_t size = sizeof peer;
    const bool isKnown =
        socket.waitForConnected() && getsockopt(static_cast<int>(socket.socketDescriptor()),
                                                SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0;
    return isKnown ? peer.pid : 0;
}

} // namespace

class tst_HandheldOnWayland : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void shortcutsHoldTheirModifiers();
    void clicksPressTheirButton();
    void pointerMovesByTheOffset();
    void sizeOfTheDesktopIsReported();
    void screensAreReported();
    void textOfAnotherProgramIsSent();
    void textIsPutOnTheClipboard();
    void typingLeavesTheClipboardAsItWas();
    void windowsOnAnXDisplayChangeNothingElse();
    void killedSessionLeavesNothingDown();
    void killedServerLeavesNothingDown();
    void endedServerLeavesNothingDown();
    void entryForTheLogonStartsTheServer();

private:
    bool openWindow();
    bool isHeld() const
    {
        return !window->keysDown().isEmpty() && !window->buttonsDown().isEmpty();
    }
    bool isNothingDown() const
    {
        return window->keysDown().isEmpty() && window->buttonsDown().isEmpty();
    }

    std::unique_ptr<WaylandScene> scene;
    std::unique_ptr<WaylandWindow> window;
    std::unique_ptr<Handheld> handheld;
};

void tst_HandheldOnWayland::init()
{
    scene = WaylandScene::make();
    QCOMPARE(scene->problem(), QByteArray());
    QVERIFY(scene->start());
    QVERIFY(scene->allow());
    QVERIFY(openWindow());
    handheld = std::make_unique<Handheld>(scene->port());
    QVERIFY(handheld->isConnected());
}

void tst_HandheldOnWayland::cleanup()
{
    const QByteArray problem = scene->problemAtEnd();
    window.reset();
    scene.reset();
    QCOMPARE(problem, QByteArray());
}

/// A seat gets its keyboard from the server, so the window comes after that.
bool tst_HandheldOnWayland::openWindow()
{
    window.reset();
    window = std::make_unique<WaylandWindow>(scene->displayPath(), true);
    return waitUntil([this] { return window->isShown() && window->hasFocus(); });
}

void tst_HandheldOnWayland::shortcutsHoldTheirModifiers()
{
    const std::array<std::pair<QString, QString>, 7> rows{{
        {u"A"_s, u"a"_s},
        {u"7"_s, u"7"_s},
        {u"F12"_s, u"F12"_s},
        {u"Cmd+Q"_s, u"q (Control)"_s},
        {u"Alt+F9"_s, u"F9 (Alt)"_s},
        {u"Shift+1"_s, u"exclam (Shift)"_s},
        {u"Cmd+Alt+Shift+Z"_s, u"Z (Shift Control Alt)"_s},
    }};
    for (const auto &[shortcut, key] : rows) {
        QCOMPARE(PlainKeys::ofToken(*handheld, *window, keyCommand(shortcut)),
                 (QStringList{u'+' + key, u'-' + key}));
    }
    QVERIFY(isNothingDown());
}

void tst_HandheldOnWayland::clicksPressTheirButton()
{
    const std::array<std::pair<QString, quint32>, 3> rows{
        {{u"0"_s, BTN_LEFT}, {u"1"_s, BTN_RIGHT}, {u"2"_s, BTN_MIDDLE}}};
    for (const auto &[code, button] : rows) {
        window->clear();
        QVERIFY(handheld->sendAndSettle(pointerCommand(code)));
        QVERIFY(waitUntil([&] { return !window->buttons().empty(); }));
        QVERIFY(waitUntil([this] { return isNothingDown(); }));
        QCOMPARE(window->buttons(), std::vector<quint32>{button});
    }
}

void tst_HandheldOnWayland::pointerMovesByTheOffset()
{
    QVERIFY(handheld->sendAndSettle(pointerCommand(u"4"_s, {u"-100000"_s, u"-100000"_s})));
    QVERIFY(waitUntil([this] { return window->pointer() == QPointF(0, 0); }));
    QVERIFY(handheld->sendAndSettle(pointerCommand(u"4"_s, {u"300"_s, u"20"_s})));
    QVERIFY(waitUntil([this] { return window->pointer() == QPointF(300, 20); }));
    QVERIFY(handheld->sendAndSettle(pointerCommand(u"4"_s, {u"-10"_s, u"5"_s})));
    QVERIFY(waitUntil([this] { return window->pointer() == QPointF(290, 25); }));
}

void tst_HandheldOnWayland::sizeOfTheDesktopIsReported()
{
    const auto answer = handheld->ask(serverInfo());
    QCOMPARE(response(answer), u"OK"_s);
    QCOMPARE(parameters(answer).mid(0, 2),
             (QStringList{QString::number(scene->outputSize().height()),
                          QString::number(scene->outputSize().width())}));
}

void tst_HandheldOnWayland::screensAreReported()
{
    const auto answer = SessionClient(scene->socketPath()).ask(u"screens"_s);
    QVERIFY(answer.isOk());
    const QJsonArray screens = answer.fields.value(u"screens"_s).toArray();
    QCOMPARE(screens.size(), 1);
    const QJsonObject screen = screens.first().toObject();
    QCOMPARE(QSize(screen.value(u"width"_s).toInt(), screen.value(u"height"_s).toInt()),
             scene->outputSize());
}

void tst_HandheldOnWayland::textOfAnotherProgramIsSent()
{
    const QString text = u"It is 5 o'clock; bring tea"_s;
    QVERIFY(output(scene->session(), u"wl-copy"_s, {text}));
    const auto answer = handheld->ask(clipboardRequest());
    QCOMPARE(response(answer), u"OK"_s);
    QCOMPARE(parameters(answer), QStringList{text});
}

void tst_HandheldOnWayland::textIsPutOnTheClipboard()
{
    QCOMPARE(response(handheld->ask(textTransfer(u"Meet at 5"_s))), u"OK"_s);
    QCOMPARE(output(scene->session(), u"wl-paste"_s, {u"--no-newline"_s}),
             std::optional(QByteArray("Meet at 5")));
}

/// Also if it was lent to the text: on desktops where the window would have to paste it, which it
/// does not.
void tst_HandheldOnWayland::typingLeavesTheClipboardAsItWas()
{
    const QString text = u"It is 5 o'clock; bring tea"_s;
    QVERIFY(output(scene->session(), u"wl-copy"_s, {text}));
    SessionClient(scene->socketPath()).ask(u"text"_s, {{u"text"_s, u"чай"_s}});
    QVERIFY(waitUntil([&] {
        return output(scene->session(), u"wl-paste"_s, {u"--no-newline"_s}) == text.toUtf8();
    }));
}

/// A session that has an X display too, and a toolkit without its part for Wayland.
void tst_HandheldOnWayland::windowsOnAnXDisplayChangeNothingElse()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    const XServer display;
    QVERIFY(display.isRunning());
    scene->session().addVariable(u"DISPLAY"_s, display.display());
    scene->session().addVariable(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
    QVERIFY(scene->start());
    QVERIFY(openWindow());
    handheld = std::make_unique<Handheld>(scene->port());
    QCOMPARE(PlainKeys::ofToken(*handheld, *window, keyCommand(u"A"_s)),
             (QStringList{u"+a"_s, u"-a"_s}));
    sizeOfTheDesktopIsReported();
    textOfAnotherProgramIsSent();
    textIsPutOnTheClipboard();
    QVERIFY(SessionClient(scene->socketPath()).isConnected());
    QCOMPARE(scene->problemAtEnd(), QByteArray());
}

void tst_HandheldOnWayland::killedSessionLeavesNothingDown()
{
    SessionProcess process(scene->socketPath());
    QVERIFY(process.holdInput());
    QVERIFY(waitUntil([this] { return isHeld(); }));
    process.kill();
    QVERIFY(waitUntil([this] { return isNothingDown(); }));
}

void tst_HandheldOnWayland::killedServerLeavesNothingDown()
{
    SessionProcess process(scene->socketPath());
    QVERIFY(process.holdInput());
    QVERIFY(waitUntil([this] { return isHeld(); }));
    scene->server().end(SIGKILL);
    const bool isReleased = waitUntil([this] { return isNothingDown(); });
    QVERIFY2(isReleased, qPrintable(u"%1 keys, %2 buttons"_s.arg(window->keysDown().size())
                                        .arg(window->buttonsDown().size())));
    // The seat has not kept the button either: the next click is a whole one.
    QVERIFY(scene->start());
    QVERIFY(scene->allow());
    Handheld next(scene->port());
    window->clear();
    QVERIFY(next.sendAndSettle(pointerCommand(u"0"_s)));
    QVERIFY(waitUntil([this] { return window->buttons().size() == 1 && isNothingDown(); }));
}

void tst_HandheldOnWayland::endedServerLeavesNothingDown()
{
    SessionProcess process(scene->socketPath());
    QVERIFY(process.holdInput());
    QVERIFY(waitUntil([this] { return isHeld(); }));
    QCOMPARE(scene->server().end(), std::optional(0));
    QVERIFY(waitUntil([this] { return isNothingDown(); }));
}

/// The program of a desktop that reads such entries is not there; dex starts them in its place.
void tst_HandheldOnWayland::entryForTheLogonStartsTheServer()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    QCOMPARE(listener(scene->socketPath()), 0);
    // Only the user's own entries, and nothing that tells the toolkit what to use.
    scene->session().addVariable(u"XDG_CONFIG_DIRS"_s, scene->session().path(u"none"_s));
    scene->session().addVariable(u"QT_QPA_PLATFORM"_s, QString());
    QVERIFY(output(scene->session(), u"dex"_s, {u"--autostart"_s}));
    QVERIFY(waitUntil([this] { return listener(scene->socketPath()) > 0; }));
    SessionClient client(scene->socketPath());
    Handheld another(static_cast<quint16>(client.greeting()[u"port"_s].toInt()));
    QCOMPARE(response(another.ask(serverInfo())), u"OK"_s);
    QCOMPARE(::kill(listener(scene->socketPath()), SIGTERM), 0);
    QVERIFY(waitUntil([this] { return listener(scene->socketPath()) == 0; }));
}

QTEST_GUILESS_MAIN(tst_HandheldOnWayland)
#include "tst_HandheldOnWayland.moc"
