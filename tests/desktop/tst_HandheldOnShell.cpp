// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The whole program on a large desktop of Wayland: what handhelds and programs of the user ask for
// arrives in another program's window once the user allows it, and nothing stays down.

#include "support/protocol/Handheld.h"
#include "support/protocol/SessionClient.h"
#include "support/session/SessionProcess.h"
#include "support/wayland/PlainKeys.h"
#include "support/wayland/ShellScene.h"
#include "support/wayland/WaylandWindow.h"

#include <QJsonArray>
#include <QTest>

#include <algorithm>
#include <array>

#include <linux/input-event-codes.h>

using namespace std::chrono_literals;

class tst_HandheldOnShell : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void shortcutsHoldTheirModifiers();
    void clicksPressTheirButton();
    void pointerMovesByTheOffset();
    void sizeOfTheDesktopIsReported();
    void screensAreReported();
    void clipboardOutOfReachIsAnError();
    void greetingSaysWhatCannotBeDone();
    void killedSessionLeavesNothingDown();
    void endedServerLeavesNothingDown();
    void killedServerLeavesNothingDown();
    void inputBeforeTheConsentIsDropped();
    void refusalIsKept();

private:
    bool startServer();
    bool allow();
    bool openWindow();
    bool isSaid(const QString &text) const;
    QByteArray windows() const;
    bool isHeld() const
    {
        return !window->keysDown().isEmpty() && !window->buttonsDown().isEmpty();
    }
    bool isNothingDown() const
    {
        return window->keysDown().isEmpty() && window->buttonsDown().isEmpty();
    }

    std::unique_ptr<ShellScene> scene;
    std::unique_ptr<WaylandWindow> window;
    std::unique_ptr<Handheld> handheld;
    bool isAllowed = false;
};

void tst_HandheldOnShell::initTestCase()
{
    scene = std::make_unique<ShellScene>();
    QCOMPARE(scene->problem(), QByteArray());
    QVERIFY(startServer());
}

/// All that can be use the same server, since the user has to be asked for each.
void tst_HandheldOnShell::init()
{
    if (!scene->server().isRunning()) {
        QVERIFY(startServer());
    }
    const bool isAboutConsent = QByteArray(QTest::currentTestFunction()).contains("onsent") ||
                                QByteArray(QTest::currentTestFunction()).contains("refusal");
    if (!isAboutConsent) {
        QVERIFY(isAllowed || allow());
        QVERIFY(openWindow());
    }
}

void tst_HandheldOnShell::cleanup()
{
    window.reset();
}

void tst_HandheldOnShell::cleanupTestCase()
{
    handheld.reset();
    QCOMPARE(scene->problemAtEnd(), QByteArray());
}

bool tst_HandheldOnShell::startServer()
{
    isAllowed = false;
    handheld.reset();
    if (!scene->start()) {
        return false;
    }
    handheld = std::make_unique<Handheld>(scene->port());
    return handheld->isConnected();
}

bool tst_HandheldOnShell::allow()
{
    isAllowed = scene->allow();
    return isAllowed;
}

/// A seat gets its keyboard from the server, so the window comes after that.
bool tst_HandheldOnShell::openWindow()
{
    window.reset();
    window = std::make_unique<WaylandWindow>(scene->session().displayPath(), true);
    const bool isReady = waitUntil([this] { return window->isShown() && window->hasFocus(); }) &&
                         PlainKeys::waitForMarker(*handheld, *window);
    window->clear();
    return isReady;
}

bool tst_HandheldOnShell::isSaid(const QString &text) const
{
    const auto &said = scene->desk().notifications();
    return std::ranges::any_of(said, [&](const auto &one) { return one.body.contains(text); });
}

void tst_HandheldOnShell::shortcutsHoldTheirModifiers()
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

void tst_HandheldOnShell::clicksPressTheirButton()
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

