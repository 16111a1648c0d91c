// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Folders.h"
#include "support/session/NetworkNamespaces.h"
#include "support/session/RecordingOpener.h"
#include "support/session/ServerScene.h"
#include "support/x11/InputWatcher.h"

#include <QDir>
#include <QElapsedTimer>

using namespace Qt::StringLiterals;

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
    {"SERVER_PAIR", {}, {u"device"_s, u"Handheld"_s}},
    {"URL_OPEN", u"http://example.org/"_s, {}},
    {"TEXT_TRANSFER_AND_OPEN", u"some text"_s, {}},
    {"SERVER_CLIPBOARD_REQUEST", {}, {}},
    {"FILE_TRANSFER_AND_OPEN", {}, {u"cut"_s, u"100000"_s}},
    {"SERVER_INFO", {}, {}},
    {"KEYBOARD_CMD", u"Cmd+Shift+A"_s, {}},
    {"APPLICATION_CMD", u"iTunes"_s, {}},
    {"MOUSE_CMD", u"1"_s, {}},
    {"MOUSE_CMD", u"4"_s, {u"5"_s, u"5"_s}},
};

QByteArray text(const FaultyCommand &command)
{
    return commandText(QLatin1String(command.name), {{u"fncCommand"_s, command.function},
                                                     {u"cmdParameters"_s, command.parameters}});
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

    std::unique_ptr<ServerScene> scene;
    std::unique_ptr<RecordingOpener> opener;
};

void tst_Faults::begin(DesktopSession::Parts parts)
{
    scene = std::make_unique<ServerScene>(parts);
    QCOMPARE(scene->session().problem(), QByteArray());
    opener = std::make_unique<RecordingOpener>(scene->session());
    QVERIFY(QDir().mkpath(scene->session().home() + u"/received"_s));
    scene->storeSetting(u"downloadDirectory"_s, scene->session().home() + u"/received"_s);
}

void tst_Faults::cleanup()
{
    if (!scene) {
        return;
    }
    QVERIFY(scene->waitUntilNothingIsHeld());
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    scene.reset();
}

bool tst_Faults::isServing() const
{
    return Handheld(scene->port()).isServed();
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
    QVERIFY(scene->start());
    for (const FaultyCommand &command : Commands) {
        const QByteArray token = text(command);
        for (int round = 0; round < 5; ++round) {
            Handheld handheld(scene->port());
            QVERIFY(handheld.send(step == 0 ? token.left(token.size() / 2) : token));
            if (step >= 2) {
                QVERIFY(handheld.waitUntilRead());
            }
            if (step == 3) {
                QVERIFY(handheld.send(QByteArray(5000, 'x')));
            }
            handheld.reset();
        }
        QVERIFY2(isServing(), command.name);
    }
    QVERIFY(scene->showsLight(StatusLight::Orange));
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
        QVERIFY(scene->start());
        InputWatcher watcher(scene->session().display());
        Handheld handheld(scene->port());
        for (int i = 0; i < 20 + round; ++i) {
            QVERIFY(handheld.send(keyCommand(u"Cmd+Alt+Shift+A"_s)) && handheld.waitUntilRead());
        }
        QVERIFY(waitUntil([&] { return !watcher.raw().empty(); }));
        QVERIFY(handheld.send(keyCommand(u"Cmd+Alt+Shift+B"_s)));
        QCOMPARE(scene->server().end(signal).has_value(), signal == SIGTERM);
        QVERIFY(scene->waitUntilNothingIsHeld());
    }
}

