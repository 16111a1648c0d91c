// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What the server's guard does when the server is killed while it types, and in normal operation.

#include "support/process/ProcessMemory.h"
#include "support/protocol/Typist.h"
#include "support/session/ServerScene.h"
#include "support/x11/InputWatcher.h"
#include "support/x11/PhysicalKeyboard.h"
#include "support/x11/XcbClient.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <sys/types.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Key codes that are the same on every PC keyboard.
constexpr int KeyZ = 52;
constexpr int KeyX = 53;

/// Devices that press keys, or click, as fast as the server takes it. A click asks the X server
/// where the pointer is, so that nothing piles up there.
class Typists
{
public:
    enum Kind { Keys, Clicks };

    Typists(quint16 port, Kind kind)
    {
        const QByteArrayList keys = {keyCommand(u"Cmd+Alt+Shift+A"_s), keyCommand(u"Shift+B"_s),
                                     keyCommand(u"Ctrl+C"_s), keyCommand(u"Alt+D"_s)};
        const QByteArrayList clicks = {click("0"), click("1"), keyCommand(u"Shift+B"_s)};
        for (const QByteArray &token : kind == Keys ? keys : clicks) {
            devices.push_back(std::make_unique<Typist>(port, token));
        }
    }

private:
    static QByteArray click(const char *code)
    {
        return commandText(u"MOUSE_CMD"_s, {{u"fncCommand"_s, QLatin1StringView(code)}});
    }

    std::vector<std::unique_ptr<Typist>> devices;
};

/// The process that the server has started; 0 when there is none.
pid_t guardOf(qint64 server)
{
    QFile children(u"/proc/%1/task/%1/children"_s.arg(server));
    if (!children.open(QIODevice::ReadOnly)) {
        return 0;
    }
    for (const QByteArray &child : children.readAll().split(' ')) {
        QFile name(u"/proc/"_s + QString::fromLatin1(child.trimmed()) + u"/comm"_s);
        if (name.open(QIODevice::ReadOnly) && name.readAll().startsWith("VornaServer-gua")) {
            return child.trimmed().toInt();
        }
    }
    return 0;
}

/// Whether the process has ended, even if its parent has not collected it yet.
bool hasEnded(pid_t process)
{
    QFile file(u"/proc/%1/stat"_s.arg(process));
    return !file.open(QIODevice::ReadOnly) || file.readAll().contains(") Z ");
}

QStringList descriptorsOf(pid_t process)
{
    QStringList targets;
    const QDir folder(u"/proc/%1/fd"_s.arg(process));
    for (const QFileInfo &descriptor :
         folder.entryInfoList(QDir::Files | QDir::System | QDir::NoDotAndDotDot)) {
        targets += descriptor.symLinkTarget().section(u'/', -1).section(u':', 0, 0);
    }
    targets.sort();
    return targets;
}

/// Whether the guard waits for the server's end. It has connected to the display and ignores grabs
/// then. It takes signals only while it waits.
bool isWatching(pid_t guard)
{
    QFile status(u"/proc/%1/status"_s.arg(guard));
    return descriptorsOf(guard).contains(u"socket"_s) && status.open(QIODevice::ReadOnly) &&
           status.readAll().contains("SigBlk:\t0000000000000000");
}

} // namespace

class tst_InputGuard : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void whatIsDownAtAKillIsReleased_data();
    void whatIsDownAtAKillIsReleased();
    void killsAmidFloodsLeaveNothingDown();
    void aKillWhileTheDisplayIsBusyLeavesNothingDown();
    void whatOthersHoldStaysDown();
    void theGuardEndsWithTheServer_data();
    void theGuardEndsWithTheServer();
    void theGuardEndsWithTheDisplay();
    void theGuardStaysWhileTheServerRuns();
    void theGuardKeepsNothingOfTheServer();
    void aServerWithoutAGuardServes();

private:
    bool start();

    std::unique_ptr<ServerScene> scene;
    pid_t guardId = 0;
};

void tst_InputGuard::init()
{
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
}

void tst_InputGuard::cleanup()
{
    scene.reset();
}

bool tst_InputGuard::start()
{
    scene->launch();
    if (scene->port() == 0) {
        return false;
    }
    guardId = guardOf(scene->server().processId());
    // It connects to the display first; before that it can release nothing.
    return guardId != 0 && waitUntil([&] { return isWatching(guardId); });
}

void tst_InputGuard::whatIsDownAtAKillIsReleased_data()
{
    QTest::addColumn<bool>("isGrabbed");
    QTest::newRow("as usual") << false;
    QTest::newRow("while a program has the display for itself") << true;
}

/// Shown with a program that holds keys and a button through the server's own adapter.
void tst_InputGuard::whatIsDownAtAKillIsReleased()
{
    QFETCH(bool, isGrabbed);
    InputWatcher watcher(scene->session().display());
    ChildProcess holder;
    holder.setProcessEnvironment(scene->session().environment());
    holder.start(QStringLiteral(HELD_KEYS), {});
    QVERIFY(holder.waitForStarted());
    QVERIFY(waitUntil([&] {
        return watcher.keysDown().size() == 3 && (watcher.pointerMask() & XCB_BUTTON_MASK_1) != 0;
    }));
    const pid_t guard = guardOf(holder.processId());
    QVERIFY(guard != 0);
    QVERIFY(waitUntil([&] { return isWatching(guard); }));
    const XcbConnection other = XcbClient::connectTo(scene->session().display());
    if (isGrabbed) {
        const auto cookie = xcb_grab_server_checked(other.get());
        QVERIFY(xcb_request_check(other.get(), cookie) == nullptr);
    }
    holder.kill();
    QVERIFY(waitUntil([&] { return hasEnded(guard); }));
    xcb_ungrab_server(other.get());
    xcb_flush(other.get());
    QVERIFY(scene->waitUntilNothingIsHeld());
}

