// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/protocol/Handheld.h"
#include "support/protocol/SessionClient.h"
#include "support/protocol/SessionCrowd.h"
#include "support/session/ServerScene.h"
#include "support/session/StatusLight.h"
#include "support/x11/InputWatcher.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonArray>
#include <QTest>

#include <csignal>
#include <memory>

#include <sys/stat.h>
#include <xcb/xproto.h>

using namespace Qt::StringLiterals;

using Item = TrayMenu::Item;

namespace {

constexpr int AcceptButton = 0;
constexpr int RejectButton = 1;

int modeOf(const QString &path)
{
    struct stat status
    {
    };
    return lstat(QFile::encodeName(path).constData(), &status) == 0 ? int(status.st_mode & 07777)
                                                                    : -1;
}

/// The socket of the server on that session's display, in the runtime directory of the other one.
QString socketOf(const DesktopSession &session, const DesktopSession &runtime)
{
    return runtime.path(u"run/vornaserver/"_s) + session.display().replace(u':', u'_') +
           u".socket"_s;
}

const QJsonObject Anna{{u"name"_s, u"Anna's phone"_s}, {u"device"_s, u"d-1"_s}};

} // namespace

/// The session socket of the whole program.
class tst_SessionSocket : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void theUserHasASocketOfTheDisplay();
    void aSecondServerLeavesTheSocketAlone();
    void serversOfTwoDisplaysHaveTwoSockets();
    void theSocketOfAKilledServerIsReplaced();
    void theSocketGoesWithTheServer();

    void theUserAcceptsADevice();
    void theUserRefusesADevice();
    void aQuestionDoesNotHoldOthersUp();
    void theLightShowsSessions();
    void stopServerEndsSessions();
    void aCrowdIsAnswered();

    void nothingStaysDownWhenAProgramIsKilled();
    void nothingStaysDownWhenTheServerStops();
    void nothingStaysDownWhenTheServerIsKilled();
    void nothingStaysDownWhenAProgramFallsSilent();

private:
    static bool hold(SessionClient &client, const QString &key);
    QString path() const { return socketOf(scene->session(), scene->session()); }

    std::unique_ptr<ServerScene> scene;
};

void tst_SessionSocket::initTestCase()
{
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
}

void tst_SessionSocket::init()
{
    scene->beginAnew();
    QVERIFY(scene->start());
    QVERIFY(waitUntil([this] { return QFileInfo::exists(path()); }));
}

void tst_SessionSocket::cleanup()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
}

void tst_SessionSocket::theUserHasASocketOfTheDisplay()
{
    SessionClient client(path());
    const QJsonObject greeting = client.greeting();
    QCOMPARE(greeting["protocol"_L1].toInt(), 1);
    QCOMPARE(greeting["port"_L1].toInt(), int(scene->port()));
    QVERIFY(!greeting["version"_L1].toString().isEmpty());
    QVERIFY(!greeting["name"_L1].toString().isEmpty());
    QCOMPARE(modeOf(QFileInfo(path()).path()), 0700);
    QCOMPARE(modeOf(path()), 0600);
    QVERIFY(client.ask(u"ping"_s).isOk());
    QCOMPARE(client.ask(u"screens"_s).fields["screens"_L1].toArray().size(), 1);
}

void tst_SessionSocket::aSecondServerLeavesTheSocketAlone()
{
    SessionClient client(path());
    const QJsonObject greeting = client.greeting();
    ServerProcess second(scene->session());
    QVERIFY(second.port() != 0);
    QVERIFY(client.ask(u"ping"_s).isOk());
    QCOMPARE(SessionClient(path()).greeting(), greeting);
    QCOMPARE(second.end(), 0);
    QCOMPARE(SessionClient(path()).greeting(), greeting);
}

void tst_SessionSocket::serversOfTwoDisplaysHaveTwoSockets()
{
    DesktopSession other;
    QCOMPARE(other.problem(), QByteArray());
    other.addVariable(u"XDG_RUNTIME_DIR"_s, scene->session().path(u"run"_s));
    ServerProcess second(other);
    const quint16 port = second.port();
    QVERIFY(port != 0);
    const QString otherPath = socketOf(other, scene->session());
    QVERIFY(waitUntil([&] { return QFileInfo::exists(otherPath); }));
    QCOMPARE(SessionClient(otherPath).greeting()["port"_L1].toInt(), int(port));
    QCOMPARE(SessionClient(path()).greeting()["port"_L1].toInt(), int(scene->port()));
    QCOMPARE(second.end(), 0);
    QVERIFY(!QFileInfo::exists(otherPath));
    QVERIFY(QFileInfo::exists(path()));
}

