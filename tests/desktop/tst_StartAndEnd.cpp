// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/process/ProcessTables.h"
#include "support/session/ServerScene.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLocalServer>
#include <QTcpServer>
#include <QTest>
#include <QThread>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// How long a tray may take to appear at logon, in milliseconds.
constexpr int TrayGrace = 10'000;

const QString PairedDevices = u"pairedDeviceList"_s;
const QStringList EarlierDevices{u"old-1"_s, u"old-2"_s};

/// During the start it is a matter of chance what a signal hits, so it is sent often; once the
/// program is up, all rounds are alike.
int roundsFor(int milliseconds, int early)
{
    constexpr int UsuallyUp = 300;
    return milliseconds < UsuallyUp ? early : 2;
}

} // namespace

/// How the program begins and ends.
class tst_StartAndEnd : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void withoutATrayItRefusesToRun();
    void trayThatComesLateIsUsed();
    void endSignalsWriteThePairedDevices_data();
    void endSignalsWriteThePairedDevices();
    void endSignalWhileWaitingForATrayEndsInOrder_data();
    void endSignalWhileWaitingForATrayEndsInOrder();
    void endSignalDuringTheStartEndsInOrder_data();
    void endSignalDuringTheStartEndsInOrder();
    void endSignalThatWaitsForTheStartEndsInOrder_data();
    void endSignalThatWaitsForTheStartEndsInOrder();
    void endSignalWhileTheDisplayHangsEndsInOrder();
    void pairedDevicesAreReadAtTheNextStart();
    void firstStartStoresNoPreferences();
    void runsWithoutStandardStreams();
    void runsWithASessionBus();
    void secondServerListensBesideTheFirst();
    void aCompositorThatNeverAnswersDelaysTheStartOnce();

private:
    bool open(DesktopSession::Parts parts);
    bool waitsForATray() const;
    bool storesNothingNew() const;
    qint64 millisecondsToListen();

    std::unique_ptr<ServerScene> scene;
    std::optional<DesktopSession::Parts> partsThere; ///< Nothing once a function has changed them.
};

void tst_StartAndEnd::cleanup()
{
    QCOMPARE(scene ? scene->problemAtEnd() : QByteArray(), QByteArray());
}

/// Reuses the desktop of the previous function if it has the same parts.
bool tst_StartAndEnd::open(DesktopSession::Parts parts)
{
    if (scene && partsThere == parts) {
        scene->beginAnew();
        return true;
    }
    scene.reset();
    scene = std::make_unique<ServerScene>(parts);
    partsThere = parts;
    return scene->session().problem().isEmpty();
}

void tst_StartAndEnd::withoutATrayItRefusesToRun()
{
    QVERIFY(open(DesktopSession::NoParts));
    QElapsedTimer sinceLaunch;
    sinceLaunch.start();
    scene->launch();
    const auto box = scene->waitForDialog(u"VornaServer"_s);
    QVERIFY(box);
    // The toolkit's timers may be off by a twentieth.
    QVERIFY(sinceLaunch.elapsed() >= TrayGrace - TrayGrace / 20);
    QVERIFY(!scene->server().isListening());
    QVERIFY(scene->view().saveScreenshot(u"no-tray"_s));
    QVERIFY(scene->clickButton(*box, 0));
    QCOMPARE(scene->server().waitForEnd(), std::optional(1));
    // Nothing is printed into a file; a terminal gets an explanation.
    QCOMPARE(scene->server().errorText(), QByteArray());
    QVERIFY(!QFileInfo::exists(scene->session().settingsFile()));
}

void tst_StartAndEnd::trayThatComesLateIsUsed()
{
    QVERIFY(open(DesktopSession::NoParts));
    scene->launch();
    QVERIFY(waitsForATray());
    QVERIFY(!scene->server().isListening());
    partsThere.reset();
    QVERIFY(scene->mutableSession().startTray());
    QVERIFY(scene->port() != 0);
    QVERIFY(scene->showsLight(StatusLight::Orange));
    QVERIFY(waitUntil(
        [this] { return scene->view().balloon(scene->server().processId()).has_value(); }));
    QVERIFY(scene->view().saveScreenshot(u"late-tray"_s));
}

void tst_StartAndEnd::endSignalsWriteThePairedDevices_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void tst_StartAndEnd::endSignalsWriteThePairedDevices()
{
    QFETCH(int, signal);
    QVERIFY(open(DesktopSession::Tray));
    QVERIFY(scene->start());
    Handheld handheld(scene->port());
    QVERIFY(handheld.ask(pairing(u"id-1"_s)));
    QVERIFY(handheld.ask(pairing(u"id-2"_s)));
    QCOMPARE(scene->server().end(signal), std::optional(0));
    QCOMPARE(scene->storedSetting(u"pairedDeviceList"_s).toStringList(),
             (QStringList{u"id-1"_s, u"id-2"_s}));
    QVERIFY(handheld.waitUntilClosed());
}

