// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/Server.h"

#include "doubles/RecordingHost.h"
#include "support/MessageRecorder.h"
#include "support/process/DescriptorLimit.h"
#include "support/protocol/ServedPeer.h"
#include "support/session/PrivateHome.h"

#include <QHostInfo>
#include <QMetaMethod>
#include <QNetworkProxy>
#include <QSignalSpy>
#include <QTest>

#include <memory>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

using namespace Qt::StringLiterals;

namespace {

QByteArray ownHostName = "desk";

} // namespace

// Takes precedence over the toolkit's, so that the host has a name of our choice.
QString QHostInfo::localHostName()
{
    return QString::fromUtf8(ownHostName);
}

namespace {

QVariant storedDevices()
{
    return QSettings().value("pairedDeviceList");
}

int option(const QTcpSocket &socket, int level, int name)
{
    int value = 0;
    socklen_t size = sizeof value;
    getsockopt(static_cast<int>(socket.socketDescriptor()), level, name, &value, &size);
    return value;
}

int openDescriptors()
{
    int count = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        count += fcntl(descriptor, F_GETFD) != -1;
    }
    return count;
}

} // namespace

class tst_Server : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theMetaObjectListsSignalsAndSlotsInTheirOrder();

    void anUnknownDeviceIsAcceptedAndRememberedWithoutApproval();
    void aDeviceIsRememberedOnce();
    void anUnknownDeviceNeedsApprovalWhenAsked();
    void devicesAreKnownByTheirExactIdentifiers_data();
    void devicesAreKnownByTheirExactIdentifiers();
    void aDeviceStaysKnownWhenApprovalIsSwitchedOn();

    void pairedDevicesAreStoredAsAListAtTheEndOnly();
    void pairedDevicesAreStoredInTheOrderOfTheirAcceptance();
    void withoutAQuestionUnknownDevicesAreRefused();
    void anAbsentListIsEmpty();
    void storedListsAreRead_data();
    void storedListsAreRead();

    void aNewServerDoesNotListen();
    void startingListensOnAllIPv4AddressesAtAFreePort();
    void startingAdvertisesTheHostsNameAndThePort();
    void startingGoesOnWithoutTheDaemon();
    void aNameThatIsTakenGetsANumber();
    void onlyNineNamesAreTried();
    void aStoppedServerTriesNoFurtherName();
    void aLongHostNameIsCut_data();
    void aLongHostNameIsCut();
    void theProxyOfTheDesktopIsNotUsed();
    void aDaemonThatComesBackHearsOfTheServerAgain();
    void aDaemonThatComesBackHearsNothingOfAStoppedServer();
    void startingFailsWithoutADescriptor();

    void stoppingEndsListeningAndAdvertising();
    void stoppingTwiceDoesNoHarm();
    void stoppingLeavesConnectionsAlone();
    void aRestartServesEachConnectionOnce();
    void anEmptyQueueOfConnectionsIsNoConnection();

    void connectionsAreReported();
    void oneOfTwoClientsLeavingIsReportedAsNotConnected();
    void manyClientsAtOnceAreServed();
    void othersHaveTheirTurnWhileACrowdIsAccepted();
    void aFileLeavesTheReserveAlone();
    void acceptedSocketsAreTuned();
    void aClientThatLeftLeavesNoSocket();
    void acceptingPausesBeforeDescriptorsRunOut();
    void aPauseOfAcceptingEndsWithTheRun_data();
    void aPauseOfAcceptingEndsWithTheRun();
    void destructionEndsConnectionsAndKeepsWhatArrived();

private:
    std::unique_ptr<PrivateHome> home;
    RecordingHost host;
    std::unique_ptr<MessageRecorder> messages;
    std::unique_ptr<Server> server;
};

void tst_Server::init()
{
    home = std::make_unique<PrivateHome>();
    messages = std::make_unique<MessageRecorder>();
    host.reset();
    server = std::make_unique<Server>(nullptr, host.serverAdapters());
}

void tst_Server::cleanup()
{
    server.reset();
    QCOMPARE(host.dnsSd.living, 0);
    messages.reset();
    QSettings().clear();
    home.reset();
}

void tst_Server::theMetaObjectListsSignalsAndSlotsInTheirOrder()
{
    const QMetaObject &meta = Server::staticMetaObject;
    QList<QByteArray> methods;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index) {
        const QMetaMethod method = meta.method(index);
        methods.append(method.methodSignature() + ' ' + method.parameterNames().join(','));
    }
    QCOMPARE(methods, QList<QByteArray>({"error(QTcpSocket::SocketError) socketError",
                                         "clientConnected(bool) connected", "manageConnections() ",
                                         "serveClient() ", "showFile(QString) filename",
                                         "clientDisconnected() "}));
}

