// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How the program quillmote finds servers: it runs on a second host of the same network.

#include "support/session/AvahiDaemon.h"
#include "support/session/NetworkNamespaces.h"
#include "support/session/ServerScene.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// How a run of the program ended.
struct Run
{
    int status = -1; // -1: crashed, or not ended in time
    QByteArray output;
    QByteArray errors;
    qint64 milliseconds = 0;
};

} // namespace

class tst_QuillmoteDiscovery : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void discoverListsNameAddressAndPort();
    void theOnlyServerIsTheDefault();
    void theServerUsedLastIsFoundAtOnce();
    void severalServersAreListedAndOneMustBeChosen();
    void theServerUsedLastIsMeantAmongSeveral();
    void anotherServerIsNotTakenForTheOneUsedLast();
    void namesMatchWithoutRegardToCase();
    void theEnvironmentNamesAServer();
    void controlCharactersInNamesAreEscaped();
    void noServerHasStatusThree();
    void aNameThatNobodyHasHasStatusThree();
    void watchingReportsWhatComesAndGoes();
    void aServerThatComesWhileItIsLookedForIsFound();

private:
    void launch();
    int glance() const;
    bool isSeen() const;
    QByteArray rememberedServer() const;
    void start(ChildProcess &program, const QStringList &arguments) const;
    Run quillmote(const QStringList &arguments) const;
    QString hostName() const { return network->server().name(); }
    /// What discover prints of a server on the other host.
    QByteArray line(const QString &name, quint16 port) const
    {
        return u"%1\t%2\t%3\n"_s.arg(name, network->server().address()).arg(port).toUtf8();
    }
    /// The same of the server used last.
    QByteArray markedLine(const QString &name, quint16 port) const
    {
        return line(name, port).replace("\n", "\tlast used\n");
    }

    std::unique_ptr<NetworkNamespaces> network;
    std::unique_ptr<AvahiDaemon> serverDaemon;
    std::unique_ptr<AvahiDaemon> handheldDaemon;
    std::unique_ptr<ServerScene> scene;
    /// What the program remembers from run to run within a test.
    std::unique_ptr<QTemporaryDir> memory;
    QString namedServer; ///< The server that the environment names.
};

void tst_QuillmoteDiscovery::initTestCase()
{
    QVERIFY2(!qEnvironmentVariableIsEmpty("VORNA_QUILLMOTE"), "the program to test is not named");
    // The program must silence the library itself.
    qunsetenv("AVAHI_COMPAT_NOWARN");
    // Daemons and network tools are there, which is not in every user's path.
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

void tst_QuillmoteDiscovery::init()
{
    memory = std::make_unique<QTemporaryDir>();
    namedServer.clear();
}

/// Leaves a network without servers behind.
void tst_QuillmoteDiscovery::cleanup()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    QVERIFY(waitUntil([this] { return glance() == 3; }));
}

/// The status of a short search: the daemon answers from its cache at once.
int tst_QuillmoteDiscovery::glance() const
{
    return quillmote({u"discover"_s, u"--timeout"_s, u"0.5"_s}).status;
}

void tst_QuillmoteDiscovery::launch()
{
    scene->launch(network->server().entry());
    QVERIFY(scene->port() != 0);
}

/// Waits until the server on the other host is seen.
bool tst_QuillmoteDiscovery::isSeen() const
{
    return waitUntil([this] { return glance() == 0; });
}

QByteArray tst_QuillmoteDiscovery::rememberedServer() const
{
    QFile file(memory->filePath(u"quillmote/last-server.json"_s));
    return file.open(QIODevice::ReadOnly)
               ? QJsonDocument::fromJson(file.readAll())[u"name"_s].toString().toUtf8()
               : QByteArray();
}

void tst_QuillmoteDiscovery::start(ChildProcess &program, const QStringList &arguments) const
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DBUS_SYSTEM_BUS_ADDRESS"_s, handheldDaemon->busAddress());
    environment.insert(u"XDG_CACHE_HOME"_s, memory->path());
    environment.insert(u"QUILLMOTE_SERVER"_s, namedServer);
    program.setProcessEnvironment(environment);
    program.setLastPreparation(network->handheld().entry());
    program.start(qEnvironmentVariable("VORNA_QUILLMOTE"), arguments);
}

Run tst_QuillmoteDiscovery::quillmote(const QStringList &arguments) const
{
    ChildProcess program;
    QElapsedTimer timer;
    timer.start();
    start(program, arguments);
    Run run;
    if (program.waitForFinished(60'000) && program.exitStatus() == QProcess::NormalExit) {
        run.status = program.exitCode();
    }
    run.milliseconds = timer.elapsed();
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
                                                 {u"port"_s, scene->port()},
                                                 {u"lastUsed"_s, false}}));
}

