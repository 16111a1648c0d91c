// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "doubles/RecordingHost.h"
#include "server/ListenAddress.h"
#include "server/Server.h"
#include "support/MessageRecorder.h"
#include "support/protocol/ServedPeer.h"
#include "support/protocol/SessionClient.h"
#include "support/session/PrivateHome.h"

#include <QFileInfo>
#include <QNetworkInterface>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>

#include <memory>

#include <cerrno>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// So many sockets of the network cannot be bound.
int refusedBindings = 0;

const QHostAddress first(u"127.0.0.1"_s);
const QHostAddress second(u"127.0.0.2"_s);

} // namespace

// Takes the place of the system's.
extern "C" int bind(int descriptor, const sockaddr *address, socklen_t size) noexcept
{
    if (address->sa_family != AF_UNIX && refusedBindings > 0) {
        --refusedBindings;
        errno = EADDRNOTAVAIL;
        return -1;
    }
    return static_cast<int>(syscall(SYS_bind, descriptor, address, size));
}

/// Where the server listens for the network: by its setting, and by requests of sessions.
class tst_ServerListening : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void textsAreAddresses_data();
    void textsAreAddresses();
    void onlyAddressesOfThisComputerAreOurs();
    void connectionsAreAdmittedByTheirLocalAddress();

    void theSettingSaysWhereTheServerListens();
    void aServerForThisComputerIsNotAdvertised();
    void anAddressThatIsNoneIsNotListenedAt_data();
    void anAddressThatIsNoneIsNotListenedAt();
    void aServerThatCouldNotStartCanBeMended();
    void aServerThatCouldNotStartCanBeStartedAgain();

    void aSessionLearnsWhereTheServerListens();
    void aSessionClosesAndOpensTheServer();
    void faultyAddressesChangeNothing_data();
    void faultyAddressesChangeNothing();
    void theAddressThatItHasIsNotLeft();
    void connectionsThatAreNotMeantEnd();
    void whatCannotBeListenedAtLeavesTheServerWhereItWas();
    void aServerThatLostItsAddressSaysSo();
    void whatCannotBeStoredIsReported();

private:
    void start(const QString &setting)
    {
        QSettings().setValue("listenAddress", setting);
        server = std::make_unique<Server>(nullptr, host.serverAdapters());
        server->whenListeningChanges([this](bool isListening) { changes.append(isListening); });
        isStarted = server->startServer();
    }
    static SessionMessage listen(SessionClient &client, const QString &address)
    {
        return client.ask(u"listen"_s, {{u"address"_s, address}});
    }
    QString path() const { return home->path(u"vornaserver/_7.socket"_s); }
    QString stored() const { return QSettings().value("listenAddress").toString(); }
    quint16 advertisedPort() const
    {
        const QByteArray bytes = host.dnsSd.registrations.back().portBytes;
        return static_cast<quint16>(static_cast<uchar>(bytes[0]) << 8 |
                                    static_cast<uchar>(bytes[1]));
    }
    bool isReached(const QHostAddress &address) const
    {
        QTcpSocket peer;
        peer.connectToHost(address, server->serverPort());
        return peer.waitForConnected(GenerousMilliseconds);
    }

    RecordingHost host;
    std::unique_ptr<PrivateHome> home;
    std::unique_ptr<MessageRecorder> messages;
    QList<bool> changes;
    bool isStarted = false;
    std::unique_ptr<Server> server;
};

void tst_ServerListening::init()
{
    qputenv("DISPLAY", ":7");
    home = std::make_unique<PrivateHome>();
    messages = std::make_unique<MessageRecorder>();
    host.reset();
    host.runtimeDirectory = home->path();
    changes.clear();
}

void tst_ServerListening::cleanup()
{
    refusedBindings = 0;
    server.reset();
    QCOMPARE(host.dnsSd.living, 0);
    messages.reset();
    QSettings().clear();
    home.reset();
}

void tst_ServerListening::textsAreAddresses_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isAddress");
    QTest::addColumn<QString>("setting");

    const auto row = [](const QString &text, bool isAddress, const QString &setting = {}) {
        QTest::addRow("\"%s\"", qPrintable(text)) << text << isAddress << setting;
    };
    row(u""_s, true, u""_s);
    row(u"0.0.0.0"_s, true, u""_s);
    row(u"127.0.0.1"_s, true, u"127.0.0.1"_s);
    row(u"192.168.1.20"_s, true, u"192.168.1.20"_s);
    row(u"::1"_s, true, u"::1"_s);
    row(u"0:0:0:0:0:0:0:1"_s, true, u"::1"_s);
    row(u"FE80::1%eth0"_s, true, u"fe80::1%eth0"_s);
    for (const char *text : {"localhost", "127.0.0", "127.1", "5", "0", "127.0.0.256", "127.0.0.01",
                             "0x7f.0.0.1", "127.0.0.1/8", "127.0.0.1:80", "127.0.0.1, ::1",
                             "::", "::ffff:127.0.0.1", "[::1]", "1::2::3", "?", "all", "-1", " "}) {
        row(QLatin1StringView(text), false);
    }
}