// ---- Paired devices -----------------------------------------------------------------------------

void tst_Server::anUnknownDeviceIsAcceptedAndRememberedWithoutApproval()
{
    QVERIFY(server->deviceIsPresent(u"device"_s));
    server->setNeedsPairingApproval(true);
    QVERIFY(server->deviceIsPresent(u"device"_s));
    QVERIFY(server->pairingRequestForDevice(u"device"_s, u"name"_s));
}

void tst_Server::aDeviceIsRememberedOnce()
{
    server->deviceIsPresent(u"device"_s);
    server->deviceIsPresent(u"device"_s);
    server->pairingRequestForDevice(u"device"_s, u"name"_s);
    server.reset();
    QCOMPARE(storedDevices().toStringList(), QStringList{u"device"_s});
}

void tst_Server::anUnknownDeviceNeedsApprovalWhenAsked()
{
    server->setNeedsPairingApproval(true);
    QVERIFY(!server->deviceIsPresent(u"device"_s));
    QVERIFY(!server->deviceIsPresent(u"device"_s));
    server->setNeedsPairingApproval(false);
    QVERIFY(server->deviceIsPresent(u"device"_s));
}

void tst_Server::devicesAreKnownByTheirExactIdentifiers_data()
{
    QTest::addColumn<QString>("identifier");
    QTest::addColumn<bool>("isKnown");

    QTest::newRow("same") << "Device 1" << true;
    QTest::newRow("other letter case") << "device 1" << false;
    QTest::newRow("part") << "Device" << false;
    QTest::newRow("blank at the end") << "Device 1 " << false;
    QTest::newRow("empty") << "" << false;
}

void tst_Server::devicesAreKnownByTheirExactIdentifiers()
{
    QFETCH(QString, identifier);
    server->deviceIsPresent(u"Device 1"_s);
    server->setNeedsPairingApproval(true);
    QTEST(server->deviceIsPresent(identifier), "isKnown");
}

void tst_Server::aDeviceStaysKnownWhenApprovalIsSwitchedOn()
{
    server->deviceIsPresent(u"early"_s);
    server->setNeedsPairingApproval(true);
    QVERIFY(server->pairingRequestForDevice(u"early"_s, u"name"_s));
    QVERIFY(!server->deviceIsPresent(u"late"_s));
}

void tst_Server::pairedDevicesAreStoredAsAListAtTheEndOnly()
{
    server->deviceIsPresent(u"device"_s);
    server->startServer();
    server->stopServer();
    QVERIFY(!storedDevices().isValid());
    server.reset();
    QCOMPARE(storedDevices(), QVariant(QStringList{u"device"_s}));
}

void tst_Server::pairedDevicesAreStoredInTheOrderOfTheirAcceptance()
{
    QSettings().setValue("pairedDeviceList", QStringList({u"z"_s, u"y"_s}));
    server = std::make_unique<Server>(nullptr, host.serverAdapters());
    server->deviceIsPresent(u"x"_s);
    server->deviceIsPresent(u"a"_s);
    server->deviceIsPresent(u"y"_s);
    server.reset();
    QCOMPARE(storedDevices().toStringList(), QStringList({u"z"_s, u"y"_s, u"x"_s, u"a"_s}));
}

void tst_Server::withoutAQuestionUnknownDevicesAreRefused()
{
    server->setNeedsPairingApproval(true);
    QVERIFY(!server->pairingRequestForDevice(u"device"_s, u"name"_s));
    QVERIFY(!server->deviceIsPresent(u"device"_s));
}

void tst_Server::anAbsentListIsEmpty()
{
    server->setNeedsPairingApproval(true);
    for (const char *device : {"", "@Invalid()", "pairedDeviceList"}) {
        QVERIFY2(!server->deviceIsPresent(QLatin1StringView(device)), device);
    }
    server.reset();
    QVERIFY(QSettings().contains("pairedDeviceList"));
    QCOMPARE(storedDevices().toStringList(), QStringList());
}

