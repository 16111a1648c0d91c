// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/ProcessTables.h"
#include "support/ServerScene.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QTest>

#include <unistd.h>

namespace {

/// How long a tray may take to appear at logon, in milliseconds.
constexpr int TrayGrace = 10'000;

QByteArray pairing(const QString &device)
{
    return commandText(QStringLiteral("SERVER_PAIR"),
                       {{QStringLiteral("cmdParameters"), QStringList{device, "Anna"}}});
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
    void endSignalWhileWaitingForATrayEndsInOrder();
    void pairedDevicesAreReadAtTheNextStart();
    void firstStartStoresNoPreferences();
    void runsWithoutStandardStreams();
    void runsWithASessionBus();
    void secondServerListensBesideTheFirst();

private:
    bool open(DesktopSession::Parts parts);

    std::unique_ptr<ServerScene> m_scene;
};

void tst_StartAndEnd::cleanup()
{
    const QByteArray problem = m_scene ? m_scene->problemAtEnd() : QByteArray();
    m_scene.reset();
    QCOMPARE(problem, QByteArray());
}

bool tst_StartAndEnd::open(DesktopSession::Parts parts)
{
    m_scene = std::make_unique<ServerScene>(parts);
    return m_scene->session().problem().isEmpty();
}

void tst_StartAndEnd::withoutATrayItRefusesToRun()
{
    QVERIFY(open(DesktopSession::NoParts));
    QElapsedTimer sinceLaunch;
    sinceLaunch.start();
    m_scene->launch();
    const auto box = m_scene->waitForDialog(QStringLiteral("VornaServer"));
    QVERIFY(box);
    // The toolkit's timers may be off by a twentieth.
    QVERIFY(sinceLaunch.elapsed() >= TrayGrace - TrayGrace / 20);
    QVERIFY(!m_scene->server().isListening());
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("no-tray")));
    QVERIFY(m_scene->clickButton(*box, 0));
    QCOMPARE(m_scene->server().waitForEnd(), std::optional(1));
    QVERIFY(!QFileInfo::exists(m_scene->session().settingsFile()));
}

void tst_StartAndEnd::trayThatComesLateIsUsed()
{
    QVERIFY(open(DesktopSession::NoParts));
    m_scene->launch();
    // Nothing happens meanwhile, so there is no condition to wait for.
    QVERIFY(
        !waitUntil([this] { return m_scene->server().isListening(); }, std::chrono::seconds(3)));
    QVERIFY(m_scene->mutableSession().startTray());
    QVERIFY(m_scene->port() != 0);
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
    QVERIFY(waitUntil(
        [this] { return m_scene->view().balloon(m_scene->server().processId()).has_value(); }));
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("late-tray")));
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
    QVERIFY(m_scene->start());
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.ask(pairing("id-1")));
    QVERIFY(handheld.ask(pairing("id-2")));
    QCOMPARE(m_scene->server().end(signal), std::optional(0));
    QCOMPARE(m_scene->storedSetting(QStringLiteral("pairedDeviceList")).toStringList(),
             (QStringList{"id-1", "id-2"}));
    QVERIFY(handheld.waitUntilClosed());
}

void tst_StartAndEnd::endSignalWhileWaitingForATrayEndsInOrder()
{
    QVERIFY(open(DesktopSession::NoParts));
    m_scene->launch();
    const ServerProcess &server = m_scene->server();
    QVERIFY(waitUntil([&] { return ProcessTables::catches(server.processId(), SIGTERM); }));
    QVERIFY(!server.isListening());
    QElapsedTimer sinceSignal;
    sinceSignal.start();
    QVERIFY(m_scene->server().end(SIGTERM).has_value());
    QVERIFY(sinceSignal.elapsed() < TrayGrace / 2);
    QVERIFY(m_scene->view().dialogs(m_scene->server().processId()).isEmpty());
}

void tst_StartAndEnd::pairedDevicesAreReadAtTheNextStart()
{
    QVERIFY(open(DesktopSession::Tray));
    m_scene->storeSetting(QStringLiteral("pairedDeviceList"), QStringList{"old-1", "old-2"});
    QVERIFY(m_scene->start());
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.ask(pairing("old-2")));
    QVERIFY(handheld.ask(pairing("new")));
    QCOMPARE(m_scene->server().end(), std::optional(0));
    QCOMPARE(m_scene->storedSetting(QStringLiteral("pairedDeviceList")).toStringList(),
             (QStringList{"old-1", "old-2", "new"}));
}

void tst_StartAndEnd::firstStartStoresNoPreferences()
{
    QVERIFY(open(DesktopSession::Tray));
    QVERIFY(m_scene->start());
    QCOMPARE(m_scene->server().end(), std::optional(0));
    QVERIFY(QFileInfo::exists(m_scene->session().settingsFile()));
    QVERIFY(!m_scene->storedSetting(QStringLiteral("pairNeedsApproval")).isValid());
    QVERIFY(!m_scene->storedSetting(QStringLiteral("startAtLogon")).isValid());
    QVERIFY(!m_scene->storedSetting(QStringLiteral("downloadDirectory")).isValid());
}

void tst_StartAndEnd::runsWithoutStandardStreams()
{
    QVERIFY(open(DesktopSession::Tray));
    m_scene->launch([] {
        ::close(STDIN_FILENO);
        ::close(STDOUT_FILENO);
    });
    QVERIFY(m_scene->port() != 0);
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.ask(commandText(QStringLiteral("SERVER_INFO"))));
}

void tst_StartAndEnd::runsWithASessionBus()
{
    QVERIFY(open(DesktopSession::Tray | DesktopSession::SessionBus));
    QVERIFY(m_scene->start());
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
    QVERIFY(m_scene->menu().choose(TrayMenu::Item::Quit));
    QCOMPARE(m_scene->server().waitForEnd(), std::optional(0));
}

void tst_StartAndEnd::secondServerListensBesideTheFirst()
{
    QVERIFY(open(DesktopSession::Tray));
    QVERIFY(m_scene->start());
    ServerProcess second(m_scene->session());
    QVERIFY(second.port() != 0);
    QVERIFY(second.port() != m_scene->port());
    QCOMPARE(second.end(), std::optional(0));
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.ask(commandText(QStringLiteral("SERVER_INFO"))));
}

QTEST_GUILESS_MAIN(tst_StartAndEnd)
#include "tst_StartAndEnd.moc"