void tst_QuillmoteDiscovery::theOnlyServerIsTheDefault()
{
    launch();
    Run run;
    QVERIFY(waitUntil([&] { return (run = quillmote({u"info"_s})).status == 0; }));
    QVERIFY2(run.output.endsWith(" pixels, MAC-OSX\n"), run.output.constData());
    QCOMPARE(quillmote({u"key"_s, u"A"_s, u"B"_s}).status, 0);
}

/// The daemon's cache is empty, as on a handheld that was just switched on.
void tst_QuillmoteDiscovery::theServerUsedLastIsFoundAtOnce()
{
    launch();
    QVERIFY(isSeen());
    const auto runOnFreshDaemon = [this](const QStringList &arguments) {
        handheldDaemon->stop();
        return handheldDaemon->start() ? quillmote(arguments) : Run();
    };
    const Run first = runOnFreshDaemon({u"info"_s});
    QCOMPARE(first.status, 0);
    QVERIFY2(first.milliseconds < 1'500, QByteArray::number(first.milliseconds).constData());
    QCOMPARE(rememberedServer(), hostName().toUtf8());

    // The fastest of three, so that other load on the machine does not count.
    qint64 quickest = first.milliseconds;
    for (int round = 0; round < 3; ++round) {
        const Run again = runOnFreshDaemon({u"info"_s});
        QCOMPARE(again.status, 0);
        QCOMPARE(again.errors, QByteArray());
        quickest = std::min(quickest, again.milliseconds);
    }
    qInfo("%lld ms, then %lld ms", static_cast<long long>(first.milliseconds),
          static_cast<long long>(quickest));
    QVERIFY2(quickest < 400, QByteArray::number(quickest).constData());

    // It has another port after each start. The daemon forgets the earlier one within a second.
    const quint16 port = scene->port();
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    launch();
    QVERIFY(scene->port() != port);
    const QByteArray expected = markedLine(hostName(), scene->port());
    QVERIFY(waitUntil([&] { return quillmote({u"discover"_s}).output == expected; }));
    QCOMPARE(quillmote({u"key"_s, u"A"_s}).status, 0);
}

void tst_QuillmoteDiscovery::severalServersAreListedAndOneMustBeChosen()
{
    launch();
    QVERIFY(isSeen());
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
    QCOMPARE(rememberedServer(), QByteArray());

    QCOMPARE(quillmote({u"info"_s, u"--server"_s, hostName()}).status, 0);
    QCOMPARE(quillmote({u"info"_s, u"--server"_s, secondName}).status, 0);
    QCOMPARE(second.end(), std::optional(0));
    QCOMPARE(quillmote({u"info"_s, u"--server"_s, secondName, u"--timeout"_s, u"4"_s}).status, 3);
    QCOMPARE(quillmote({u"info"_s, u"--server"_s, hostName()}).status, 0);
}

void tst_QuillmoteDiscovery::theServerUsedLastIsMeantAmongSeveral()
{
    launch();
    QVERIFY(isSeen());
    ServerProcess second(scene->session(), network->server().entry());
    QVERIFY(second.port() != 0);
    const QString secondName = hostName() + u" #2"_s;
    QVERIFY(waitUntil([&] { return quillmote({u"discover"_s}).output.count('\n') == 2; }));
    for (const bool isSecond : {true, false}) {
        const QString &name = isSecond ? secondName : hostName();
        QCOMPARE(quillmote({u"info"_s, u"--server"_s, name}).status, 0);
        const Run run = quillmote({u"info"_s});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.errors, QByteArray());
        QCOMPARE(rememberedServer(), name.toUtf8());
        QCOMPARE(quillmote({u"discover"_s}).output,
                 isSecond
                     ? line(hostName(), scene->port()) + markedLine(secondName, second.port())
                     : markedLine(hostName(), scene->port()) + line(secondName, second.port()));
    }
    QCOMPARE(second.end(), std::optional(0));
}

