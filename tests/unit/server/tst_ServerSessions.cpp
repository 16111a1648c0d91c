// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/PairingQuestion.h"
#include "doubles/RecordingDesktop.h"
#include "doubles/RecordingHost.h"
#include "server/Server.h"
#include "support/MessageRecorder.h"
#include "support/protocol/ServedPeer.h"
#include "support/protocol/SessionClient.h"
#include "support/session/DialogVisitor.h"
#include "support/session/PrivateHome.h"

#include <QAbstractButton>
#include <QFileInfo>
#include <QHostInfo>
#include <QJsonArray>
#include <QMessageBox>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

/// What the server does for sessions: their devices, the light, the balloons, its start and end.
class tst_ServerSessions : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theGreetingNamesTheServer();
    void theSocketExistsWhileTheServerIsStarted();
    void aServerWithoutARuntimeDirectoryWorks();
    void inputReachesTheDesktop();

    void unknownDevicesAreAcceptedWithoutApproval();
    void theStoredPreferenceCounts();
    void theUserAcceptsADevice();
    void theUserRefusesADevice();
    void theListsOfDevicesAreSeparate();
    void bothDoorsHaveQuestionsOfTheirOwn();
    void aSessionMayEndWhileTheUserIsAsked();
    void theServerMayStopWhileTheUserIsAsked();

    void connectionsAreReported();
    void stoppingIsSilent();
    void endingIsSilentAndReleasesWhatIsHeld();

    void addressesAreOpenedAtABoundedRate();
    void applicationsAreStartedAtABoundedRate();

private:
    using BoxVisitor = DialogVisitor<QMessageBox>;

    static void press(const QMessageBox &box, const QString &text)
    {
        for (QAbstractButton *candidate : box.buttons()) {
            if (candidate->text() == text) {
                QTest::mouseClick(candidate, Qt::LeftButton);
            }
        }
    }
    static QStringList stored(const QString &key) { return QSettings().value(key).toStringList(); }
    static QByteArray pairRequest(size_t device)
    {
        return "{ cmdType = SERVER_PAIR; cmdParameters = (id-" + QByteArray::number(device) +
               ", Crowd); }";
    }
    QString path() const { return home->path(u"vornaserver/_7.socket"_s); }
    static SessionMessage pair(SessionClient &client, const QString &device)
    {
        return client.ask(u"pair"_s, {{u"name"_s, u"Anna"_s}, {u"device"_s, device}});
    }

    RecordingHost host;
    std::unique_ptr<PrivateHome> home;
    std::unique_ptr<MessageRecorder> messages;
    std::unique_ptr<Server> server;
};

void tst_ServerSessions::init()
{
    qputenv("DISPLAY", ":7");
    home = std::make_unique<PrivateHome>();
    messages = std::make_unique<MessageRecorder>();
    host.reset();
    host.runtimeDirectory = home->path();
    server = std::make_unique<Server>(nullptr, host.serverAdapters(askAboutPairing));
    QVERIFY(server->startServer());
}

void tst_ServerSessions::cleanup()
{
    server.reset();
    messages.reset();
    QSettings().clear();
    home.reset();
}

void tst_ServerSessions::theGreetingNamesTheServer()
{
    SessionClient client(path());
    const QJsonObject greeting = client.greeting();
    QCOMPARE(greeting["event"_L1].toString(), u"hello"_s);
    QCOMPARE(greeting["port"_L1].toInt(), int(server->serverPort()));
    QCOMPARE(greeting["name"_L1].toString(), QHostInfo::localHostName());
}

void tst_ServerSessions::theSocketExistsWhileTheServerIsStarted()
{
    for (int i = 0; i < 3; ++i) {
        SessionClient client(path());
        QCOMPARE(client.greeting()["port"_L1].toInt(), int(server->serverPort()));
        server->stopServer();
        QVERIFY(!QFileInfo::exists(path()));
        QCOMPARE(client.event(u"goodbye"_s).value_or(SessionMessage()).error(), u"stopped"_s);
        QVERIFY(client.waitUntilClosed());
        QVERIFY(server->startServer());
    }
    server.reset();
    QVERIFY(!QFileInfo::exists(path()));
}