void tst_ServerListening::textsAreAddresses()
{
    QFETCH(QString, text);
    QFETCH(bool, isAddress);
    const auto address = ListenAddress::of(text);
    QCOMPARE(address.has_value(), isAddress);
    if (address) {
        QTEST(ListenAddress::settingFor(*address), "setting");
    }
}

void tst_ServerListening::onlyAddressesOfThisComputerAreOurs()
{
    for (const QHostAddress &own : QNetworkInterface::allAddresses()) {
        QVERIFY2(ListenAddress::isOurs(own), qPrintable(own.toString()));
    }
    for (const char *text : {"0.0.0.0", "127.0.0.1", "127.0.0.2", "::1"}) {
        QVERIFY2(ListenAddress::isOurs(QHostAddress(QLatin1StringView(text))), text);
    }
    // For documentation (RFC 5737, RFC 3849), for many, for all.
    for (const char *text : {"203.0.113.71", "2001:db8::1", "224.0.0.1", "255.255.255.255"}) {
        QVERIFY2(!ListenAddress::isOurs(QHostAddress(QLatin1StringView(text))), text);
    }
}

void tst_ServerListening::connectionsAreAdmittedByTheirLocalAddress()
{
    const QHostAddress everywhere(QHostAddress::AnyIPv4);
    const QHostAddress sixth(QHostAddress::LocalHostIPv6);
    QVERIFY(ListenAddress::admits(everywhere, first));
    QVERIFY(!ListenAddress::admits(everywhere, sixth));
    QVERIFY(ListenAddress::admits(first, first));
    QVERIFY(!ListenAddress::admits(first, second));
    QVERIFY(ListenAddress::admits(sixth, sixth));
}

void tst_ServerListening::theSettingSaysWhereTheServerListens()
{
    start(u"127.0.0.2"_s);
    QVERIFY(isStarted);
    QCOMPARE(server->serverAddress(), second);
    QVERIFY(isReached(second));
    QVERIFY(!isReached(first));
    QCOMPARE(messages->warnings(), QStringList());
    // It is read at each start.
    server->stopServer();
    QSettings().setValue("listenAddress", QString());
    QVERIFY(server->startServer());
    QVERIFY(isReached(first));
}

void tst_ServerListening::aServerForThisComputerIsNotAdvertised()
{
    start(u"127.0.0.1"_s);
    QVERIFY(isStarted);
    host.daemonAppears();
    QVERIFY(host.dnsSd.registrations.empty());
    SessionClient client(path());
    QCOMPARE(client.greeting()["port"_L1].toInt(), int(server->serverPort()));
}

void tst_ServerListening::anAddressThatIsNoneIsNotListenedAt_data()
{
    QTest::addColumn<QString>("setting");
    for (const char *text : {"127.0.0", "local", "203.0.113.71", "224.0.0.1", "255.255.255.255"}) {
        QTest::newRow(text) << QString::fromLatin1(text);
    }
}

void tst_ServerListening::anAddressThatIsNoneIsNotListenedAt()
{
    QFETCH(QString, setting);
    start(setting);
    QVERIFY(!isStarted);
    QVERIFY(!server->isListening());
    QVERIFY(host.dnsSd.registrations.empty());
    QCOMPARE(messages->warnings().size(), 1);
    const QString warning = messages->warnings().constFirst();
    QVERIFY2(warning.contains(u"\"%1\" of the setting listenAddress"_s.arg(setting)),
             qPrintable(warning));
    // Nobody has changed what the user has written.
    QCOMPARE(stored(), setting);
}