void tst_StartAndEnd::endSignalWhileWaitingForATrayEndsInOrder_data()
{
    endSignalsWriteThePairedDevices_data();
}

void tst_StartAndEnd::endSignalWhileWaitingForATrayEndsInOrder()
{
    QFETCH(int, signal);
    QVERIFY(open(DesktopSession::NoParts));
    scene->storeSetting(PairedDevices, EarlierDevices);
    scene->launch();
    QVERIFY(waitsForATray());
    QVERIFY(!scene->server().isListening());
    QElapsedTimer sinceSignal;
    sinceSignal.start();
    // After the box that says that there is no tray, the status is 1.
    QCOMPARE(scene->server().end(signal), std::optional(0));
    QVERIFY(sinceSignal.elapsed() < TrayGrace / 2);
    QCOMPARE(scene->server().errorText(), QByteArray());
    QVERIFY(storesNothingNew());
}

/// Whether it has started and has nothing more to do: without a tray, that is waiting for one.
bool tst_StartAndEnd::waitsForATray() const
{
    const auto isStarted = [this] {
        return ProcessTables::catches(scene->server().processId(), SIGTERM);
    };
    return waitUntil(isStarted) && scene->comesToRest();
}

/// The devices of the earlier run are still stored, and this run left no core file.
bool tst_StartAndEnd::storesNothingNew() const
{
    return scene->storedSetting(PairedDevices).toStringList() == EarlierDevices &&
           QDir(scene->session().home()).entryList({u"*core*"_s}, QDir::Files).isEmpty();
}