void tst_ServerSessions::aServerWithoutARuntimeDirectoryWorks()
{
    server.reset();
    host.runtimeDirectory = QString();
    server = std::make_unique<Server>(nullptr, host.serverAdapters());
    QVERIFY(server->startServer());
    QCOMPARE(messages->all(), QStringList{u"debug: No session socket: the system has no directory "
                                          u"for it. "_s});
    server->stopServer();
}

void tst_ServerSessions::inputReachesTheDesktop()
{
    SessionClient client(path());
    QVERIFY(client.ask(u"text"_s, {{u"text"_s, u"Grüße"_s}}).isOk());
    QCOMPARE(host.events.input.calls, QStringList{u"type Grüße"_s});
}

void tst_ServerSessions::unknownDevicesAreAcceptedWithoutApproval()
{
    SessionClient client(path());
    QVERIFY(pair(client, u"d-1"_s).isOk());
    QCOMPARE(stored(u"sessionDeviceList"_s), QStringList());
    // If the user wants to decide from now on, that is about this device, too.
    QSettings().setValue("pairNeedsApproval", true);
    const BoxVisitor visitor([](QMessageBox &box) { press(box, u"Reject"_s); });
    QCOMPARE(pair(client, u"d-1"_s).error(), u"refused"_s);
    QCOMPARE(visitor.visited(), 1);
}

/// Not the one that counts for the network, which the server learns later.
void tst_ServerSessions::theStoredPreferenceCounts()
{
    server->setNeedsPairingApproval(true);
    SessionClient client(path());
    QVERIFY(pair(client, u"d-1"_s).isOk());
    server->setNeedsPairingApproval(false);
    QSettings().setValue("pairNeedsApproval", true);
    const BoxVisitor visitor([](QMessageBox &box) { press(box, u"Accept"_s); });
    QVERIFY(pair(client, u"d-1"_s).isOk());
    QCOMPARE(visitor.visited(), 1);
}

void tst_ServerSessions::theUserAcceptsADevice()
{
    QSettings().setValue("pairNeedsApproval", true);
    SessionClient client(path());
    QString question;
    const BoxVisitor visitor([&](QMessageBox &box) {
        question = box.informativeText();
        press(box, u"Accept"_s);
    });
    QVERIFY(pair(client, u"d-1"_s).isOk());
    QVERIFY2(question.contains(u"Anna"_s), qPrintable(question));
    QCOMPARE(stored(u"sessionDeviceList"_s), QStringList{u"d-1"_s});
    SessionClient again(path());
    QVERIFY(pair(again, u"d-1"_s).isOk());
    QVERIFY(pair(client, u"d-1"_s).isOk());
    QCOMPARE(visitor.visited(), 1);
}

void tst_ServerSessions::theUserRefusesADevice()
{
    QSettings().setValue("pairNeedsApproval", true);
    SessionClient client(path());
    QVERIFY(client.ask(u"key"_s, {{u"key"_s, u"a"_s}, {u"action"_s, u"press"_s}}).isOk());
    const BoxVisitor visitor([](QMessageBox &box) { press(box, u"Reject"_s); });
    QCOMPARE(pair(client, u"d-1"_s).error(), u"refused"_s);
    QCOMPARE(host.events.input.calls, (QStringList{u"press a"_s, u"release a"_s}));
    QCOMPARE(client.ask(u"key"_s, {{u"key"_s, u"a"_s}}).error(), u"refused"_s);
    QCOMPARE(stored(u"sessionDeviceList"_s), QStringList());
}

