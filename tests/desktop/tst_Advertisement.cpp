// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Folders.h"
#include "support/protocol/SessionClient.h"
#include "support/session/AvahiDaemon.h"
#include "support/session/NetworkNamespaces.h"
#include "support/session/ServerScene.h"
#include "support/session/ServiceBrowser.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

namespace {

const QString ServiceType = u"_quillmote._tcp"_s;
/// How long a handheld may keep showing a server that has been stopped.
constexpr auto GoneLimit = 3s;

/// Sends a token to the server and waits for the answer. The connection goes through socat, since a
/// socket belongs to the host of the process that made it.
std::optional<QVariantMap> ask(ChildProcess &connection, const QByteArray &token)
{
    connection.write(token);
    QByteArray answer;
    waitUntil([&] {
        answer += connection.readAllStandardOutput();
        return answer.endsWith(";}") || connection.state() == QProcess::NotRunning;
    });
    return readAnswer(answer);
}

void connectTo(const SeenService &service, ChildProcess &connection, const NetworkHost &host)
{
    connection.setLastPreparation(host.entry());
    connection.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    connection.start(
        u"socat"_s, {u"STDIO"_s, u"TCP:%1:%2"_s.arg(service.address.toString()).arg(service.port)});
}

std::optional<QVariantMap> ask(const NetworkHost &host, const SeenService &service,
                               const QByteArray &token)
{
    ChildProcess connection;
    connectTo(service, connection, host);
    return ask(connection, token);
}

std::optional<QVariantMap> askForInfo(const NetworkHost &host, const SeenService &service)
{
    return ask(host, service, serverInfo());
}

/// Makes a program that records the numbers of its open descriptors, under the name of the one that
/// opens web addresses on this desktop.
bool makeOpener(const QString &folder, const QString &record)
{
    QFile opener(folder + u"/xdg-open"_s);
    const QByteArray text = u"#!/bin/sh\nls /proc/self/fd >'%1.part'\n"
                            "mv '%1.part' '%1'\n"_s.arg(record)
                                .toUtf8();
    return QDir().mkpath(folder) && opener.open(QIODevice::WriteOnly) &&
           opener.write(text) == text.size() &&
           opener.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
}

} // namespace

/// How handhelds find the server: seen from a second host on the same network.
class tst_Advertisement : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void handheldFindsTheServerAndTalksToIt();
    void stoppedServerIsGoneAndAStartedOneIsBackWithItsNewPort();
    void endedServerIsGone_data();
    void endedServerIsGone();

    void daemonThatComesLaterThanTheServerAnnouncesIt();
    void serverSurvivesTheDaemonAndIsFoundAgainWhenItIsBack_data();
    void serverSurvivesTheDaemonAndIsFoundAgainWhenItIsBack();
    void serverThatRestartsWithoutTheDaemonIsFoundWhenItIsBack();
    void serverThatIsStoppedStaysHiddenWhenTheDaemonComesBack();
    void lostDaemonCostsNoProcessorTime();

    void secondServerOfTheHostGetsANameOfItsOwn();
    void nameTakenByAnotherHostIsAvoided();
    void nameThatIsTooLongIsCutBetweenCharacters();

    void closedServerIsNeitherFoundNorReached();
    void openServerIsClosedAndOpenedAtOnce();
    void serverAtOneAddressIsReachedThereOnly();

    void startedProgramsInheritNoDescriptors();
    void libraryDoesNotComplainToTheUser();

private:
    void launch();
    bool chooseStartStop() const { return scene->menu().choose(TrayMenu::Item::StartStop); }
    QString hostName() const { return network->server().name(); }
    /// As a program of the user does.
    bool listenAt(const QString &address) const
    {
        SessionClient program(scene->session().serverSocket());
        return program.ask(u"listen"_s, {{u"address"_s, address}}).isOk();
    }
    bool isReachedFrom(const NetworkHost &host, const QString &address) const
    {
        return askForInfo(host, {QHostAddress(address), scene->port(), {}}).has_value();
    }

    std::unique_ptr<NetworkNamespaces> network;
    std::unique_ptr<AvahiDaemon> serverDaemon;
    std::unique_ptr<AvahiDaemon> handheldDaemon;
    std::unique_ptr<ServiceBrowser> browser;
    std::unique_ptr<ServerScene> scene;
};