void tst_Server::storedListsAreRead_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QStringList>("devices");

    QTest::newRow("list") << QVariant(QStringList{u"a"_s, u"b"_s}) << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("single text") << QVariant(u"a"_s) << QStringList{u"a"_s};
    QTest::newRow("empty list") << QVariant(QStringList()) << QStringList();
    QTest::newRow("letters beyond ASCII")
        << QVariant(QStringList{u"\u00e9, \u2603\""_s}) << QStringList{u"\u00e9, \u2603\""_s};
}

void tst_Server::storedListsAreRead()
{
    QFETCH(QVariant, stored);
    QFETCH(QStringList, devices);
    server.reset();
    QSettings().setValue("pairedDeviceList", stored);
    server = std::make_unique<Server>(nullptr, host.serverAdapters());
    server->setNeedsPairingApproval(true);
    for (const QString &device : devices) {
        QVERIFY(server->deviceIsPresent(device));
    }
    QVERIFY(!server->deviceIsPresent(u"other"_s));
    server.reset();
    QCOMPARE(storedDevices().toStringList(), devices);
}

// ---- Start and stop -----------------------------------------------------------------------------

void tst_Server::aNewServerDoesNotListen()
{
    QVERIFY(!server->isListening());
    QVERIFY(host.dnsSd.registrations.empty());
}

void tst_Server::startingListensOnAllIPv4AddressesAtAFreePort()
{
    QVERIFY(server->startServer());
    QVERIFY(server->isListening());
    QCOMPARE(server->serverAddress(), QHostAddress(QHostAddress::AnyIPv4));
    QVERIFY(server->serverPort() != 0);
    QCOMPARE(messages->all(), QStringList());
}

void tst_Server::startingAdvertisesTheHostsNameAndThePort()
{
    QVERIFY(server->startServer());
    QCOMPARE(host.dnsSd.registrations.size(), 1U);
    const RecordingDnsSd::Registration &registration = host.dnsSd.registrations.front();
    QCOMPARE(registration.name, QByteArray("desk"));
    QCOMPARE(registration.type, QByteArray("_quillmote._tcp"));
    QVERIFY(!registration.domain.has_value());
    const quint16 port = server->serverPort();
    const char bytes[] = {static_cast<char>(port >> 8), static_cast<char>(port & 0xff)};
    QCOMPARE(registration.portBytes, QByteArray(bytes, 2));
}

void tst_Server::startingGoesOnWithoutTheDaemon()
{
    host.dnsSd.registerResult = -65537;
    QVERIFY(server->startServer());
    QVERIFY(server->isListening());
    QCoreApplication::processEvents();
    // It is for a developer who looks for the reason; the user gets no balloon.
    QCOMPARE(messages->warnings(), QStringList());
    QCOMPARE(host.dnsSd.registrations.size(), 1U);
    ServedPeer peer(*server);
    QVERIFY(peer.served() != nullptr);
}

void tst_Server::aNameThatIsTakenGetsANumber()
{
    host.dnsSd.registerResult = kDNSServiceErr_NameConflict;
    server->startServer();
    host.dnsSd.registerResult = kDNSServiceErr_NoError;
    QVERIFY(waitUntil([this] { return host.dnsSd.living == 1; }));
    QCOMPARE(host.dnsSd.registrations.size(), 2U);
    QCOMPARE(host.dnsSd.registrations[1].name, QByteArray("desk #2"));
    QCOMPARE(host.dnsSd.registrations[1].portBytes, host.dnsSd.registrations[0].portBytes);
}

void tst_Server::onlyNineNamesAreTried()
{
    host.dnsSd.registerResult = kDNSServiceErr_NameConflict;
    server->startServer();
    QVERIFY(waitUntil([this] { return host.dnsSd.registrations.size() == 9; }));
    QTest::qWait(0);
    QCoreApplication::processEvents();
    QCOMPARE(host.dnsSd.registrations.size(), 9U);
    QVERIFY(host.dnsSd.registrations.back().name == "desk #9");
}

void tst_Server::aStoppedServerTriesNoFurtherName()
{
    host.dnsSd.registerResult = kDNSServiceErr_NameConflict;
    server->startServer();
    server->stopServer();
    QCoreApplication::processEvents();
    QCOMPARE(host.dnsSd.registrations.size(), 1U);
}

void tst_Server::aLongHostNameIsCut_data()
{
    QTest::addColumn<QByteArray>("hostName");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("secondName");

    const QByteArray umlaut = "\xc3\xbc";
    QTest::newRow("as long as allowed")
        << QByteArray(63, 'h') << QByteArray(63, 'h') << QByteArray(60, 'h') + " #2";
    QTest::newRow("longer") << QByteArray(64, 'h') << QByteArray(63, 'h')
                            << QByteArray(60, 'h') + " #2";
    QTest::newRow("between the bytes of a letter")
        << umlaut.repeated(32) << umlaut.repeated(31) << umlaut.repeated(30) + " #2";
}