void tst_ServerSessions::theListsOfDevicesAreSeparate()
{
    QSettings().setValue("pairNeedsApproval", true);
    server->deviceIsPresent(u"network"_s); // Accepted without approval, and known.
    const BoxVisitor visitor([](QMessageBox &box) { press(box, u"Accept"_s); });
    SessionClient client(path());
    QVERIFY(pair(client, u"network"_s).isOk());
    QCOMPARE(visitor.visited(), 1);
    QVERIFY(pair(client, u"session"_s).isOk());
    QCOMPARE(visitor.visited(), 2);
    server->setNeedsPairingApproval(true);
    QVERIFY(!server->deviceIsPresent(u"session"_s));
    server.reset();
    QCOMPARE(stored(u"pairedDeviceList"_s), QStringList{u"network"_s});
    QCOMPARE(stored(u"sessionDeviceList"_s), (QStringList{u"network"_s, u"session"_s}));
}

void tst_ServerSessions::bothDoorsHaveQuestionsOfTheirOwn()
{
    QSettings().setValue("pairNeedsApproval", true);
    server->setNeedsPairingApproval(true);
    std::vector<std::unique_ptr<ServedPeer>> crowd;
    for (int i = 0; i < 16; ++i) {
        crowd.push_back(std::make_unique<ServedPeer>(*server));
    }
    SessionClient client(path());
    client.greeting();
    // Each question is asked inside the one before it, so the last one is answered first.
    std::vector<QPointer<QMessageBox>> boxes;
    const BoxVisitor visitor([&](QMessageBox &box) {
        boxes.emplace_back(&box);
        if (boxes.size() < 16) {
            crowd[boxes.size()]->post(pairRequest(boxes.size()));
        } else if (boxes.size() == 16) {
            client.send(u"pair"_s, {{u"name"_s, u"Anna"_s}, {u"device"_s, u"d"_s}});
        } else {
            press(box, u"Accept"_s);
            std::for_each(boxes.rbegin() + 1, boxes.rend(),
                          [](const auto &earlier) { press(*earlier, u"Reject"_s); });
        }
    });
    crowd[0]->post(pairRequest(0));
    QVERIFY(client.answer(1).isOk());
    QCOMPARE(boxes.size(), 17u);
    QVERIFY(waitUntil([&] { return QApplication::activeModalWidget() == nullptr; }));
}

void tst_ServerSessions::aSessionMayEndWhileTheUserIsAsked()
{
    QSettings().setValue("pairNeedsApproval", true);
    SessionClient client(path());
    client.send(u"key"_s, {{u"key"_s, u"a"_s}, {u"action"_s, u"press"_s}});
    bool isReleased = false;
    const BoxVisitor visitor([&](QMessageBox &box) {
        client.leave();
        isReleased = waitUntil([this] { return host.events.input.calls.contains(u"release a"_s); });
        press(box, u"Accept"_s);
    });
    client.send(u"pair"_s, {{u"name"_s, u"Anna"_s}, {u"device"_s, u"d-1"_s}});
    QVERIFY(waitUntil([&] { return stored(u"sessionDeviceList"_s) == QStringList{u"d-1"_s}; }));
    QVERIFY(isReleased);
}

void tst_ServerSessions::theServerMayStopWhileTheUserIsAsked()
{
    QSettings().setValue("pairNeedsApproval", true);
    SessionClient client(path());
    client.greeting();
    const BoxVisitor visitor([&](QMessageBox &box) {
        server->stopServer();
        press(box, u"Accept"_s);
    });
    client.send(u"pair"_s, {{u"name"_s, u"Anna"_s}, {u"device"_s, u"d-1"_s}});
    QVERIFY(client.event(u"goodbye"_s));
    QVERIFY(client.waitUntilClosed());
    QVERIFY(!messages->warnings().contains(u"Anna connected "_s));
}