void tst_StartAndEnd::endSignalDuringTheStartEndsInOrder_data()
{
    QTest::addColumn<int>("milliseconds");
    for (const int milliseconds : {0, 1, 2, 5, 10, 20, 30, 50, 100, 300, 1'000}) {
        QTest::addRow("after %d ms", milliseconds) << milliseconds;
    }
}

/// Before the program's first instruction nothing can catch a signal: the system ends the process
/// while it loads the libraries. From then on the program exits by itself.
void tst_StartAndEnd::endSignalDuringTheStartEndsInOrder()
{
    QFETCH(int, milliseconds);
    const int rounds = roundsFor(milliseconds, 12);
    constexpr int LongestEnd = 5'000;
    QVERIFY(open(DesktopSession::Tray));
    scene->storeSetting(PairedDevices, EarlierDevices);
    int inOrder = 0;
    qint64 longest = 0;
    for (int i = 0; i < rounds; ++i) {
        scene->launch();
        QThread::msleep(static_cast<unsigned long>(milliseconds));
        ServerProcess &server = scene->server();
        const bool isCaught = ProcessTables::catches(server.processId(), SIGTERM);
        QElapsedTimer sinceSignal;
        sinceSignal.start();
        const std::optional<int> status = server.end(SIGTERM);
        longest = qMax(longest, sinceSignal.elapsed());
        if (isCaught || status) {
            QCOMPARE(status, std::optional(0));
            ++inOrder;
        } else {
            QCOMPARE(server.endingSignal(), std::optional<int>(SIGTERM));
        }
        QCOMPARE(server.errorText(), QByteArray());
        QVERIFY(storesNothingNew());
    }
    qInfo("%d of %d caught, the longest end took %lld ms.", inOrder, rounds, longest);
    QVERIFY(longest < LongestEnd);
    // The loading takes less than that even with sanitizers on a busy machine.
    QVERIFY(milliseconds < 1'000 || inOrder == rounds);
}

void tst_StartAndEnd::endSignalThatWaitsForTheStartEndsInOrder_data()
{
    endSignalDuringTheStartEndsInOrder_data();
}

/// Started with blocked signals, the program has no such gap: whenever a signal comes, it may be
/// neither lost nor fatal.
void tst_StartAndEnd::endSignalThatWaitsForTheStartEndsInOrder()
{
    QFETCH(int, milliseconds);
    const int rounds = roundsFor(milliseconds, 6);
    QVERIFY(open(DesktopSession::Tray));
    scene->storeSetting(PairedDevices, EarlierDevices);
    for (int i = 0; i < rounds; ++i) {
        scene->launch([] {
            sigset_t all;
            sigfillset(&all);
            sigprocmask(SIG_BLOCK, &all, nullptr);
        });
        QThread::msleep(static_cast<unsigned long>(milliseconds));
        QCOMPARE(scene->server().end(i % 2 == 0 ? SIGTERM : SIGHUP), std::optional(0));
        QCOMPARE(scene->server().errorText(), QByteArray());
        QVERIFY(storesNothingNew());
    }
}

/// A display that takes the connection and does not answer holds up the making of the application.
void tst_StartAndEnd::endSignalWhileTheDisplayHangsEndsInOrder()
{
    constexpr int FirstDisplayPort = 6000;
    QVERIFY(open(DesktopSession::NoParts));
    scene->storeSetting(PairedDevices, EarlierDevices);
    QTcpServer display;
    QVERIFY(display.listen(QHostAddress::LocalHost));
    QVERIFY(display.serverPort() > FirstDisplayPort);
    scene->mutableSession().addVariable(
        u"DISPLAY"_s, u"127.0.0.1:%1"_s.arg(display.serverPort() - FirstDisplayPort));
    scene->launch();
    QVERIFY(waitUntil([&] { return display.hasPendingConnections(); }));
    QCOMPARE(scene->server().end(), std::optional(0));
    QCOMPARE(scene->server().errorText(), QByteArray());
    QVERIFY(storesNothingNew());
}

void tst_StartAndEnd::pairedDevicesAreReadAtTheNextStart()
{
    QVERIFY(open(DesktopSession::Tray));
    scene->storeSetting(u"pairedDeviceList"_s, QStringList{u"old-1"_s, u"old-2"_s});
    QVERIFY(scene->start());
    Handheld handheld(scene->port());
    QVERIFY(handheld.ask(pairing(u"old-2"_s)));
    QVERIFY(handheld.ask(pairing(u"new"_s)));
    QCOMPARE(scene->server().end(), std::optional(0));
    QCOMPARE(scene->storedSetting(u"pairedDeviceList"_s).toStringList(),
             (QStringList{u"old-1"_s, u"old-2"_s, u"new"_s}));
}

void tst_StartAndEnd::firstStartStoresNoPreferences()
{
    QVERIFY(open(DesktopSession::Tray));
    QVERIFY(scene->start());
    QCOMPARE(scene->server().end(), std::optional(0));
    QVERIFY(QFileInfo::exists(scene->session().settingsFile()));
    QVERIFY(!scene->storedSetting(u"pairNeedsApproval"_s).isValid());
    QVERIFY(!scene->storedSetting(u"startAtLogon"_s).isValid());
    QVERIFY(!scene->storedSetting(u"downloadDirectory"_s).isValid());
}

void tst_StartAndEnd::runsWithoutStandardStreams()
{
    QVERIFY(open(DesktopSession::Tray));
    scene->launch([] {
        ::close(STDIN_FILENO);
        ::close(STDOUT_FILENO);
    });
    QVERIFY(scene->port() != 0);
    QVERIFY(scene->showsLight(StatusLight::Orange));
    Handheld handheld(scene->port());
    QVERIFY(handheld.ask(serverInfo()));
}

void tst_StartAndEnd::runsWithASessionBus()
{
    QVERIFY(open(DesktopSession::Tray | DesktopSession::SessionBus));
    QVERIFY(scene->start());
    QVERIFY(scene->showsLight(StatusLight::Orange));
    QVERIFY(scene->menu().choose(TrayMenu::Item::Quit));
    QCOMPARE(scene->server().waitForEnd(), std::optional(0));
}

void tst_StartAndEnd::secondServerListensBesideTheFirst()
{
    QVERIFY(open(DesktopSession::Tray));
    QVERIFY(scene->start());
    ServerProcess second(scene->session());
    QVERIFY(second.port() != 0);
    QVERIFY(second.port() != scene->port());
    QCOMPARE(second.end(), std::optional(0));
    Handheld handheld(scene->port());
    QVERIFY(handheld.ask(serverInfo()));
}

qint64 tst_StartAndEnd::millisecondsToListen()
{
    QElapsedTimer sinceLaunch;
    sinceLaunch.start();
    scene->launch();
    const bool isThere = scene->port() != 0;
    const qint64 passed = sinceLaunch.elapsed();
    return isThere && scene->server().end() == 0 ? passed : -1;
}

/// The program asks it what it offers and waits two seconds for that; the toolkit is on X11.
void tst_StartAndEnd::aCompositorThatNeverAnswersDelaysTheStartOnce()
{
    QVERIFY(open(DesktopSession::Tray));
    const qint64 usually = millisecondsToListen();
    QVERIFY(usually > 0);
    QLocalServer compositor;
    QVERIFY(compositor.listen(scene->session().path(u"run/silent"_s)));
    scene->mutableSession().addVariable(u"WAYLAND_DISPLAY"_s, compositor.fullServerName());
    const qint64 withIt = millisecondsToListen();
    QVERIFY(withIt > 0);
    const qint64 delay = withIt - usually;
    QVERIFY2(delay > 1500 && delay < 3500, QByteArray::number(delay).constData());
}

QTEST_GUILESS_MAIN(tst_StartAndEnd)
#include "tst_StartAndEnd.moc"
