// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Folders.h"
#include "support/InputWatcher.h"
#include "support/NetworkNamespaces.h"
#include "support/RecordingOpener.h"
#include "support/ServerScene.h"

#include <QDir>
#include <QElapsedTimer>

using namespace std::chrono_literals;

namespace {

/// A command with parameters that make it do something.
struct FaultyCommand
{
    const char *name;
    QString function;
    QStringList parameters;
};

const QList<FaultyCommand> Commands{
    {"SERVER_PAIR", {}, {"device", "Handheld"}},
    {"URL_OPEN", "http://example.org/", {}},
    {"TEXT_TRANSFER_AND_OPEN", "some text", {}},
    {"SERVER_CLIPBOARD_REQUEST", {}, {}},
    {"FILE_TRANSFER_AND_OPEN", {}, {"cut", "100000"}},
    {"SERVER_INFO", {}, {}},
    {"KEYBOARD_CMD", "Cmd+Shift+A", {}},
    {"APPLICATION_CMD", "iTunes", {}},
    {"MOUSE_CMD", "1", {}},
    {"MOUSE_CMD", "4", {"5", "5"}},
};

QByteArray text(const FaultyCommand &command)
{
    return commandText(QLatin1String(command.name),
                       {{QStringLiteral("fncCommand"), command.function},
                        {QStringLiteral("cmdParameters"), command.parameters}});
}

} // namespace

/// Peers, programs and parts of the desktop that go away at a bad moment.
class tst_Faults : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void resetsAtEveryStepAreSurvived_data();
    void resetsAtEveryStepAreSurvived();
    void endAmidAFloodOfKeysLeavesNoKeyDown_data();
    void endAmidAFloodOfKeysLeavesNoKeyDown();
    void folderRemovedMeanwhileIsSurvived();
    void clockSetBackAndForthIsSurvived();
    void trayThatGoesAndComesBackIsUsedAgain();
    void lostSessionBusIsSurvived();
    void lostDisplayEndsTheServer();
    void deviceWhoseCableIsPulledIsNoticed();

private:
    void begin(DesktopSession::Parts parts = DesktopSession::Tray);
    bool isServing() const;

    std::unique_ptr<ServerScene> m_scene;
    std::unique_ptr<RecordingOpener> m_opener;
};

void tst_Faults::begin(DesktopSession::Parts parts)
{
    m_scene = std::make_unique<ServerScene>(parts);
    QCOMPARE(m_scene->session().problem(), QByteArray());
    m_opener = std::make_unique<RecordingOpener>(m_scene->session());
    QVERIFY(QDir().mkpath(m_scene->session().home() + "/received"));
    m_scene->storeSetting("downloadDirectory", m_scene->session().home() + "/received");
}

void tst_Faults::cleanup()
{
    if (!m_scene)
        return;
    QVERIFY(m_scene->waitUntilNothingIsHeld());
    QCOMPARE(m_scene->problemAtEnd(), QByteArray());
    m_scene.reset();
}

bool tst_Faults::isServing() const
{
    return Handheld(m_scene->port()).isServed();
}

void tst_Faults::resetsAtEveryStepAreSurvived_data()
{
    QTest::addColumn<int>("step");
    QTest::newRow("half a command") << 0;
    QTest::newRow("at once behind it") << 1;
    QTest::newRow("once it was read") << 2;
    QTest::newRow("amid what follows it") << 3;
}

void tst_Faults::resetsAtEveryStepAreSurvived()
{
    QFETCH(int, step);
    begin();
    QVERIFY(m_scene->start());
    for (const FaultyCommand &command : Commands) {
        const QByteArray token = text(command);
        for (int round = 0; round < 5; ++round) {
            Handheld handheld(m_scene->port());
            QVERIFY(handheld.send(step == 0 ? token.left(token.size() / 2) : token));
            if (step >= 2)
                QVERIFY(handheld.waitUntilRead());
            if (step == 3)
                QVERIFY(handheld.send(QByteArray(5000, 'x')));
            handheld.reset();
        }
        QVERIFY2(isServing(), command.name);
    }
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
}

void tst_Faults::endAmidAFloodOfKeysLeavesNoKeyDown_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGKILL") << SIGKILL;
}

void tst_Faults::endAmidAFloodOfKeysLeavesNoKeyDown()
{
    QFETCH(int, signal);
    for (int round = 0; round < 5; ++round) {
        begin();
        QVERIFY(m_scene->start());
        InputWatcher watcher(m_scene->session().display());
        Handheld handheld(m_scene->port());
        for (int i = 0; i < 20 + round; ++i)
            QVERIFY(handheld.send(keyCommand("Cmd+Alt+Shift+A")) && handheld.waitUntilRead());
        QVERIFY(waitUntil([&] { return !watcher.raw().empty(); }));
        QVERIFY(handheld.send(keyCommand("Cmd+Alt+Shift+B")));
        QCOMPARE(m_scene->server().end(signal).has_value(), signal == SIGTERM);
        QVERIFY(m_scene->waitUntilNothingIsHeld());
    }
}