void tst_Advertisement::initTestCase()
{
    // The server must silence the library itself.
    qunsetenv("AVAHI_COMPAT_NOWARN");
    // Daemons and network tools are there, which is not in every user's path.
    qputenv("PATH", qgetenv("PATH") + ":/usr/sbin:/sbin");

    network = std::make_unique<NetworkNamespaces>();
    QCOMPARE(network->problem(), QByteArray());
    serverDaemon = std::make_unique<AvahiDaemon>(network->server());
    QCOMPARE(serverDaemon->problem(), QByteArray());
    handheldDaemon = std::make_unique<AvahiDaemon>(network->handheld());
    QCOMPARE(handheldDaemon->problem(), QByteArray());
    QVERIFY(handheldDaemon->start());
    browser = std::make_unique<ServiceBrowser>(network->handheld(), *handheldDaemon, ServiceType);
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
    scene->mutableSession().useSystemBus(serverDaemon->busAddress());
}

void tst_Advertisement::init()
{
    if (!serverDaemon->isRunning()) {
        QVERIFY(serverDaemon->start());
    }
    QVERIFY(network->server().setName(hostName()));
    scene->beginAnew();
}

void tst_Advertisement::cleanup()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    QVERIFY(waitUntil([this] { return browser->services().isEmpty(); }));
}

void tst_Advertisement::launch()
{
    scene->launch(network->server().entry());
    QVERIFY(scene->port() != 0);
}

void tst_Advertisement::handheldFindsTheServerAndTalksToIt()
{
    QElapsedTimer sinceLaunch;
    sinceLaunch.start();
    launch();
    const auto service = browser->waitFor(hostName());
    QVERIFY(service);
    qInfo("Found %lld ms after the launch.", sinceLaunch.elapsed());
    QCOMPARE(service->address, QHostAddress(network->server().address()));
    QCOMPARE(service->port, scene->port());
    QCOMPARE(service->text, QByteArray());
    const auto answer = askForInfo(network->handheld(), *service);
    QVERIFY(answer);
    QCOMPARE(answer->value(u"cmdParameters"_s).toStringList().value(2), u"MAC-OSX"_s);
}

void tst_Advertisement::stoppedServerIsGoneAndAStartedOneIsBackWithItsNewPort()
{
    launch();
    QVERIFY(browser->waitFor(hostName()));
    QVERIFY(scene->menu().open());
    QElapsedTimer sinceStop;
    sinceStop.start();
    QVERIFY(scene->menu().click(TrayMenu::Item::StartStop));
    QVERIFY(browser->waitUntilGone(hostName(), GoneLimit));
    qInfo("Gone %lld ms after Stop Server.", sinceStop.elapsed());

    QVERIFY(chooseStartStop());
    const auto service = browser->waitFor(hostName());
    QVERIFY(service);
    QCOMPARE(service->port, scene->port());
    QVERIFY(askForInfo(network->handheld(), *service));
}

void tst_Advertisement::endedServerIsGone_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGKILL") << SIGKILL;
}

void tst_Advertisement::endedServerIsGone()
{
    QFETCH(int, signal);
    launch();
    QVERIFY(browser->waitFor(hostName()));
    QElapsedTimer sinceSignal;
    sinceSignal.start();
    scene->server().end(signal);
    QVERIFY(browser->waitUntilGone(hostName(), GoneLimit));
    qInfo("Gone %lld ms after the signal.", sinceSignal.elapsed());
}

void tst_Advertisement::daemonThatComesLaterThanTheServerAnnouncesIt()
{
    serverDaemon->stop();
    launch();
    const quint16 port = scene->port();
    QVERIFY(askForInfo(network->handheld(), {QHostAddress(network->server().address()), port, {}}));
    QVERIFY(serverDaemon->start());
    const auto service = browser->waitFor(hostName());
    QVERIFY(service);
    QCOMPARE(service->port, port);
}

