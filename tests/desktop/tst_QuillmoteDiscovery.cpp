// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How the program quillmote finds servers: it runs on a second host of the same network.

#include "support/AvahiDaemon.h"
#include "support/NetworkNamespaces.h"
#include "support/ServerScene.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// How a run of the program ended.
struct Run
{
    int status = -1; // -1: crashed, or not ended in time
    QByteArray output;
    QByteArray errors;
};

} // namespace

class tst_QuillmoteDiscovery : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void discoverListsNameAddressAndPort();
    void theOnlyServerIsTheDefault();
    void severalServersAreListedAndOneMustBeChosen();
    void noServerHasStatusThree();
    void aNameThatNobodyHasHasStatusThree();
    void watchingTellsWhatComesAndGoes();
    void aServerThatComesWhileItIsLookedForIsFound();

private:
    void launch();
    void start(ChildProcess &program, const QStringList &arguments) const;
    Run quillmote(const QStringList &arguments) const;
    QString hostName() const { return network->server().name(); }
    /// What discover prints of a server on the other host.
    QByteArray line(const QString &name, quint16 port) const
    {
        return u"%1\t%2\t%3\n"_s.arg(name, network->server().address()).arg(port).toUtf8();
    }

    std::unique_ptr<NetworkNamespaces> network;
    std::unique_ptr<AvahiDaemon> serverDaemon;
    std::unique_ptr<AvahiDaemon> handheldDaemon;
    std::unique_ptr<ServerScene> scene;
};

void tst_QuillmoteDiscovery::initTestCase()
{
    QVERIFY2(!qEnvironmentVariableIsEmpty("VORNA_QUILLMOTE"), "the program to test is not named");
    // It is to silence the library by itself.
    qunsetenv("AVAHI_COMPAT_NOWARN");
    // Where daemons and network tools are, which is not in everyone's path.
    qputenv("PATH", qgetenv("PATH") + ":/usr/sbin:/sbin");
    network = std::make_unique<NetworkNamespaces>();
    QCOMPARE(network->problem(), QByteArray());
    serverDaemon = std::make_unique<AvahiDaemon>(network->server());
    QCOMPARE(serverDaemon->problem(), QByteArray());
    handheldDaemon = std::make_unique<AvahiDaemon>(network->handheld());
    QCOMPARE(handheldDaemon->problem(), QByteArray());
    QVERIFY(serverDaemon->start());
    QVERIFY(handheldDaemon->start());
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
    scene->mutableSession().useSystemBus(serverDaemon->busAddress());
}

/// Leaves a network without servers behind.
void tst_QuillmoteDiscovery::cleanup()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    QVERIFY(waitUntil([this] { return quillmote({u"discover"_s}).status == 3; }));
}

void tst_QuillmoteDiscovery::launch()
{
    scene->launch(network->server().entry());
    QVERIFY(scene->port() != 0);
}

void tst_QuillmoteDiscovery::start(ChildProcess &program, const QStringList &arguments) const
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DBUS_SYSTEM_BUS_ADDRESS"_s, handheldDaemon->busAddress());
    program.setProcessEnvironment(environment);
    program.setLastPreparation(network->handheld().entry());
    program.start(qEnvironmentVariable("VORNA_QUILLMOTE"), arguments);
}