/// Without the guard, some of these kills would leave a key down.
void tst_InputGuard::killsAmidFloodsLeaveNothingDown()
{
    constexpr int Rounds = 16;
    for (int round = 0; round < Rounds; ++round) {
        QVERIFY(start());
        InputWatcher watcher(scene->session().display());
        Typists typists(scene->port(), round % 3 == 2 ? Typists::Clicks : Typists::Keys);
        QVERIFY(waitUntil([&] { return watcher.raw().size() > 20; }));
        QTest::qWait(7 * round % 50);
        scene->server().end(SIGKILL);
        QVERIFY2(scene->waitUntilNothingIsHeld(), QByteArray::number(round).constData());
    }
}

/// The X server finds many keys in its queue and drops most of them, since it cannot deliver its
/// reports any more. That usually happens in the middle of a shortcut.
void tst_InputGuard::aKillWhileTheDisplayIsBusyLeavesNothingDown()
{
    constexpr int Rounds = 10;
    for (int round = 0; round < Rounds; ++round) {
        QVERIFY(start());
        InputWatcher watcher(scene->session().display());
        const Typists typists(scene->port(), Typists::Keys);
        QVERIFY(waitUntil([&] { return watcher.raw().size() > 20; }));
        scene->mutableSession().xServer().halt();
        QTest::qWait(500);
        scene->server().end(SIGKILL);
        scene->mutableSession().xServer().resume();
        QVERIFY2(scene->waitUntilNothingIsHeld(), QByteArray::number(round).constData());
    }
}

/// The server has typed the same keys before.
void tst_InputGuard::whatOthersHoldStaysDown()
{
    QVERIFY(start());
    InputWatcher watcher(scene->session().display());
    PhysicalKeyboard user(scene->session().display());
    Handheld handheld(scene->port());
    for (const char *key : {"Z", "X", "Z", "X"}) {
        QVERIFY(handheld.send(keyCommand(QLatin1StringView(key))) && handheld.waitUntilRead());
    }
    QVERIFY(handheld.isServed());
    QVERIFY(waitUntil([&] { return watcher.raw().size() >= 8; }));
    // The server learns of the releases when it looks at what the display has answered.
    QVERIFY(scene->server().processorShare(200ms) < 1000);

    user.press(KeyZ);
    QVERIFY(scene->user().holdKey(QString::number(KeyX)));
    QVERIFY(waitUntil([&] { return watcher.keysDown() == std::vector<int>({KeyZ, KeyX}); }));
    scene->server().end(SIGKILL);
    QVERIFY(waitUntil([&] { return hasEnded(guardId); }));
    QCOMPARE(watcher.keysDown(), std::vector<int>({KeyZ, KeyX}));
    user.release(KeyZ);
    QVERIFY(scene->user().releaseKey(QString::number(KeyX)));
    QVERIFY(scene->waitUntilNothingIsHeld());
}

void tst_InputGuard::theGuardEndsWithTheServer_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("in order") << SIGTERM;
    QTest::newRow("killed") << SIGKILL;
}

void tst_InputGuard::theGuardEndsWithTheServer()
{
    QFETCH(int, signal);
    QVERIFY(start());
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(scene->server().end(signal).has_value(), signal == SIGTERM);
    QVERIFY(waitUntil([&] { return hasEnded(guardId); }));
    qInfo("Ended %lld ms after the signal.", static_cast<long long>(timer.elapsed()));
    QCOMPARE(scene->server().complaints(), QByteArray());
}

void tst_InputGuard::theGuardEndsWithTheDisplay()
{
    QVERIFY(start());
    scene->mutableSession().endDisplay();
    QCOMPARE(scene->server().waitForEnd(), 1);
    QVERIFY(waitUntil([&] { return hasEnded(guardId); }));
}

void tst_InputGuard::theGuardStaysWhileTheServerRuns()
{
    QVERIFY(start());
    for (const int asking : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGUSR1}) {
        QCOMPARE(::kill(guardId, asking), 0);
    }
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(keyCommand(u"A"_s)) && handheld.waitUntilRead());
    QVERIFY(handheld.isServed());
    QTest::qWait(1'500); // The guard waits for nothing that long.
    QVERIFY(!hasEnded(guardId));
    QCOMPARE(scene->server().end(), 0);
    QVERIFY(waitUntil([&] { return hasEnded(guardId); }));
}

void tst_InputGuard::theGuardKeepsNothingOfTheServer()
{
    QVERIFY(start());
    const QStringList expected = {u"memfd"_s, u"null"_s, u"null"_s,
                                  u"null"_s,  u"pipe"_s, u"socket"_s};
    QStringList names = descriptorsOf(guardId);
    for (QString &name : names) {
        name = name.section(u' ', 0, 0);
    }
    QCOMPARE(names, expected);
    qInfo("The guard has %lld KiB in memory.",
          static_cast<long long>(ProcessMemory::resident(guardId) / 1024));
}

void tst_InputGuard::aServerWithoutAGuardServes()
{
    QVERIFY(start());
    QCOMPARE(::kill(guardId, SIGKILL), 0);
    QVERIFY(waitUntil([&] { return hasEnded(guardId); }));
    InputWatcher watcher(scene->session().display());
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(keyCommand(u"A"_s)));
    QVERIFY(waitUntil([&] { return watcher.raw().size() >= 2; }));
    QVERIFY(scene->waitUntilNothingIsHeld());
    QCOMPARE(scene->server().end(), 0);
}

QTEST_GUILESS_MAIN(tst_InputGuard)
#include "tst_InputGuard.moc"