void tst_Faults::folderRemovedMeanwhileIsSurvived()
{
    begin();
    QVERIFY(scene->start());
    const QString folder = scene->session().home() + u"/received"_s;
    Handheld handheld(scene->port());
    const auto answer = handheld.ask(fileRequest(u"file"_s, u"20000"_s));
    QCOMPARE(response(answer), u"START_BINARY_TRANSFER"_s);
    QVERIFY(handheld.sendAndSettle(QByteArray(10'000, 'x')));
    QVERIFY(QDir(folder).removeRecursively());
    QVERIFY(handheld.send(QByteArray(20'000, 'y')));
    QVERIFY(handheld.answer()); // The file exists without a name until it is closed.
    QVERIFY(!QDir(folder).exists());
    QVERIFY(isServing());
}

void tst_Faults::clockSetBackAndForthIsSurvived()
{
    // A library that comes in front of the system's clock; the sanitizer insists on being first.
    begin();
    const QString faked = scene->session().path(u"clock"_s);
    QVERIFY(Folders::write(faked, "+0"));
    scene->mutableSession().addVariable(u"FAKETIME_TIMESTAMP_FILE"_s, faked);
    scene->mutableSession().addVariable(u"FAKETIME_NO_CACHE"_s, u"1"_s);
    scene->mutableSession().addVariable(u"FAKETIME_DONT_FAKE_MONOTONIC"_s, u"1"_s);
    scene->mutableSession().addVariable(u"LD_PRELOAD"_s, QStringLiteral(FAKED_CLOCK));
    QVERIFY(scene->start());
    Handheld handheld(scene->port());
    QVERIFY(handheld.ask(serverInfo()));
    for (const char *clock : {"-3650d", "+3650d", "+0"}) {
        QVERIFY(Folders::write(faked, clock));
        QVERIFY(handheld.ask(serverInfo()));
        // The server waits for this owner, but no longer than for any other.
        QElapsedTimer sinceRequest;
        sinceRequest.start();
        QVERIFY(handheld.ask(clipboardRequest()));
        QVERIFY(sinceRequest.elapsed() < 5000);
        QVERIFY(handheld.send(keyCommand(u"A"_s)));
        QVERIFY(isServing());
    }
    QVERIFY(scene->comesToRest());
}

void tst_Faults::trayThatGoesAndComesBackIsUsedAgain()
{
    begin();
    QVERIFY(scene->start());
    Handheld handheld(scene->port());
    scene->mutableSession().endTray();
    QVERIFY(handheld.ask(serverInfo()));
    QVERIFY(isServing());
    QVERIFY(scene->comesToRest());
    QVERIFY(scene->mutableSession().startTray());
    QVERIFY(scene->showsLight(StatusLight::Orange));
}

void tst_Faults::lostSessionBusIsSurvived()
{
    begin(DesktopSession::Tray | DesktopSession::SessionBus);
    QVERIFY(scene->start());
    scene->mutableSession().endSessionBus();
    QVERIFY(isServing());
    QVERIFY(scene->comesToRest());
}

void tst_Faults::lostDisplayEndsTheServer()
{
    begin();
    QVERIFY(scene->start());
    Handheld handheld(scene->port());
    QVERIFY(handheld.ask(serverInfo()));
    scene->mutableSession().endDisplay();
    QCOMPARE(scene->server().waitForEnd(), 1);
    QVERIFY(handheld.waitUntilClosed());
    QCOMPARE(scene->server().complaints(), QByteArray());
    scene.reset(); // The display is gone, so cleanup() cannot ask it about keys.
}

void tst_Faults::deviceWhoseCableIsPulledIsNoticed()
{
    qputenv("PATH", qgetenv("PATH") + ":/usr/sbin:/sbin");
    const NetworkNamespaces network;
    QCOMPARE(network.problem(), QByteArray());
    begin();
    scene->launch(network.server().entry());
    QVERIFY(scene->port() != 0);
    ChildProcess device;
    device.setLastPreparation(network.handheld().entry());
    device.start(u"socat"_s,
                 {u"STDIO"_s, u"TCP:%1:%2"_s.arg(network.server().address()).arg(scene->port())});
    device.write(serverInfo());
    QVERIFY(waitUntil([&] { return device.readAllStandardOutput().contains("OK"); }));
    QVERIFY(scene->showsLight(StatusLight::Green));

    QVERIFY(network.handheld().run(u"ip"_s,
                                   {u"link"_s, u"set"_s, NetworkNamespaces::device(), u"down"_s}));
    QElapsedTimer sinceThen;
    sinceThen.start();
    QVERIFY(waitUntil([this] { return scene->isLight(StatusLight::Orange); }, 40s, 200ms));
    qInfo("Noticed after %lld s.", sinceThen.elapsed() / 1000);
}

QTEST_GUILESS_MAIN(tst_Faults)
#include "tst_Faults.moc"