void tst_SessionSocket::theSocketOfAKilledServerIsReplaced()
{
    SessionClient client(path());
    client.greeting();
    QVERIFY(!scene->server().end(SIGKILL));
    QVERIFY(client.waitUntilClosed());
    QVERIFY(QFileInfo::exists(path()));
    QVERIFY(!SessionClient(path()).isConnected());
    QVERIFY(scene->start());
    QVERIFY(waitUntil([this] { return SessionClient(path()).isConnected(); }));
    QCOMPARE(SessionClient(path()).greeting()["port"_L1].toInt(), int(scene->port()));
}

void tst_SessionSocket::theSocketGoesWithTheServer()
{
    SessionClient client(path());
    client.greeting();
    QCOMPARE(scene->server().end(), 0);
    QCOMPARE(client.event(u"goodbye"_s).value_or(SessionMessage()).error(), u"stopped"_s);
    QVERIFY(client.waitUntilClosed());
    QVERIFY(!QFileInfo::exists(path()));
}

void tst_SessionSocket::theUserAcceptsADevice()
{
    scene->storeSetting(u"pairNeedsApproval"_s, true);
    SessionClient client(path());
    const int asked = client.send(u"pair"_s, Anna);
    const auto dialog = scene->waitForDialog(u"VornaServer"_s);
    QVERIFY(dialog);
    QVERIFY(scene->isLight(StatusLight::Orange));
    QVERIFY(scene->clickButton(*dialog, AcceptButton));
    QVERIFY(client.answer(asked).isOk());
    QVERIFY(scene->showsLight(StatusLight::Green));
    // At once: the program may be killed.
    QVERIFY(waitUntil([this] {
        return scene->storedSetting(u"sessionDeviceList"_s).toStringList() == QStringList{u"d-1"_s};
    }));
    QVERIFY(SessionClient(path()).ask(u"pair"_s, Anna).isOk());
    QCOMPARE(scene->server().end(), 0);
    QCOMPARE(scene->storedSetting(u"pairedDeviceList"_s).toStringList(), QStringList());
}

void tst_SessionSocket::theUserRefusesADevice()
{
    scene->storeSetting(u"pairNeedsApproval"_s, true);
    SessionClient client(path());
    const int asked = client.send(u"pair"_s, Anna);
    const auto dialog = scene->waitForDialog(u"VornaServer"_s);
    QVERIFY(dialog);
    QVERIFY(scene->clickButton(*dialog, RejectButton));
    QCOMPARE(client.answer(asked).error(), u"refused"_s);
    QCOMPARE(client.ask(u"applications"_s).error(), u"refused"_s);
    QVERIFY(client.ask(u"ping"_s).isOk());
    QVERIFY(scene->isLight(StatusLight::Orange));
}

void tst_SessionSocket::aQuestionDoesNotHoldOthersUp()
{
    scene->storeSetting(u"pairNeedsApproval"_s, true);
    SessionClient asking(path());
    asking.send(u"pair"_s, Anna);
    const auto dialog = scene->waitForDialog(u"VornaServer"_s);
    QVERIFY(dialog);
    SessionClient other(path());
    QVERIFY(other.ask(u"applications"_s).isOk());
    Handheld handheld(scene->port());
    QVERIFY(handheld.ask("{ cmdType = SERVER_INFO; }"));
    QVERIFY(scene->clickButton(*dialog, RejectButton));
}

void tst_SessionSocket::theLightShowsSessions()
{
    {
        SessionClient client(path());
        QVERIFY(client.ask(u"pair"_s, Anna).isOk());
        QVERIFY(scene->showsLight(StatusLight::Green));
        QVERIFY(waitUntil(
            [this] { return scene->view().balloon(scene->server().processId()).has_value(); }));
        QVERIFY(scene->view().saveScreenshot(u"session-connected"_s));
    }
    QVERIFY(scene->showsLight(StatusLight::Orange));
}