/// The only server is used, but the one used last has time to answer first, and a note is printed.
void tst_QuillmoteDiscovery::anotherServerIsNotTakenForTheOneUsedLast()
{
    launch();
    QVERIFY(isSeen());
    ServerProcess second(scene->session(), network->server().entry());
    const QString secondName = hostName() + u" #2"_s;
    QVERIFY(waitUntil([&] { return quillmote({u"discover"_s}).output.count('\n') == 2; }));
    QCOMPARE(quillmote({u"info"_s, u"--server"_s, secondName}).status, 0);
    QCOMPARE(second.end(), std::optional(0));
    QVERIFY(waitUntil([&] { return quillmote({u"discover"_s}).output.count('\n') == 1; }));
    const Run run = quillmote({u"info"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.errors, u"note: The server used last, \"%1\", was not found; using \"%2\".\n"_s
                             .arg(secondName, hostName())
                             .toUtf8());
    QVERIFY2(run.milliseconds >= 1'500, QByteArray::number(run.milliseconds).constData());
    QCOMPARE(rememberedServer(), hostName().toUtf8());
}

void tst_QuillmoteDiscovery::namesMatchWithoutRegardToCase()
{
    launch();
    QVERIFY(isSeen());
    const Run run = quillmote({u"info"_s, u"--server"_s, hostName().toUpper()});
    QVERIFY2(run.status == 0, run.errors.constData());
    QCOMPARE(rememberedServer(), hostName().toUtf8());
}

void tst_QuillmoteDiscovery::theEnvironmentNamesAServer()
{
    launch();
    QVERIFY(isSeen());
    namedServer = hostName();
    QCOMPARE(quillmote({u"info"_s}).status, 0);
    namedServer = u"nobody"_s;
    const Run run = quillmote({u"info"_s, u"--timeout"_s, u"1"_s});
    QCOMPARE(run.status, 3);
    QVERIFY2(run.errors.contains("\"nobody\" (named by QUILLMOTE_SERVER)"), run.errors.constData());
    QCOMPARE(quillmote({u"info"_s, u"--server"_s, hostName()}).status, 0);
    QCOMPARE(quillmote({u"info"_s, u"--host"_s, network->server().address(), u"--port"_s,
                        QString::number(scene->port())})
                 .status,
             0);
}

/// A server's name is its computer's, which may hold anything.
void tst_QuillmoteDiscovery::controlCharactersInNamesAreEscaped()
{
    QVERIFY(network->server().setName(u"de\x1b[2Jsk"_s));
    launch();
    Run run;
    const bool isThere = waitUntil([&] { return (run = quillmote({u"discover"_s})).status == 0; });
    QVERIFY(network->server().setName(hostName()));
    QVERIFY(isThere);
    QVERIFY2(run.output.startsWith("de\\u001b[2Jsk\t"), run.output.constData());
    const Run failed = quillmote({u"info"_s, u"--server"_s, u"\x1b"_s, u"--timeout"_s, u"1"_s});
    QVERIFY2(!failed.errors.contains('\x1b'), failed.errors.constData());
    QVERIFY2(failed.errors.contains("These were found: \"de\\u001b[2Jsk\"."),
             failed.errors.constData());
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
    QVERIFY(isSeen());
    QElapsedTimer timer;
    timer.start();
    const Run run = quillmote({u"info"_s, u"--server"_s, u"nobody"_s, u"--timeout"_s, u"1"_s});
    QCOMPARE(run.status, 3);
    QVERIFY(run.errors.contains("\"nobody\""));
    QVERIFY(run.errors.contains("These were found: \"" + hostName().toUtf8() + "\"."));
    QVERIFY(timer.elapsed() >= 1000);
}

void tst_QuillmoteDiscovery::watchingReportsWhatComesAndGoes()
{
    ChildProcess watcher;
    start(watcher, {u"discover"_s, u"--watch"_s});
    ChildProcess jsonWatcher;
    start(jsonWatcher, {u"discover"_s, u"--watch"_s, u"--json"_s});
    QByteArray reported;
    QByteArray jsonReported;
    // Both are awaited: what comes and goes before a watcher has begun is no news to it.
    const auto hasReported = [&](const QByteArray &expected) {
        return waitUntil([&] {
            reported += watcher.readAllStandardOutput();
            jsonReported += jsonWatcher.readAllStandardOutput();
            return reported == expected && jsonReported.count('\n') == expected.count('\n');
        });
    };
    launch();
    QByteArray expected = "found\t" + line(hostName(), scene->port());
    QVERIFY2(hasReported(expected), reported.constData());
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    expected += "gone\t" + hostName().toUtf8() + '\n';
    QVERIFY2(hasReported(expected), reported.constData());
    launch();
    expected += "found\t" + line(hostName(), scene->port());
    QVERIFY2(hasReported(expected), reported.constData());
    handheldDaemon->stop();
    QVERIFY(waitUntil([&] { return watcher.state() == QProcess::NotRunning; }));
    QVERIFY(waitUntil([&] { return jsonWatcher.state() == QProcess::NotRunning; }));
    // One object per line, and one for the error.
    jsonReported += jsonWatcher.readAllStandardOutput();
    QList<QByteArray> objects = jsonReported.split('\n');
    QCOMPARE(objects.takeLast(), QByteArray());
    QStringList events;
    for (const QByteArray &text : objects) {
        const auto object = QJsonDocument::fromJson(text);
        events << object[u"event"_s].toString();
        QCOMPARE(object[u"name"_s].toString(), hostName());
    }
    QCOMPARE(events, (QStringList{u"found"_s, u"gone"_s, u"found"_s}));
    QCOMPARE(QJsonDocument::fromJson(jsonWatcher.readAllStandardError())[u"error"_s].toString(),
             u"no-discovery"_s);
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