void tst_Advertisement::serverSurvivesTheDaemonAndIsFoundAgainWhenItIsBack_data()
{
    QTest::addColumn<bool>("hasCrashed");
    QTest::newRow("stopped") << false;
    QTest::newRow("crashed") << true;
}

void tst_Advertisement::serverSurvivesTheDaemonAndIsFoundAgainWhenItIsBack()
{
    QFETCH(bool, hasCrashed);
    launch();
    const auto service = browser->waitFor(hostName());
    QVERIFY(service);
    if (hasCrashed) {
        serverDaemon->crash();
    } else {
        serverDaemon->stop();
        QVERIFY(browser->waitUntilGone(hostName()));
    }
    QVERIFY(askForInfo(network->handheld(), *service));

    QVERIFY(serverDaemon->start());
    // Browse on the server's host, which has no earlier records; the other host may still have
    // those of the crashed daemon in its cache.
    ServiceBrowser newcomer(network->server(), *serverDaemon, ServiceType);
    QCOMPARE(newcomer.waitFor(hostName()), service);
    QCOMPARE(browser->waitFor(hostName()), service);
}

void tst_Advertisement::serverThatRestartsWithoutTheDaemonIsFoundWhenItIsBack()
{
    launch();
    QVERIFY(browser->waitFor(hostName()));
    serverDaemon->stop();
    QVERIFY(browser->waitUntilGone(hostName()));
    QVERIFY(chooseStartStop());
    QVERIFY(waitUntil([this] { return !scene->server().isListening(); }));
    QVERIFY(chooseStartStop());
    const quint16 port = scene->port();
    QVERIFY(port != 0);
    QVERIFY(serverDaemon->start());
    const auto service = browser->waitFor(hostName());
    QVERIFY(service);
    QCOMPARE(service->port, port);
}

void tst_Advertisement::serverThatIsStoppedStaysHiddenWhenTheDaemonComesBack()
{
    launch();
    QVERIFY(browser->waitFor(hostName()));
    QVERIFY(chooseStartStop());
    QVERIFY(browser->waitUntilGone(hostName()));
    serverDaemon->stop();
    QVERIFY(serverDaemon->start());
    // Nothing may happen, so there is no condition to wait for.
    QVERIFY(!browser->waitFor(hostName(), 3s));
}

void tst_Advertisement::lostDaemonCostsNoProcessorTime()
{
    launch();
    QVERIFY(browser->waitFor(hostName()));
    serverDaemon->stop();
    QVERIFY(browser->waitUntilGone(hostName()));
    QVERIFY(scene->comesToRest());
}

void tst_Advertisement::secondServerOfTheHostGetsANameOfItsOwn()
{
    launch();
    QVERIFY(browser->waitFor(hostName()));
    ServerProcess second(scene->session(), network->server().entry());
    const auto service = browser->waitFor(hostName() + u" #2"_s);
    QVERIFY(service);
    QCOMPARE(service->port, second.port());
    QVERIFY(askForInfo(network->handheld(), *service));
    QCOMPARE(browser->services().value(hostName()).port, scene->port());
    QCOMPARE(second.end(), std::optional(0));
}

void tst_Advertisement::nameTakenByAnotherHostIsAvoided()
{
    constexpr quint16 OtherPort = 4711;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DBUS_SYSTEM_BUS_ADDRESS"_s, handheldDaemon->busAddress());
    ChildProcess other;
    other.setProcessEnvironment(environment);
    other.setLastPreparation(network->handheld().entry());
    other.start(u"avahi-publish"_s, {u"-s"_s, hostName(), ServiceType, QString::number(OtherPort)});
    QVERIFY(browser->waitFor(hostName()));

    launch();
    const auto service = browser->waitFor(hostName() + u" #2"_s);
    QVERIFY(service);
    QCOMPARE(service->port, scene->port());
    QCOMPARE(browser->services().value(hostName()).port, OtherPort);
}