void tst_SessionSocket::stopServerEndsSessions()
{
    SessionClient client(path());
    QVERIFY(client.ask(u"pair"_s, Anna).isOk());
    QVERIFY(scene->showsLight(StatusLight::Green));
    QVERIFY(scene->menu().choose(Item::StartStop));
    QCOMPARE(client.event(u"goodbye"_s).value_or(SessionMessage()).error(), u"stopped"_s);
    QVERIFY(client.waitUntilClosed());
    QVERIFY(scene->showsLight(StatusLight::Black));
    QVERIFY(!QFileInfo::exists(path()));
    QVERIFY(scene->comesToRest());
    QVERIFY(scene->isLight(StatusLight::Black));

    QVERIFY(scene->menu().choose(Item::StartStop));
    QVERIFY(waitUntil([this] { return SessionClient(path()).isConnected(); }));
    QCOMPARE(SessionClient(path()).greeting()["port"_L1].toInt(), int(scene->port()));
}

void tst_SessionSocket::aCrowdIsAnswered()
{
    auto crowd = std::make_unique<SessionCrowd>(path(), 500);
    QVERIFY(crowd->isAnswered());
    QCOMPARE(crowd->greeted(), 128);
    QCOMPARE(crowd->sentAway(), 372);
    Handheld handheld(scene->port());
    QVERIFY(handheld.ask("{ cmdType = SERVER_INFO; }"));
    crowd.reset();
    QVERIFY(waitUntil(
        [this] { return SessionClient(path()).greeting()["event"_L1].toString() == u"hello"_s; }));
}

bool tst_SessionSocket::hold(SessionClient &client, const QString &key)
{
    return client.ask(u"key"_s, {{u"key"_s, key}, {u"action"_s, u"press"_s}}).isOk();
}

void tst_SessionSocket::nothingStaysDownWhenAProgramIsKilled()
{
    InputWatcher watcher(scene->session().display());
    const QString program = uR"(
import socket, sys, time
stream = socket.socket(socket.AF_UNIX)
stream.connect(sys.argv[1])
for request in ('"key","key":"Control"', '"key","key":"a"', '"button"'):
    stream.sendall(('{"id":1,"action":"press","request":' + request + '}\n').encode())
time.sleep(600)
)"_s;
    ChildProcess process;
    process.start(u"python3"_s, {u"-c"_s, program, path()});
    QVERIFY(waitUntil([&] { return watcher.keysDown().size() == 2; }));
    QVERIFY(waitUntil([&] { return (watcher.pointerMask() & XCB_KEY_BUT_MASK_BUTTON_1) != 0; }));
    QVERIFY(scene->showsLight(StatusLight::Green));
    process.kill();
    QVERIFY(waitUntil([&] { return watcher.isNothingHeld(); }));
    QVERIFY(scene->showsLight(StatusLight::Orange));
}

/// Not the button: its window would get the clicks into the menu.
void tst_SessionSocket::nothingStaysDownWhenTheServerStops()
{
    InputWatcher watcher(scene->session().display());
    SessionClient client(path());
    QVERIFY(hold(client, u"Shift"_s) && hold(client, u"a"_s));
    QVERIFY(waitUntil([&] { return watcher.keysDown().size() == 2; }));
    QVERIFY(scene->menu().choose(Item::StartStop));
    QVERIFY(client.waitUntilClosed());
    QVERIFY(waitUntil([&] { return watcher.isNothingHeld(); }));
    QVERIFY(scene->showsLight(StatusLight::Black));
}

void tst_SessionSocket::nothingStaysDownWhenTheServerIsKilled()
{
    InputWatcher watcher(scene->session().display());
    SessionClient client(path());
    QVERIFY(hold(client, u"Control"_s) && hold(client, u"a"_s));
    QVERIFY(client.ask(u"button"_s, {{u"action"_s, u"press"_s}}).isOk());
    QVERIFY(waitUntil([&] { return watcher.keysDown().size() == 2; }));
    QVERIFY(!scene->server().end(SIGKILL));
    QVERIFY(waitUntil([&] { return watcher.isNothingHeld(); }));
}

void tst_SessionSocket::nothingStaysDownWhenAProgramFallsSilent()
{
    InputWatcher watcher(scene->session().display());
    SessionClient client(path());
    QVERIFY(hold(client, u"a"_s));
    QElapsedTimer time;
    time.start();
    QVERIFY(waitUntil([&] { return watcher.keysDown().size() == 1; }));
    QVERIFY(waitUntil([&] { return watcher.isNothingHeld(); }));
    QVERIFY2(time.elapsed() > 8'000, qPrintable(QString::number(time.elapsed())));
    QVERIFY(client.ask(u"ping"_s).isOk());
}

QTEST_GUILESS_MAIN(tst_SessionSocket)
#include "tst_SessionSocket.moc"