void tst_Server::aLongHostNameIsCut()
{
    QFETCH(QByteArray, hostName);
    ownHostName = hostName;
    host.dnsSd.registerResult = kDNSServiceErr_NameConflict;
    server->startServer();
    const bool areTwo = waitUntil([this] { return host.dnsSd.registrations.size() >= 2; });
    ownHostName = "desk";
    QVERIFY(areTwo);
    QTEST(host.dnsSd.registrations[0].name, "name");
    QTEST(host.dnsSd.registrations[1].name, "secondName");
}

void tst_Server::theProxyOfTheDesktopIsNotUsed()
{
    QNetworkProxy::setApplicationProxy({QNetworkProxy::HttpProxy, u"localhost"_s, 9});
    Server other(nullptr, host.serverAdapters());
    const bool isListening = other.startServer();
    QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
    QVERIFY(isListening);
    ServedPeer peer(other);
    QVERIFY(peer.served() != nullptr);
}

void tst_Server::aDaemonThatComesBackHearsOfTheServerAgain()
{
    server->startServer();
    host.daemonAppears();
    QCOMPARE(host.dnsSd.registrations.size(), 2U);
    QCOMPARE(host.dnsSd.living, 1);
    QCOMPARE(host.dnsSd.registrations[1].name, host.dnsSd.registrations[0].name);
    QCOMPARE(host.dnsSd.registrations[1].portBytes, host.dnsSd.registrations[0].portBytes);
}

void tst_Server::aDaemonThatComesBackHearsNothingOfAStoppedServer()
{
    host.daemonAppears();
    QVERIFY(host.dnsSd.registrations.empty());
    server->startServer();
    server->stopServer();
    host.daemonAppears();
    QCOMPARE(host.dnsSd.registrations.size(), 1U);
}

void tst_Server::startingFailsWithoutADescriptor()
{
    {
        const DescriptorLimit none(0);
        QVERIFY(!server->startServer());
    }
    QVERIFY(!server->isListening());
    QVERIFY(host.dnsSd.registrations.empty());
    QCOMPARE(messages->all(), QStringList());
    // A later attempt is not affected.
    QVERIFY(server->startServer());
}

void tst_Server::stoppingEndsListeningAndAdvertising()
{
    server->startServer();
    const quint16 port = server->serverPort();
    QCOMPARE(host.dnsSd.living, 1);
    server->stopServer();
    QVERIFY(!server->isListening());
    QCOMPARE(host.dnsSd.living, 0);
    QTcpSocket peer;
    QSignalSpy refusals(&peer, &QTcpSocket::errorOccurred);
    peer.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
    QVERIFY(waitUntil([&] { return !refusals.isEmpty(); }));
    QCOMPARE(peer.error(), QAbstractSocket::ConnectionRefusedError);
}

void tst_Server::stoppingTwiceDoesNoHarm()
{
    server->stopServer();
    server->startServer();
    server->stopServer();
    server->stopServer();
    QCOMPARE(host.dnsSd.released, 1);
    QVERIFY(server->startServer());
}

void tst_Server::stoppingLeavesConnectionsAlone()
{
    server->startServer();
    ServedPeer peer(*server);
    server->stopServer();
    const TokenMap answer = peer.ask("{ cmdType = SERVER_INFO; }");
    QCOMPARE(answer.value(u"serverResponse"_s).toString(), u"OK"_s);
    QSignalSpy states(server.get(), &Server::clientConnected);
    peer.leave();
    QVERIFY(waitUntil([&] { return !states.isEmpty(); }));
    QCOMPARE(states.at(0).at(0).toBool(), false);
}

void tst_Server::aRestartServesEachConnectionOnce()
{
    server->startServer();
    server->stopServer();
    QVERIFY(server->startServer());
    const QSignalSpy states(server.get(), &Server::clientConnected);
    ServedPeer peer(*server);
    QCOMPARE(states.count(), 1);
    peer.ask("{ cmdType = SERVER_INFO; }");
    // A second answer to the first question would be taken for this one's.
    const TokenMap next = peer.ask("{ cmdType = SERVER_PAIR; cmdParameters = (id, name); }");
    QCOMPARE(next.value(u"cmdType"_s).toString(), u"SERVER_PAIR"_s);
    QCOMPARE(server->findChildren<QTcpSocket *>().size(), 1);
    QCOMPARE(host.dnsSd.living, 1);
}