void tst_ServerListening::aServerThatCouldNotStartCanBeMended()
{
    start(u"203.0.113.71"_s);
    SessionClient client(path());
    QCOMPARE(client.greeting()["port"_L1].toInt(), 0);
    QCOMPARE(client.ask(u"key"_s, {{u"key"_s, u"a"_s}}).error(), u"failed"_s);
    const QJsonObject before = client.ask(u"listen"_s).fields;
    QCOMPARE(before.value("address"_L1).toString(), u"203.0.113.71"_s);
    QCOMPARE(before.value("listening"_L1).toBool(true), false);
    QCOMPARE(listen(client, u"203.0.113.72"_s).error(), u"failed"_s);
    QCOMPARE(changes, QList<bool>());

    const SessionMessage mended = listen(client, QString());
    QVERIFY(mended.isOk());
    QCOMPARE(mended.fields.value("listening"_L1).toBool(), true);
    QCOMPARE(mended.fields.value("port"_L1).toInt(), int(server->serverPort()));
    QCOMPARE(changes, QList<bool>{true});
    QCOMPARE(advertisedPort(), server->serverPort());
    QCOMPARE(response(ServedPeer(*server).ask("{ cmdType = SERVER_INFO; }")), u"OK"_s);
    QVERIFY(client.ask(u"key"_s, {{u"key"_s, u"a"_s}}).isOk());
    QCOMPARE(stored(), QString());
}

void tst_ServerListening::aServerThatCouldNotStartCanBeStartedAgain()
{
    start(u"203.0.113.71"_s);
    SessionClient client(path());
    QVERIFY(client.ask(u"ping"_s).isOk());
    QVERIFY(!server->startServer());
    QSettings().setValue("listenAddress", u"127.0.0.1"_s);
    QVERIFY(server->startServer());
    QVERIFY(client.ask(u"key"_s, {{u"key"_s, u"a"_s}}).isOk());
    // The caller knows it already.
    QCOMPARE(changes, QList<bool>());
}

void tst_ServerListening::aSessionLearnsWhereTheServerListens()
{
    start(QString());
    SessionClient client(path());
    const QJsonObject answer = client.ask(u"listen"_s).fields;
    QCOMPARE(answer.value("address"_L1), QJsonValue(QString()));
    QCOMPARE(answer.value("listening"_L1), QJsonValue(true));
    QCOMPARE(answer.value("port"_L1).toInt(), int(server->serverPort()));
    QSettings().setValue("listenAddress", u"127.0.0.1"_s);
    // What counts now, not what will count after the next start.
    QCOMPARE(client.ask(u"listen"_s).fields, [&] {
        QJsonObject again = answer;
        again.insert(u"id"_s, 2);
        return again;
    }());
}

void tst_ServerListening::aSessionClosesAndOpensTheServer()
{
    start(QString());
    QCOMPARE(host.dnsSd.living, 1);
    SessionClient client(path());
    for (int round = 0; round < 3; ++round) {
        const SessionMessage closed = listen(client, u"127.0.0.1"_s);
        QVERIFY(closed.isOk());
        QCOMPARE(closed.fields.value("address"_L1).toString(), u"127.0.0.1"_s);
        QCOMPARE(closed.fields.value("port"_L1).toInt(), int(server->serverPort()));
        QCOMPARE(server->serverAddress(), first);
        QCOMPARE(host.dnsSd.living, 0);
        QCOMPARE(stored(), u"127.0.0.1"_s);
        QVERIFY(!isReached(second));
        QCOMPARE(response(ServedPeer(*server).ask("{ cmdType = SERVER_INFO; }")), u"OK"_s);

        QVERIFY(listen(client, u"0.0.0.0"_s).isOk());
        QCOMPARE(host.dnsSd.living, 1);
        QCOMPARE(advertisedPort(), server->serverPort());
        QCOMPARE(stored(), QString());
        QVERIFY(isReached(second));
    }
    QVERIFY(client.ask(u"key"_s, {{u"key"_s, u"a"_s}}).isOk());
    // Nothing has stopped: whoever shows the state has nothing to change.
    QCOMPARE(changes, QList<bool>());
}

void tst_ServerListening::faultyAddressesChangeNothing_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("error");
    QTest::newRow("no address") << u"localhost"_s << u"bad-request"_s;
    QTest::newRow("a shortened one") << u"127.1"_s << u"bad-request"_s;
    QTest::newRow("blanks within") << u"127.0.0. 1"_s << u"bad-request"_s;
    QTest::newRow("control characters") << u"127.0.0.1\n"_s.repeated(2) << u"bad-request"_s;
    QTest::newRow("of another computer") << u"203.0.113.71"_s << u"failed"_s;
    QTest::newRow("of many") << u"224.0.0.1"_s << u"failed"_s;
}