void tst_ServerSessions::connectionsAreReported()
{
    QSignalSpy light(server.get(), &Server::clientConnected);
    SessionClient program(path());
    QVERIFY(program.ask(u"ping"_s).isOk());
    QCOMPARE(light.size(), 0);
    QVERIFY(program.ask(u"scroll"_s, {{u"dx"_s, 0}, {u"dy"_s, 1}}).isOk());
    QVERIFY(program.ask(u"scroll"_s, {{u"dx"_s, 0}, {u"dy"_s, 1}}).isOk());
    SessionClient device(path());
    QVERIFY(pair(device, u"d"_s).isOk());
    program.leave();
    QVERIFY(waitUntil([&] { return light.size() == 3; }));
    device.leave();
    QVERIFY(waitUntil([&] { return light.size() == 4; }));
    QCOMPARE(QList<QVariantList>(light), (QList<QVariantList>{{true}, {true}, {false}, {false}}));
    QCOMPARE(messages->warnings(),
             (QStringList{u"tst_ServerSessi connected "_s, u"Anna connected "_s,
                          u"tst_ServerSessi disconnected "_s, u"Anna disconnected "_s}));
}

void tst_ServerSessions::stoppingIsSilent()
{
    SessionClient device(path());
    QVERIFY(pair(device, u"d"_s).isOk());
    QVERIFY(device.ask(u"button"_s, {{u"action"_s, u"press"_s}}).isOk());
    QSignalSpy light(server.get(), &Server::clientConnected);
    messages->clear();
    server->stopServer();
    QVERIFY(device.waitUntilClosed());
    QCoreApplication::processEvents();
    QCOMPARE(light.size(), 0);
    QCOMPARE(messages->all(), QStringList());
    QCOMPARE(host.events.input.calls.constLast(), u"button 0 up"_s);
}

void tst_ServerSessions::endingIsSilentAndReleasesWhatIsHeld()
{
    SessionClient device(path());
    QVERIFY(pair(device, u"d"_s).isOk());
    QVERIFY(device.ask(u"button"_s, {{u"action"_s, u"press"_s}}).isOk());
    messages->clear();
    server.reset();
    QCOMPARE(messages->all(), QStringList());
    QCOMPARE(host.events.input.calls.constLast(), u"button 0 up"_s);
    QCOMPARE(device.event(u"goodbye"_s).value_or(SessionMessage()).error(), u"stopped"_s);
}

void tst_ServerSessions::addressesAreOpenedAtABoundedRate()
{
    const RecordingDesktop desktop;
    SessionClient client(path());
    for (int i = 0; i < 50; ++i) {
        QVERIFY(client.ask(u"open"_s, {{u"address"_s, u"http://example.net/"_s}}).isOk());
    }
    QCOMPARE(client.ask(u"open"_s, {{u"address"_s, u"-x"_s}}).error(), u"refused"_s);
    bool isTooMuch = false;
    for (int i = 0; i < 50 && !isTooMuch; ++i) {
        isTooMuch = client.ask(u"open"_s, {{u"address"_s, u"http://example.net/"_s}}).error() ==
                    u"too-much"_s;
    }
    QVERIFY(isTooMuch);
    QVERIFY(desktop.opened.size() >= 50 && desktop.opened.size() < 100);
    QCOMPARE(client.ask(u"open"_s, {{u"address"_s, u"nothing:x"_s}}).error(), u"too-much"_s);
}

void tst_ServerSessions::applicationsAreStartedAtABoundedRate()
{
    SessionClient client(path());
    const QJsonArray names = client.ask(u"applications"_s).fields["applications"_L1].toArray();
    QVERIFY(!names.isEmpty());
    bool isTooMuch = false;
    for (int i = 0; i < 100 && !isTooMuch; ++i) {
        const SessionMessage answer =
            client.ask(u"open"_s, {{u"application"_s, names.first().toString()}});
        QVERIFY(answer.isOk() == (answer.error() != u"too-much"_s));
        isTooMuch = !answer.isOk();
        QVERIFY(isTooMuch || i < 99);
    }
    QVERIFY(isTooMuch);
}

QTEST_MAIN(tst_ServerSessions)
#include "tst_ServerSessions.moc"