void tst_Server::anEmptyQueueOfConnectionsIsNoConnection()
{
    const QSignalSpy states(server.get(), &Server::clientConnected);
    QVERIFY(QMetaObject::invokeMethod(server.get(), "manageConnections"));
    server->startServer();
    QVERIFY(QMetaObject::invokeMethod(server.get(), "manageConnections"));
    QCOMPARE(states.count(), 0);
}

// ---- Connections --------------------------------------------------------------------------------

namespace {

QList<bool> reported(const QSignalSpy &states)
{
    QList<bool> values;
    for (const auto &arguments : states) {
        values.append(arguments.at(0).toBool());
    }
    return values;
}

} // namespace

void tst_Server::connectionsAreReported()
{
    server->startServer();
    QSignalSpy states(server.get(), &Server::clientConnected);
    ServedPeer peer(*server);
    QCOMPARE(reported(states), QList<bool>{true});
    peer.leave();
    QVERIFY(waitUntil([&] { return states.count() == 2; }));
    QCOMPARE(reported(states), QList<bool>({true, false}));
    QCOMPARE(messages->warnings(), QStringList{u"Device Disconnected "_s});
}

void tst_Server::oneOfTwoClientsLeavingIsReportedAsNotConnected()
{
    server->startServer();
    QSignalSpy states(server.get(), &Server::clientConnected);
    ServedPeer first(*server);
    ServedPeer second(*server);
    first.leave();
    QVERIFY(waitUntil([&] { return states.count() == 3; }));
    QCOMPARE(reported(states), QList<bool>({true, true, false}));
    // The other one is still served.
    QVERIFY(!second.ask("{ cmdType = SERVER_INFO; }").isEmpty());
}

void tst_Server::manyClientsAtOnceAreServed()
{
    server->startServer();
    const QSignalSpy states(server.get(), &Server::clientConnected);
    std::vector<std::unique_ptr<ServedPeer>> peers;
    for (int count = 0; count < 40; ++count) {
        peers.push_back(std::make_unique<ServedPeer>(*server));
    }
    QCOMPARE(states.count(), 40);
    for (const auto &peer : peers) {
        QCOMPARE(peer->ask("{ cmdType = SERVER_INFO; }").value(u"serverResponse"_s).toString(),
                 u"OK"_s);
    }
}

void tst_Server::othersHaveTheirTurnWhileACrowdIsAccepted()
{
    server->startServer();
    const QSignalSpy states(server.get(), &Server::clientConnected);
    std::vector<std::unique_ptr<QTcpSocket>> crowd;
    for (int count = 0; count < 100; ++count) {
        crowd.push_back(std::make_unique<QTcpSocket>());
        crowd.back()->connectToHost(QHostAddress(QHostAddress::LocalHost), server->serverPort());
    }
    // The system establishes the connections by itself; nothing accepts them in the meantime.
    QTest::qSleep(200);
    qsizetype most = 0;
    QVERIFY(waitUntil([&] {
        const qsizetype before = states.count();
        QCoreApplication::processEvents();
        most = std::max(most, states.count() - before);
        return states.count() == 100;
    }));
    // Those of at most two rounds of the event loop.
    QVERIFY2(most <= 16, QByteArray::number(most).constData());
}

void tst_Server::aFileLeavesTheReserveAlone()
{
    const QString directory = home->subdirectory(u"received"_s);
    QSettings().setValue("downloadDirectory", directory);
    server->startServer();
    ServedPeer peer(*server);
    const QByteArray request =
        "{ cmdType = FILE_TRANSFER_AND_OPEN; cmdParameters = (note, 1000); }";
    {
        const DescriptorLimit scarce(47);
        QCOMPARE(peer.ask(request).value(u"serverResponse"_s).toString(),
                 u"START_BINARY_TRANSFER"_s);
        QVERIFY(!QFile::exists(directory + u"/note"_s));
    }
    ServedPeer later(*server);
    later.ask(request);
    QVERIFY(QFile::exists(directory + u"/note"_s));
}