void tst_Faults::folderRemovedMeanwhileIsSurvived()
{
    begin();
    QVERIFY(m_scene->start());
    const QString folder = m_scene->session().home() + "/received";
    Handheld handheld(m_scene->port());
    const auto answer = handheld.ask(
        commandText("FILE_TRANSFER_AND_OPEN", {{"cmdParameters", QStringList{"file", "20000"}}}));
    QCOMPARE(answer->value("serverResponse").toString(), QStringLiteral("START_BINARY_TRANSFER"));
    QVERIFY(handheld.sendAndSettle(QByteArray(10'000, 'x')));
    QVERIFY(QDir(folder).removeRecursively());
    QVERIFY(handheld.send(QByteArray(20'000, 'y')));
    QVERIFY(handheld.answer()); // the file lives on without a name until it is closed
    QVERIFY(!QDir(folder).exists());
    QVERIFY(isServing());
}

void tst_Faults::clockSetBackAndForthIsSurvived()
{
    // A library that comes in front of the system's clock; the sanitizer insists on being first.
    begin();
    const QString faked = m_scene->session().path("clock");
    QVERIFY(Folders::write(faked, "+0"));
    m_scene->mutableSession().addVariable("FAKETIME_TIMESTAMP_FILE", faked);
    m_scene->mutableSession().addVariable("FAKETIME_NO_CACHE", "1");
    m_scene->mutableSession().addVariable("FAKETIME_DONT_FAKE_MONOTONIC", "1");
    m_scene->mutableSession().addVariable("LD_PRELOAD", FAKED_CLOCK);
    QVERIFY(m_scene->start());
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.ask(serverInfo()));
    for (const char *clock : {"-3650d", "+3650d", "+0"}) {
        QVERIFY(Folders::write(faked, clock));
        QVERIFY(handheld.ask(serverInfo()));
        // An owner that is waited for, and no longer than ever.
        QElapsedTimer sinceRequest;
        sinceRequest.start();
        QVERIFY(handheld.ask(commandText("SERVER_CLIPBOARD_REQUEST")));
        QVERIFY(sinceRequest.elapsed() < 5000);
        QVERIFY(handheld.send(keyCommand("A")));
        QVERIFY(isServing());
    }
    QVERIFY(m_scene->isAtRest());
}

void tst_Faults::trayThatGoesAndComesBackIsUsedAgain()
{
    begin();
    QVERIFY(m_scene->start());
    Handheld handheld(m_scene->port());
    m_scene->mutableSession().endTray();
    QVERIFY(handheld.ask(serverInfo()));
    QVERIFY(isServing());
    QVERIFY(m_scene->isAtRest());
    QVERIFY(m_scene->mutableSession().startTray());
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
}

void tst_Faults::lostSessionBusIsSurvived()
{
    begin(DesktopSession::Tray | DesktopSession::SessionBus);
    QVERIFY(m_scene->start());
    m_scene->mutableSession().endSessionBus();
    QVERIFY(isServing());
    QVERIFY(m_scene->isAtRest());
}

void tst_Faults::lostDisplayEndsTheServer()
{
    begin();
    QVERIFY(m_scene->start());
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.ask(serverInfo()));
    m_scene->mutableSession().endDisplay();
    QCOMPARE(m_scene->server().waitForEnd(), 1);
    QVERIFY(handheld.waitUntilClosed());
    QCOMPARE(m_scene->server().complaints(), QByteArray());
    m_scene.reset(); // nobody is left to be asked about keys
}

void tst_Faults::deviceWhoseCableIsPulledIsNoticed()
{
    qputenv("PATH", qgetenv("PATH") + ":/usr/sbin:/sbin");
    const NetworkNamespaces network;
    QCOMPARE(network.problem(), QByteArray());
    begin();
    m_scene->launch(network.server().entry());
    QVERIFY(m_scene->port() != 0);
    ChildProcess device;
    device.setLastPreparation(network.handheld().entry());
    device.start(
        "socat",
        {"STDIO",
         QStringLiteral("TCP:%1:%2").arg(network.server().address()).arg(m_scene->port())});
    device.write(serverInfo());
    QVERIFY(waitUntil([&] { return device.readAllStandardOutput().contains("OK"); }));
    QVERIFY(m_scene->showsLight(StatusLight::Green));

    QVERIFY(network.handheld().run("ip", {"link", "set", NetworkNamespaces::device(), "down"}));
    QElapsedTimer sinceThen;
    sinceThen.start();
    QVERIFY(waitUntil([this] { return m_scene->isLight(StatusLight::Orange); }, 40s, 200ms));
    qInfo("Noticed after %lld s.", sinceThen.elapsed() / 1000);
}

QTEST_GUILESS_MAIN(tst_Faults)
#include "tst_Faults.moc"