void tst_HandheldOnShell::pointerMovesByTheOffset()
{
    const QPointF corner(ShellSession::OutputSize.width() - 1,
                         ShellSession::OutputSize.height() - 1);
    QVERIFY(handheld->sendAndSettle(pointerCommand(u"4"_s, {u"100000"_s, u"100000"_s})));
    // A pointer that is there already moves by this.
    QVERIFY(handheld->sendAndSettle(pointerCommand(u"4"_s, {u"-1"_s, u"-1"_s})));
    QVERIFY(waitUntil([&] { return window->pointer() == corner - QPointF(1, 1); }));
    QVERIFY(handheld->sendAndSettle(pointerCommand(u"4"_s, {u"-300"_s, u"-20"_s})));
    QVERIFY(waitUntil([&] { return window->pointer() == corner - QPointF(301, 21); }));
    QVERIFY(handheld->sendAndSettle(pointerCommand(u"4"_s, {u"10"_s, u"-5"_s})));
    QVERIFY(waitUntil([&] { return window->pointer() == corner - QPointF(291, 26); }));
}

void tst_HandheldOnShell::sizeOfTheDesktopIsReported()
{
    const auto answer = handheld->ask(serverInfo());
    QCOMPARE(response(answer), u"OK"_s);
    QCOMPARE(parameters(answer).mid(0, 2),
             (QStringList{QString::number(ShellSession::OutputSize.height()),
                          QString::number(ShellSession::OutputSize.width())}));
}

void tst_HandheldOnShell::screensAreReported()
{
    SessionClient client(scene->socketPath());
    const QJsonArray screens = client.ask(u"screens"_s).fields.value(u"screens"_s).toArray();
    QCOMPARE(screens.size(), 1);
    QCOMPARE(screens.at(0)[u"x"_s].toInt(-1), 0);
    QCOMPARE(screens.at(0)[u"y"_s].toInt(-1), 0);
    QCOMPARE(screens.at(0)[u"width"_s].toInt(), ShellSession::OutputSize.width());
    QCOMPARE(screens.at(0)[u"height"_s].toInt(), ShellSession::OutputSize.height());
    QCOMPARE(screens.at(0)[u"scale"_s].toDouble(), 1.0);
}

/// GNOME 43 shows it only to the program in front.
void tst_HandheldOnShell::clipboardOutOfReachIsAnError()
{
    QCOMPARE(response(handheld->ask(clipboardRequest())), u"ERROR"_s);
    QVERIFY(!isSaid(u"cannot be put into the clipboard"_s));
    QVERIFY(handheld->ask(textTransfer(u"Meet at 5"_s)));
    QVERIFY(waitUntil([this] { return isSaid(u"cannot be put into the clipboard"_s); }));
    QCOMPARE(response(handheld->ask(clipboardRequest())), u"ERROR"_s);
}

/// Text beyond the layouts is pasted, which takes a clipboard.
void tst_HandheldOnShell::greetingSaysWhatCannotBeDone()
{
    SessionClient client(scene->socketPath());
    QCOMPARE(
        client.greeting()[u"can"_s].toArray(),
        (QJsonArray{u"key"_s, u"text"_s, u"pointer"_s, u"scroll"_s, u"scroll.fine"_s, u"drag"_s}));
    const auto mixed = client.ask(u"text"_s, {{u"text"_s, u"aЖb"_s}});
    QCOMPARE(mixed.error(), u"failed"_s);
    QVERIFY(PlainKeys::waitForMarker(*handheld, *window));
    QCOMPARE(window->typed(), u"ab"_s);
}

void tst_HandheldOnShell::killedSessionLeavesNothingDown()
{
    SessionProcess process(scene->socketPath());
    QVERIFY(process.holdInput());
    QVERIFY(waitUntil([this] { return isHeld(); }));
    process.kill();
    QVERIFY(waitUntil([this] { return isNothingDown(); }));
}

void tst_HandheldOnShell::endedServerLeavesNothingDown()
{
    SessionProcess process(scene->socketPath());
    QVERIFY(process.holdInput());
    QVERIFY(waitUntil([this] { return isHeld(); }));
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    QVERIFY(waitUntil([this] { return isNothingDown(); }));
}

