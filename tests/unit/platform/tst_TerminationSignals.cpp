// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/TerminationSignals.h"

#include "support/Waiting.h"

#include <QCoreApplication>
#include <QTest>
#include <QTimer>

#include <csignal>

class tst_TerminationSignals : public QObject
{
    Q_OBJECT

private slots:
    void aSignalEndsTheEventLoopWithoutAnError_data();
    void aSignalEndsTheEventLoopWithoutAnError();
    void afterwardsTheSignalsEndTheProgramAgain();
};

void tst_TerminationSignals::aSignalEndsTheEventLoopWithoutAnError_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void tst_TerminationSignals::aSignalEndsTheEventLoopWithoutAnError()
{
    QFETCH(int, signal);
    const platform::TerminationSignals watched;
    QTimer::singleShot(0, this, [signal] { std::raise(signal); });
    // Reached only when nothing else ends the loop.
    QTimer limit;
    connect(&limit, &QTimer::timeout, this, [] { QCoreApplication::exit(1); });
    limit.start(GenerousLimit);
    QCOMPARE(QCoreApplication::exec(), 0);
}

void tst_TerminationSignals::afterwardsTheSignalsEndTheProgramAgain()
{
    {
        const platform::TerminationSignals watched;
    }
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        struct sigaction action
        {
        };
        sigaction(signal, nullptr, &action);
        QVERIFY(action.sa_handler == SIG_DFL);
    }
}

QTEST_GUILESS_MAIN(tst_TerminationSignals)
#include "tst_TerminationSignals.moc"