void tst_Advertisement::nameThatIsTooLongIsCutBetweenCharacters()
{
    // The longest name that a host can have takes 64 bytes; that of a service, 63.
    const QString name(32, QChar(u'ä'));
    QVERIFY(network->server().setName(name));
    launch();
    const auto first = browser->waitFor(name.left(31));
    QVERIFY(first);
    QCOMPARE(first->port, scene->port());

    ServerProcess second(scene->session(), network->server().entry());
    const auto service = browser->waitFor(name.left(30) + u" #2"_s);
    QVERIFY(service);
    QCOMPARE(service->port, second.port());
    QCOMPARE(second.end(), std::optional(0));
}

void tst_Advertisement::closedServerIsNeitherFoundNorReached()
{
    scene->storeSetting(u"listenAddress"_s, u"127.0.0.1"_s);
    launch();
    QVERIFY(isReachedFrom(network->server(), u"127.0.0.1"_s));
    QVERIFY(!isReachedFrom(network->handheld(), network->server().address()));
    QVERIFY(!isReachedFrom(network->server(), network->server().address()));
    serverDaemon->stop();
    QVERIFY(serverDaemon->start());
    // Nothing may happen, so there is no condition to wait for.
    QVERIFY(!browser->waitFor(hostName(), 3s));
}

void tst_Advertisement::openServerIsClosedAndOpenedAtOnce()
{
    launch();
    const auto open = browser->waitFor(hostName());
    QVERIFY(open);
    ChildProcess connection;
    connectTo(*open, connection, network->handheld());
    QVERIFY(ask(connection, serverInfo()));
    QVERIFY(scene->showsLight(StatusLight::Green));

    QVERIFY(listenAt(u"127.0.0.1"_s));
    QVERIFY(waitUntil([&] { return connection.state() == QProcess::NotRunning; }));
    QVERIFY(browser->waitUntilGone(hostName(), GoneLimit));
    QVERIFY(scene->showsLight(StatusLight::Orange));
    QVERIFY(!isReachedFrom(network->handheld(), network->server().address()));
    QVERIFY(isReachedFrom(network->server(), u"127.0.0.1"_s));

    // It stays so after the next start.
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    launch();
    QVERIFY(!isReachedFrom(network->handheld(), network->server().address()));

    QVERIFY(listenAt(QString()));
    const auto again = browser->waitFor(hostName());
    QVERIFY(again);
    QCOMPARE(again->port, scene->port());
    QVERIFY(askForInfo(network->handheld(), *again));
}

void tst_Advertisement::serverAtOneAddressIsReachedThereOnly()
{
    scene->storeSetting(u"listenAddress"_s, network->server().address());
    launch();
    const auto service = browser->waitFor(hostName());
    QVERIFY(service);
    QVERIFY(askForInfo(network->handheld(), *service));
    QVERIFY(!isReachedFrom(network->server(), u"127.0.0.1"_s));
}

void tst_Advertisement::startedProgramsInheritNoDescriptors()
{
    const QString folder = scene->session().path(u"bin"_s);
    const QString record = scene->session().path(u"descriptors"_s);
    QVERIFY(makeOpener(folder, record));
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", folder.toUtf8() + ':' + path);
    launch();
    qputenv("PATH", path);
    const auto service = browser->waitFor(hostName());
    QVERIFY(service);
    const QByteArray token =
        commandText(u"URL_OPEN"_s, {{u"fncCommand"_s, u"http://quillmote.example/"_s}});
    QVERIFY(ask(network->handheld(), *service, token));
    QVERIFY(waitUntil([&] { return QFile::exists(record); }));
    // The last descriptor is the one with which the program lists them.
    QCOMPARE(Folders::fileBytes(record), QByteArray("0\n1\n2\n3\n"));
}

void tst_Advertisement::libraryDoesNotComplainToTheUser()
{
    launch();
    QVERIFY(browser->waitFor(hostName()));
    QVERIFY(!scene->server().errorText().contains("WARNING"));
}

QTEST_GUILESS_MAIN(tst_Advertisement)
#include "tst_Advertisement.moc"
