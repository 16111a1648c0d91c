// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The privileges that the running programs have dropped, as the kernel reports them.

#include "support/session/ServerScene.h"

#include <QFile>
#include <QTcpServer>
#include <QTest>

#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

QByteArray lineOf(qint64 process, const char *file, const char *beginning)
{
    QFile table(u"/proc/%1/%2"_s.arg(process).arg(QLatin1StringView(file)));
    if (!table.open(QIODevice::ReadOnly)) {
        return {};
    }
    for (const QByteArray &line : table.readAll().split('\n')) {
        if (line.startsWith(beginning)) {
            return line.mid(qstrlen(beginning)).simplified();
        }
    }
    return {};
}

/// The soft and the hard limit.
QByteArray coreLimits(qint64 process)
{
    return lineOf(process, "limits", "Max core file size");
}

/// What sessions of people who want core dumps begin with.
void allowCoreDumps()
{
    constexpr rlimit all{1'000'000, 2'000'000};
    setrlimit(RLIMIT_CORE, &all);
}

} // namespace

class tst_LeastPower : public QObject
{
    Q_OBJECT

private slots:
    void theServerLeavesNoCoreDump();
    void theServerMayOpenWhatGainsPrivileges();
    void quillmoteLeavesNoCoreDumpAndGainsNoPrivileges();
};

void tst_LeastPower::theServerLeavesNoCoreDump()
{
    ServerScene scene;
    // The sanitizer would forbid them by itself.
    scene.mutableSession().addVariable(u"ASAN_OPTIONS"_s, qEnvironmentVariable("ASAN_OPTIONS") +
                                                              u":disable_coredump=0"_s);
    scene.launch(allowCoreDumps);
    QVERIFY(scene.port() != 0);
    QCOMPARE(coreLimits(scene.server().processId()), QByteArray("1 2000000 bytes"));
    QCOMPARE(scene.problemAtEnd(), QByteArray());
}

/// The programs that it starts inherit it.
void tst_LeastPower::theServerMayOpenWhatGainsPrivileges()
{
    ServerScene scene;
    scene.launch();
    QVERIFY(scene.port() != 0);
    QCOMPARE(lineOf(scene.server().processId(), "status", "NoNewPrivs:"), QByteArray("0"));
    QCOMPARE(scene.problemAtEnd(), QByteArray());
}

void tst_LeastPower::quillmoteLeavesNoCoreDumpAndGainsNoPrivileges()
{
    QTcpServer silentServer;
    QVERIFY(silentServer.listen(QHostAddress::LocalHost));
    ChildProcess program;
    program.setLastPreparation(allowCoreDumps);
    program.start(qEnvironmentVariable("VORNA_QUILLMOTE"),
                  {u"info"_s, u"--host=127.0.0.1"_s, u"--port=%1"_s.arg(silentServer.serverPort()),
                   u"--timeout=60"_s});
    QVERIFY(waitUntil([&] { return silentServer.hasPendingConnections(); }));
    QCOMPARE(coreLimits(program.processId()), QByteArray("1 1 bytes"));
    QCOMPARE(lineOf(program.processId(), "status", "NoNewPrivs:"), QByteArray("1"));
}

QTEST_GUILESS_MAIN(tst_LeastPower)
#include "tst_LeastPower.moc"