void tst_Server::acceptedSocketsAreTuned()
{
    server->startServer();
    ServedPeer peer(*server);
    const QTcpSocket &socket = *peer.served();
    QCOMPARE(option(socket, SOL_SOCKET, SO_KEEPALIVE), 1);
    QCOMPARE(option(socket, IPPROTO_TCP, TCP_KEEPIDLE), 15);
    QCOMPARE(option(socket, IPPROTO_TCP, TCP_KEEPINTVL), 5);
    QCOMPARE(option(socket, IPPROTO_TCP, TCP_KEEPCNT), 3);
    QCOMPARE(option(socket, IPPROTO_TCP, TCP_NODELAY), 1);
}

void tst_Server::aClientThatLeftLeavesNoSocket()
{
    server->startServer();
    const qsizetype before = server->findChildren<QObject *>().size();
    for (int round = 0; round < 50; ++round) {
        ServedPeer peer(*server);
        QVERIFY(peer.served() != nullptr);
        peer.leave();
        QVERIFY(waitUntil([&] { return server->findChildren<QTcpSocket *>().isEmpty(); }));
    }
    QCOMPARE(server->findChildren<QObject *>().size(), before);
}

void tst_Server::acceptingPausesBeforeDescriptorsRunOut()
{
    server->startServer();
    QSignalSpy states(server.get(), &Server::clientConnected);
    // A peer takes two descriptors here: its own and the server's.
    ServedPeer first(*server);
    const DescriptorLimit scarce(2 + 63);
    ServedPeer second(*server);
    QCOMPARE(states.count(), 2);
    QTcpSocket third;
    third.connectToHost(QHostAddress(QHostAddress::LocalHost), server->serverPort());
    QVERIFY(waitUntil([&] { return third.state() == QAbstractSocket::ConnectedState; }));
    // The others are served meanwhile; the third has to wait.
    QVERIFY(!first.ask("{ cmdType = SERVER_INFO; }").isEmpty());
    QVERIFY(!second.ask("{ cmdType = SERVER_INFO; }").isEmpty());
    QCOMPARE(states.count(), 2);

    first.leave();
    QVERIFY(waitUntil([&] { return states.count() == 4; }));
    QCOMPARE(reported(states), QList<bool>({true, true, false, true}));
}

void tst_Server::aPauseOfAcceptingEndsWithTheRun_data()
{
    QTest::addColumn<QString>("steps");
    QTest::newRow("stopped, left, started") << "stop leave start";
    QTest::newRow("left, stopped, started") << "leave stop start";
    QTest::newRow("stopped, started, left") << "stop start leave";
    QTest::newRow("stopped, started") << "stop start";
}

/// Whatever happened while descriptors were short, the next run accepts connections.
void tst_Server::aPauseOfAcceptingEndsWithTheRun()
{
    QFETCH(QString, steps);
    server->startServer();
    ServedPeer first(*server);
    {
        // One more connection leaves fewer than the reserve.
        const DescriptorLimit scarce(2 + 63);
        ServedPeer second(*server);
        QVERIFY(!second.ask("{ cmdType = SERVER_INFO; }").isEmpty());
        QTcpSocket waiting;
        waiting.connectToHost(QHostAddress(QHostAddress::LocalHost), server->serverPort());
        QVERIFY(waitUntil([&] { return waiting.state() == QAbstractSocket::ConnectedState; }));
        for (const QString &step : steps.split(u' ')) {
            if (step == u"stop"_s) {
                server->stopServer();
            } else if (step == u"start"_s) {
                QVERIFY(server->startServer());
            } else {
                first.leave();
                second.leave();
                QVERIFY(waitUntil([&] { return first.served() == nullptr; }));
                QVERIFY(waitUntil([&] { return second.served() == nullptr; }));
            }
        }
    }
    ServedPeer next(*server);
    QVERIFY(!next.ask("{ cmdType = SERVER_INFO; }").isEmpty());
}

void tst_Server::destructionEndsConnectionsAndKeepsWhatArrived()
{
    QSettings().setValue("downloadDirectory", home->subdirectory(u"received"_s));
    const int before = openDescriptors();
    server->startServer();
    ServedPeer peer(*server);
    peer.ask("{ cmdType = FILE_TRANSFER_AND_OPEN; cmdParameters = (note, 1000); }");
    QVERIFY(peer.send("half of it"));
    server.reset();
    // The peer's own socket is left; the file, too, is closed by now.
    QCOMPARE(openDescriptors(), before + 1);
    QVERIFY(contentOf(home->path(u"received/note"_s)).endsWith("half of it"));
    QVERIFY(waitUntil([&] { return !peer.isConnected(); }));
}

QTEST_MAIN(tst_Server)
#include "tst_Server.moc"