Run tst_QuillmoteDiscovery::quillmote(const QStringList &arguments) const
{
    ChildProcess program;
    start(program, arguments);
    Run run;
    if (program.waitForFinished(60'000) && program.exitStatus() == QProcess::NormalExit) {
        run.status = program.exitCode();
    }
    run.output = program.readAllStandardOutput();
    run.errors = program.readAllStandardError();
    return run;
}

void tst_QuillmoteDiscovery::discoverListsNameAddressAndPort()
{
    launch();
    Run run;
    QVERIFY(waitUntil([&] { return (run = quillmote({u"discover"_s})).status == 0; }));
    QCOMPARE(run.output, line(hostName(), scene->port()));
    QCOMPARE(run.errors, QByteArray());

    const Run json = quillmote({u"discover"_s, u"--json"_s});
    QCOMPARE(json.status, 0);
    const QJsonArray servers = QJsonDocument::fromJson(json.output).array();
    QCOMPARE(servers.size(), 1);
    QCOMPARE(servers[0].toObject(), (QJsonObject{{u"name"_s, hostName()},
                                                 {u"host"_s, QString(hostName() + u".local."_s)},
                                                 {u"address"_s, network->server().address()},
                                                 {u"port"_s, scene->port()}}));
}

void tst_QuillmoteDiscovery::theOnlyServerIsTheDefault()
{
    launch();
    Run run;
    QVERIFY(waitUntil([&] { return (run = quillmote({u"info"_s})).status == 0; }));
    QVERIFY2(run.output.endsWith(" pixels, MAC-OSX\n"), run.output.constData());
    QCOMPARE(quillmote({u"key"_s, u"A"_s, u"B"_s}).status, 0);
}

void tst_QuillmoteDiscovery::severalServersAreListedAndOneMustBeChosen()
{
    launch();
    QVERIFY(waitUntil([&] { return quillmote({u"discover"_s}).status == 0; }));
    ServerProcess second(scene->session(), network->server().entry());
    QVERIFY(second.port() != 0);
    const QString secondName = hostName() + u" #2"_s;
    const QByteArray both = line(hostName(), scene->port()) + line(secondName, second.port());
    QVERIFY(waitUntil([&] { return quillmote({u"discover"_s}).output == both; }));

    const Run undecided = quillmote({u"info"_s});
    QCOMPARE(undecided.status, 2);
    QCOMPARE(undecided.output, QByteArray());
    QCOMPARE(undecided.errors, u"quillmote: Several servers were found: \"%1\", \"%2\"; choose one "
                               "with --server.\n"_s.arg(hostName(), secondName)
                                   .toUtf8());

    QCOMPARE(quillmote({u"info"_s, u"--server"_s, hostName()}).status, 0);
    QCOMPARE(quillmote({u"info"_s, u"--server"_s, secondName}).status, 0);
    QCOMPARE(second.end(), std::optional(0));
    QCOMPARE(quillmote({u"info"_s, u"--server"_s, secondName, u"--timeout"_s, u"4"_s}).status, 3);
    QCOMPARE(quillmote({u"info"_s, u"--server"_s, hostName()}).status, 0);
}

void tst_QuillmoteDiscovery::noServerHasStatusThree()
{
    const Run discover = quillmote({u"discover"_s});
    QCOMPARE(discover.status, 3);
    QCOMPARE(discover.output, QByteArray());
    QVERIFY(discover.errors.startsWith("quillmote: No server was found; "));
    QCOMPARE(quillmote({u"discover"_s, u"--json"_s}).output, QByteArray("[]\n"));
    const Run info = quillmote({u"info"_s});
    QCOMPARE(info.status, 3);
    QVERIFY2(info.errors.startsWith("quillmote: No server was found; "), info.errors.constData());
    QCOMPARE(info.errors.count('\n'), 1);
}

void tst_QuillmoteDiscovery::aNameThatNobodyHasHasStatusThree()
{
    launch();
    QVERIFY(waitUntil([&] { return quillmote({u"discover"_s}).status == 0; }));
    QElapsedTimer timer;
    timer.start();
    const Run run = quillmote({u"info"_s, u"--server"_s, u"nobody"_s, u"--timeout"_s, u"1"_s});
    QCOMPARE(run.status, 3);
    QVERIFY(run.errors.contains("\"nobody\""));
    QVERIFY(timer.elapsed() >= 1000);
}

void tst_QuillmoteDiscovery::watchingTellsWhatComesAndGoes()
{
    ChildProcess watcher;
    start(watcher, {u"discover"_s, u"--watch"_s});
    QByteArray told;
    const auto hasTold = [&](const QByteArray &expected) {
        return waitUntil([&] { return (told += watcher.readAllStandardOutput()) == expected; });
    };
    launch();
    QByteArray expected = "found\t" + line(hostName(), scene->port());
    QVERIFY2(hasTold(expected), told.constData());
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    expected += "gone\t" + hostName().toUtf8() + '\n';
    QVERIFY2(hasTold(expected), told.constData());
    launch();
    expected += "found\t" + line(hostName(), scene->port());
    QVERIFY2(hasTold(expected), told.constData());
    handheldDaemon->stop();
    QVERIFY(waitUntil([&] { return watcher.state() == QProcess::NotRunning; }));
    const QByteArray errors = watcher.readAllStandardError();
    QVERIFY2(watcher.exitCode() == 3, errors.constData());
    QVERIFY2(errors.contains("discovery"), errors.constData());
    QVERIFY(handheldDaemon->start());
}

void tst_QuillmoteDiscovery::aServerThatComesWhileItIsLookedForIsFound()
{
    ChildProcess program;
    start(program, {u"info"_s, u"--server"_s, hostName(), u"--timeout"_s, u"30"_s});
    QVERIFY(program.waitForStarted());
    launch();
    QVERIFY(waitUntil([&] { return program.state() == QProcess::NotRunning; }));
    QVERIFY2(program.exitCode() == 0, program.readAllStandardError().constData());
}

QTEST_GUILESS_MAIN(tst_QuillmoteDiscovery)
#include "tst_QuillmoteDiscovery.moc"