void tst_ServerListening::faultyAddressesChangeNothing()
{
    QFETCH(QString, address);
    QFETCH(QString, error);
    start(u"127.0.0.1"_s);
    const quint16 port = server->serverPort();
    ServedPeer peer(*server);
    SessionClient client(path());
    const SessionMessage answer = listen(client, address);
    QCOMPARE(answer.error(), error);
    const QString sentence = answer.fields.value("message"_L1).toString();
    QVERIFY2(sentence.endsWith(u'.') || sentence.endsWith(u'?'), qPrintable(sentence));
    QCOMPARE(server->serverPort(), port);
    QCOMPARE(stored(), u"127.0.0.1"_s);
    QCOMPARE(response(peer.ask("{ cmdType = SERVER_INFO; }")), u"OK"_s);
    QCOMPARE(client.ask(u"listen"_s).fields.value("address"_L1).toString(), u"127.0.0.1"_s);
}

/// Its handhelds would have to find it again.
void tst_ServerListening::theAddressThatItHasIsNotLeft()
{
    start(QString());
    const quint16 port = server->serverPort();
    SessionClient client(path());
    QVERIFY(listen(client, u" "_s).isOk());
    QVERIFY(listen(client, u"0.0.0.0"_s).isOk());
    QCOMPARE(server->serverPort(), port);
    QCOMPARE(host.dnsSd.registrations.size(), 1U);
}

void tst_ServerListening::connectionsThatAreNotMeantEnd()
{
    start(QString());
    ServedPeer meant(*server, second);
    ServedPeer excluded(*server, first);
    QVERIFY(excluded.served() != nullptr);
    QSignalSpy light(server.get(), &Server::clientConnected);
    messages->clear();
    SessionClient client(path());
    QVERIFY(listen(client, u"127.0.0.2"_s).isOk());
    QVERIFY(waitUntil([&] { return !excluded.isConnected(); }));
    QVERIFY(waitUntil([&] { return excluded.served() == nullptr; }));
    QCOMPARE(QList<QVariantList>(light), (QList<QVariantList>{{false}}));
    QCOMPARE(messages->warnings(), QStringList{u"Device Disconnected "_s});
    QCOMPARE(response(meant.ask("{ cmdType = SERVER_INFO; }")), u"OK"_s);
    // Opening ends nothing.
    QVERIFY(listen(client, QString()).isOk());
    QCOMPARE(response(meant.ask("{ cmdType = SERVER_INFO; }")), u"OK"_s);
}

void tst_ServerListening::whatCannotBeListenedAtLeavesTheServerWhereItWas()
{
    start(QString());
    const quint16 port = server->serverPort();
    ServedPeer peer(*server);
    SessionClient client(path());
    QVERIFY(client.ask(u"ping"_s).isOk());
    refusedBindings = 1;
    QCOMPARE(listen(client, u"127.0.0.2"_s).error(), u"failed"_s);
    QCOMPARE(refusedBindings, 0);
    QCOMPARE(server->serverAddress(), QHostAddress(QHostAddress::AnyIPv4));
    QCOMPARE(server->serverPort(), port);
    QCOMPARE(response(peer.ask("{ cmdType = SERVER_INFO; }")), u"OK"_s);
    QVERIFY(isReached(second));
    QCOMPARE(host.dnsSd.registrations.size(), 1U);
    QCOMPARE(stored(), QString());
}

void tst_ServerListening::aServerThatLostItsAddressSaysSo()
{
    start(QString());
    SessionClient client(path());
    QVERIFY(client.ask(u"ping"_s).isOk());
    refusedBindings = 2;
    QCOMPARE(listen(client, u"127.0.0.2"_s).error(), u"failed"_s);
    QVERIFY(!server->isListening());
    QCOMPARE(changes, QList<bool>{false});
    QCOMPARE(host.dnsSd.living, 0);
    QCOMPARE(messages->warnings().size(), 1);
    QVERIFY(listen(client, u"127.0.0.2"_s).isOk());
    QCOMPARE(changes, (QList<bool>{false, true}));
}

void tst_ServerListening::whatCannotBeStoredIsReported()
{
    start(QString());
    SessionClient client(path());
    QVERIFY(client.ask(u"ping"_s).isOk());
    const QString file = QSettings().fileName();
    QVERIFY(QFile::remove(file) && QDir().mkpath(file));
    QCOMPARE(listen(client, u"127.0.0.1"_s).error(), u"failed"_s);
    // The network is kept out all the same.
    QCOMPARE(server->serverAddress(), first);
    QVERIFY(QDir().rmdir(file));
}

QTEST_MAIN(tst_ServerListening)
#include "tst_ServerListening.moc"
