// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/AvahiDaemon.h"
#include "support/Folders.h"
#include "support/NetworkNamespaces.h"
#include "support/ServerScene.h"
#include "support/ServiceBrowser.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTest>

using namespace std::chrono_literals;

namespace {

const QString ServiceType = QStringLiteral("_quillmote._tcp");
/// How long a handheld may go on showing a server that has been stopped.
constexpr auto GoneLimit = 3s;

/// Sends a token to the server from another host and waits for the answer. The connection goes
/// through socat, since a socket belongs to the host of the process that made it.
std::optional<QVariantMap> ask(const NetworkHost &host, const SeenService &service,
                               const QByteArray &token)
{
    ChildProcess connection;
    connection.setLastPreparation(host.entry());
    connection.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    connection.start(
        "socat",
        {"STDIO", QStringLiteral("TCP:%1:%2").arg(service.address.toString()).arg(service.port)});
    connection.write(token);
    QByteArray answer;
    waitUntil([&] {
        answer += connection.readAllStandardOutput();
        return answer.endsWith(";}") || connection.state() == QProcess::NotRunning;
    });
    return readAnswer(answer);
}

std::optional<QVariantMap> askForInfo(const NetworkHost &host, const SeenService &service)
{
    return ask(host, service, commandText(QStringLiteral("SERVER_INFO")));
}

/// Makes a program, by the name of that with which the desktop opens web addresses, that records
/// the numbers of its open descriptors.
bool makeOpener(const QString &folder, const QString &record)
{
    QFile opener(folder + "/xdg-open");
    const QByteArray text = QStringLiteral("#!/bin/sh\nls /proc/self/fd >'%1.part'\n"
                                           "mv '%1.part' '%1'\n")
                                .arg(record)
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

    void startedProgramsInheritNoDescriptors();
    void libraryDoesNotComplainToTheUser();

private:
    void launch();
    bool chooseStartStop() const { return m_scene->menu().choose(TrayMenu::Item::StartStop); }
    QString hostName() const { return m_network->server().name(); }

    std::unique_ptr<NetworkNamespaces> m_network;
    std::unique_ptr<AvahiDaemon> m_serverDaemon;
    std::unique_ptr<AvahiDaemon> m_handheldDaemon;
    std::unique_ptr<ServiceBrowser> m_browser;
    std::unique_ptr<ServerScene> m_scene;
};

void tst_Advertisement::initTestCase()
{
    // The server is to silence the library by itself.
    qunsetenv("AVAHI_COMPAT_NOWARN");
    // Where daemons and network tools are, which is not in everyone's path.
    qputenv("PATH", qgetenv("PATH") + ":/usr/sbin:/sbin");

    m_network = std::make_unique<NetworkNamespaces>();
    QCOMPARE(m_network->problem(), QByteArray());
    m_serverDaemon = std::make_unique<AvahiDaemon>(m_network->server());
    QCOMPARE(m_serverDaemon->problem(), QByteArray());
    m_handheldDaemon = std::make_unique<AvahiDaemon>(m_network->handheld());
    QCOMPARE(m_handheldDaemon->problem(), QByteArray());
    QVERIFY(m_handheldDaemon->start());
    m_browser =
        std::make_unique<ServiceBrowser>(m_network->handheld(), *m_handheldDaemon, ServiceType);
    m_scene = std::make_unique<ServerScene>();
    QCOMPARE(m_scene->session().problem(), QByteArray());
    m_scene->mutableSession().useSystemBus(m_serverDaemon->busAddress());
}

void tst_Advertisement::init()
{
    if (!m_serverDaemon->isRunning())
        QVERIFY(m_serverDaemon->start());
    QVERIFY(m_network->server().setName(hostName()));
}

void tst_Advertisement::cleanup()
{
    QCOMPARE(m_scene->problemAtEnd(), QByteArray());
    QVERIFY(waitUntil([this] { return m_browser->services().isEmpty(); }));
}

void tst_Advertisement::launch()
{
    m_scene->launch(m_network->server().entry());
    QVERIFY(m_scene->port() != 0);
}

void tst_Advertisement::handheldFindsTheServerAndTalksToIt()
{
    QElapsedTimer sinceLaunch;
    sinceLaunch.start();
    launch();
    const auto service = m_browser->waitFor(hostName());
    QVERIFY(service);
    qInfo("Found %lld ms after the launch.", sinceLaunch.elapsed());
    QCOMPARE(service->address, QHostAddress(m_network->server().address()));
    QCOMPARE(service->port, m_scene->port());
    QCOMPARE(service->text, QByteArray());
    const auto answer = askForInfo(m_network->handheld(), *service);
    QVERIFY(answer);
    QCOMPARE(answer->value("cmdParameters").toStringList().value(2), QString("MAC-OSX"));
}

void tst_Advertisement::stoppedServerIsGoneAndAStartedOneIsBackWithItsNewPort()
{
    launch();
    QVERIFY(m_browser->waitFor(hostName()));
    QVERIFY(m_scene->menu().open());
    QElapsedTimer sinceStop;
    sinceStop.start();
    QVERIFY(m_scene->menu().click(TrayMenu::Item::StartStop));
    QVERIFY(m_browser->waitUntilGone(hostName(), GoneLimit));
    qInfo("Gone %lld ms after Stop Server.", sinceStop.elapsed());

    QVERIFY(chooseStartStop());
    const auto service = m_browser->waitFor(hostName());
    QVERIFY(service);
    QCOMPARE(service->port, m_scene->port());
    QVERIFY(askForInfo(m_network->handheld(), *service));
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
    QVERIFY(m_browser->waitFor(hostName()));
    QElapsedTimer sinceSignal;
    sinceSignal.start();
    m_scene->server().end(signal);
    QVERIFY(m_browser->waitUntilGone(hostName(), GoneLimit));
    qInfo("Gone %lld ms after the signal.", sinceSignal.elapsed());
}

void tst_Advertisement::daemonThatComesLaterThanTheServerAnnouncesIt()
{
    m_serverDaemon->stop();
    launch();
    const quint16 port = m_scene->port();
    QVERIFY(
        askForInfo(m_network->handheld(), {QHostAddress(m_network->server().address()), port, {}}));
    QVERIFY(m_serverDaemon->start());
    const auto service = m_browser->waitFor(hostName());
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
    const auto service = m_browser->waitFor(hostName());
    QVERIFY(service);
    if (hasCrashed) {
        m_serverDaemon->crash();
    } else {
        m_serverDaemon->stop();
        QVERIFY(m_browser->waitUntilGone(hostName()));
    }
    QVERIFY(askForInfo(m_network->handheld(), *service));

    QVERIFY(m_serverDaemon->start());
    // Looked for on the server's host, which remembers nothing from before; the other one may still
    // believe in what a crashed daemon has said.
    ServiceBrowser newcomer(m_network->server(), *m_serverDaemon, ServiceType);
    QCOMPARE(newcomer.waitFor(hostName()), service);
    QCOMPARE(m_browser->waitFor(hostName()), service);
}

void tst_Advertisement::serverThatRestartsWithoutTheDaemonIsFoundWhenItIsBack()
{
    launch();
    QVERIFY(m_browser->waitFor(hostName()));
    m_serverDaemon->stop();
    QVERIFY(m_browser->waitUntilGone(hostName()));
    QVERIFY(chooseStartStop());
    QVERIFY(waitUntil([this] { return !m_scene->server().isListening(); }));
    QVERIFY(chooseStartStop());
    const quint16 port = m_scene->port();
    QVERIFY(port != 0);
    QVERIFY(m_serverDaemon->start());
    const auto service = m_browser->waitFor(hostName());
    QVERIFY(service);
    QCOMPARE(service->port, port);
}

void tst_Advertisement::serverThatIsStoppedStaysHiddenWhenTheDaemonComesBack()
{
    launch();
    QVERIFY(m_browser->waitFor(hostName()));
    QVERIFY(chooseStartStop());
    QVERIFY(m_browser->waitUntilGone(hostName()));
    m_serverDaemon->stop();
    QVERIFY(m_serverDaemon->start());
    // Nothing is to happen, so there is no condition to wait for.
    QVERIFY(!m_browser->waitFor(hostName(), 3s));
}

void tst_Advertisement::lostDaemonCostsNoProcessorTime()
{
    launch();
    QVERIFY(m_browser->waitFor(hostName()));
    m_serverDaemon->stop();
    QVERIFY(m_browser->waitUntilGone(hostName()));
    QVERIFY(m_scene->isAtRest());
}

void tst_Advertisement::secondServerOfTheHostGetsANameOfItsOwn()
{
    launch();
    QVERIFY(m_browser->waitFor(hostName()));
    ServerProcess second(m_scene->session(), m_network->server().entry());
    const auto service = m_browser->waitFor(hostName() + " #2");
    QVERIFY(service);
    QCOMPARE(service->port, second.port());
    QVERIFY(askForInfo(m_network->handheld(), *service));
    QCOMPARE(m_browser->services().value(hostName()).port, m_scene->port());
    QCOMPARE(second.end(), std::optional(0));
}

void tst_Advertisement::nameTakenByAnotherHostIsAvoided()
{
    constexpr quint16 OtherPort = 4711;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", m_handheldDaemon->busAddress());
    ChildProcess other;
    other.setProcessEnvironment(environment);
    other.setLastPreparation(m_network->handheld().entry());
    other.start("avahi-publish", {"-s", hostName(), ServiceType, QString::number(OtherPort)});
    QVERIFY(m_browser->waitFor(hostName()));

    launch();
    const auto service = m_browser->waitFor(hostName() + " #2");
    QVERIFY(service);
    QCOMPARE(service->port, m_scene->port());
    QCOMPARE(m_browser->services().value(hostName()).port, OtherPort);
}

void tst_Advertisement::nameThatIsTooLongIsCutBetweenCharacters()
{
    // The longest name that a host can have takes 64 bytes; that of a service, 63.
    const QString name(32, QChar(u'ä'));
    QVERIFY(m_network->server().setName(name));
    launch();
    const auto first = m_browser->waitFor(name.left(31));
    QVERIFY(first);
    QCOMPARE(first->port, m_scene->port());

    ServerProcess second(m_scene->session(), m_network->server().entry());
    const auto service = m_browser->waitFor(name.left(30) + " #2");
    QVERIFY(service);
    QCOMPARE(service->port, second.port());
    QCOMPARE(second.end(), std::optional(0));
}

void tst_Advertisement::startedProgramsInheritNoDescriptors()
{
    const QString folder = m_scene->session().path("bin");
    const QString record = m_scene->session().path("descriptors");
    QVERIFY(makeOpener(folder, record));
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", folder.toUtf8() + ':' + path);
    launch();
    qputenv("PATH", path);
    const auto service = m_browser->waitFor(hostName());
    QVERIFY(service);
    const QByteArray token =
        commandText("URL_OPEN", {{QStringLiteral("fncCommand"), "http://quillmote.example/"}});
    QVERIFY(ask(m_network->handheld(), *service, token));
    QVERIFY(waitUntil([&] { return QFile::exists(record); }));
    // The last is that by which the program lists them.
    QCOMPARE(Folders::fileBytes(record), QByteArray("0\n1\n2\n3\n"));
}

void tst_Advertisement::libraryDoesNotComplainToTheUser()
{
    launch();
    QVERIFY(m_browser->waitFor(hostName()));
    QVERIFY(!m_scene->server().errorText().contains("WARNING"));
}

QTEST_GUILESS_MAIN(tst_Advertisement)
#include "tst_Advertisement.moc"