/// The desktop releases them, at the end of the portal's session.
void tst_HandheldOnShell::killedServerLeavesNothingDown()
{
    SessionProcess process(scene->socketPath());
    QVERIFY(process.holdInput());
    QVERIFY(waitUntil([this] { return isHeld(); }));
    scene->server().end(SIGKILL);
    const bool isReleased = waitUntil([this] { return isNothingDown(); });
    QVERIFY2(isReleased, qPrintable(u"%1 keys, %2 buttons"_s.arg(window->keysDown().size())
                                        .arg(window->buttonsDown().size())));
    // The next server's keys are plain ones, and its click is a whole one.
    QVERIFY(startServer());
    QVERIFY(allow());
    QVERIFY(openWindow());
    QCOMPARE(PlainKeys::ofToken(*handheld, *window, keyCommand(u"A"_s)),
             (QStringList{u"+a"_s, u"-a"_s}));
    QVERIFY(handheld->sendAndSettle(pointerCommand(u"0"_s)));
    QVERIFY(waitUntil([this] { return window->buttons().size() == 1 && isNothingDown(); }));
}

/// The processes of the windows on GNOME.
QByteArray tst_HandheldOnShell::windows() const
{
    return scene->session()
        .evaluate(u"global.get_window_actors().map(a => a.meta_window.get_pid())"_s)
        .value_or("?");
}

void tst_HandheldOnShell::inputBeforeTheConsentIsDropped()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    QVERIFY(startServer());
    // With a keyboard of the user's the window has the keys before the server makes its own.
    QVERIFY(scene->session().evaluate(
        u"(global.keyboardOfTest = imports.gi.Clutter.get_default_backend().get_default_seat()."
        "create_virtual_device(imports.gi.Clutter.InputDeviceType.KEYBOARD_DEVICE), "
        "global.keyboardOfTest.notify_keyval(0, 0xffe1, 1), "
        "global.keyboardOfTest.notify_keyval(0, 0xffe1, 0))"_s));
    window = std::make_unique<WaylandWindow>(scene->session().displayPath(), true);
    QVERIFY(waitUntil([this] { return window->isShown() && window->hasFocus(); }));
    const QByteArray before = windows();
    QVERIFY(handheld->sendAndSettle(keyCommand(u"A"_s)));
    QVERIFY(waitUntil([&] { return windows() != before; }));
    QVERIFY(handheld->sendAndSettle(keyCommand(u"Cmd+B"_s)));
    QVERIFY(handheld->sendAndSettle(pointerCommand(u"0"_s)));
    SessionClient client(scene->socketPath());
    QCOMPARE(client.ask(u"text"_s, {{u"text"_s, u"early"_s}}).error(), u"consent-pending"_s);
    QCOMPARE(client.ask(u"button"_s).error(), u"consent-pending"_s);
    QVERIFY(waitUntil([this] { return isSaid(u"is dropped until then"_s); }));
    QVERIFY(scene->session().consent());
    QVERIFY(waitUntil([&] { return windows() == before && window->hasFocus(); }));
    QVERIFY(waitUntil([this] { return scene->errorOfKey().isEmpty(); }));
    QVERIFY(client.ask(u"text"_s, {{u"text"_s, u"late"_s}}).isOk());
    QVERIFY(PlainKeys::waitForMarker(*handheld, *window));
    QCOMPARE(window->typed(), u"late"_s);
    QCOMPARE(window->buttons(), std::vector<quint32>());
}

void tst_HandheldOnShell::refusalIsKept()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    QVERIFY(startServer());
    const QByteArray before = windows();
    QVERIFY(handheld->sendAndSettle(keyCommand(u"A"_s)));
    QVERIFY(waitUntil([&] { return windows() != before; }));
    QVERIFY(scene->session().refuse());
    QVERIFY(waitUntil([this] { return scene->errorOfKey() == "consent-refused"_L1; }));
    QVERIFY(waitUntil([this] { return isSaid(u"refused when the desktop asked"_s); }));
    QVERIFY(waitUntil([&] { return windows() == before; }));
    QVERIFY(handheld->sendAndSettle(keyCommand(u"A"_s) + pointerCommand(u"0"_s)));
    QCOMPARE(scene->errorOfKey(), u"consent-refused"_s);
    // Its dialog took less than that to come.
    runEventLoop(1s);
    QCOMPARE(windows(), before);
}

QTEST_GUILESS_MAIN(tst_HandheldOnShell)
#include "tst_HandheldOnShell.moc"
