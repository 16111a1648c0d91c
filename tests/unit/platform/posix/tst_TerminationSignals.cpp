// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/TerminationSignals.h"

#include "support/Waiting.h"

#include <QCoreApplication>
#include <QTest>
#include <QTimer>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// The status of the event loop; 1 when nothing else ends it.
int statusOfTheLoop()
{
    QTimer limit;
    QObject::connect(&limit, &QTimer::timeout, &limit, [] { QCoreApplication::exit(1); });
    limit.start(GenerousLimit);
    return QCoreApplication::exec();
}

/// The exit status of a process that does that and survives it; -1 when a signal ended it.
int statusOf(const std::function<void()> &deed)
{
    constexpr int wentOn = 99;
    const pid_t child = fork();
    if (child == 0) {
        deed();
        _exit(wentOn);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

class tst_TerminationSignals : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void aSignalEndsTheEventLoopWithoutAnError_data();
    void aSignalEndsTheEventLoopWithoutAnError();
    void beforeTheApplicationASignalExitsAtOnce_data();
    void beforeTheApplicationASignalExitsAtOnce();
    void aSignalBeforeTheLoopIsNotLost();
    void aSignalEndsEveryLoopThatIsEnteredLater();
    void aSignalThatWasBlockedIsLetThrough();
    void afterwardsTheSignalsEndTheProgramAgain();
};

/// A broken class must not end the test.
void tst_TerminationSignals::init()
{
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        std::signal(signal, SIG_IGN);
    }
}

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
    platform::TerminationSignals watched;
    watched.endEventLoops();
    QVERIFY(!watched.haveCome());
    QTimer::singleShot(0, this, [signal] { std::raise(signal); });
    QCOMPARE(statusOfTheLoop(), 0);
    QVERIFY(watched.haveCome());
}

void tst_TerminationSignals::beforeTheApplicationASignalExitsAtOnce_data()
{
    aSignalEndsTheEventLoopWithoutAnError_data();
}

void tst_TerminationSignals::beforeTheApplicationASignalExitsAtOnce()
{
    QFETCH(int, signal);
    QCOMPARE(statusOf([signal] {
                 const platform::TerminationSignals watched;
                 std::raise(signal);
             }),
             EXIT_SUCCESS);
}

void tst_TerminationSignals::aSignalBeforeTheLoopIsNotLost()
{
    platform::TerminationSignals watched;
    watched.endEventLoops();
    std::raise(SIGTERM);
    QVERIFY(watched.haveCome());
    QCOMPARE(statusOfTheLoop(), 0);
}

void tst_TerminationSignals::aSignalEndsEveryLoopThatIsEnteredLater()
{
    platform::TerminationSignals watched;
    watched.endEventLoops();
    std::raise(SIGTERM);
    // Outside of a loop of the application, as during the start, where a loop's exit is not
    // remembered.
    QCoreApplication::processEvents();
    QCOMPARE(statusOfTheLoop(), 0);
    QCOMPARE(statusOfTheLoop(), 0);
}

void tst_TerminationSignals::aSignalThatWasBlockedIsLetThrough()
{
    QCOMPARE(statusOf([] {
                 sigset_t blocked;
                 sigemptyset(&blocked);
                 sigaddset(&blocked, SIGTERM);
                 sigprocmask(SIG_BLOCK, &blocked, nullptr);
                 std::raise(SIGTERM);
                 const platform::TerminationSignals watched;
             }),
             EXIT_SUCCESS);
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
