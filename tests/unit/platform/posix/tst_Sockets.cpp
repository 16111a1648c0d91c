// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/Sockets.h"

#include "support/process/Descriptors.h"

#include <QTest>

#include <array>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

/// Two connected sockets of the system, blocking as they are made.
class tst_Sockets : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void whatHasArrivedIsTaken();
    void noMoreThanAskedForIsTaken();
    void nothingIsWaitedFor();
    void theEndIsEmpty();
    void noSocketIsEmpty();

    void aDeadPeerIsNoticedAndSmallAnswersLeaveAtOnce();
    void theDescriptorsThatAreLeftAreCounted();
    void descriptorsThatAreOpenAreKeptFromOtherPrograms();

private:
    std::array<int, 2> ends = {-1, -1};
};

void tst_Sockets::init()
{
    QCOMPARE(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
}

void tst_Sockets::cleanup()
{
    for (const int end : ends) {
        close(end);
    }
}

void tst_Sockets::whatHasArrivedIsTaken()
{
    QCOMPARE(write(ends[0], "one", 3), 3);
    QCOMPARE(write(ends[0], "two", 3), 3);
    QCOMPARE(platform::takeArrived(ends[1], 100), QByteArray("onetwo"));
    QCOMPARE(platform::takeArrived(ends[1], 100), QByteArray());
}

void tst_Sockets::noMoreThanAskedForIsTaken()
{
    QCOMPARE(write(ends[0], "onetwo", 6), 6);
    QCOMPARE(platform::takeArrived(ends[1], 0), QByteArray());
    QCOMPARE(platform::takeArrived(ends[1], 4), QByteArray("onet"));
    QCOMPARE(platform::takeArrived(ends[1], 4), QByteArray("wo"));
}

void tst_Sockets::nothingIsWaitedFor()
{
    // If it waited, the test would run into its time limit.
    QCOMPARE(platform::takeArrived(ends[1], 100), QByteArray());
}

void tst_Sockets::theEndIsEmpty()
{
    QCOMPARE(write(ends[0], "last", 4), 4);
    shutdown(ends[0], SHUT_WR);
    QCOMPARE(platform::takeArrived(ends[1], 100), QByteArray("last"));
    QCOMPARE(platform::takeArrived(ends[1], 100), QByteArray());
}

void tst_Sockets::noSocketIsEmpty()
{
    QCOMPARE(platform::takeArrived(-1, 100), QByteArray());
}

void tst_Sockets::aDeadPeerIsNoticedAndSmallAnswersLeaveAtOnce()
{
    const int connection = socket(AF_INET, SOCK_STREAM, 0);
    platform::tuneAcceptedSocket(connection);
    QCOMPARE(Descriptors::socketOption(connection, SOL_SOCKET, SO_KEEPALIVE), 1);
    QCOMPARE(Descriptors::socketOption(connection, IPPROTO_TCP, TCP_KEEPIDLE), 15);
    QCOMPARE(Descriptors::socketOption(connection, IPPROTO_TCP, TCP_KEEPINTVL), 5);
    QCOMPARE(Descriptors::socketOption(connection, IPPROTO_TCP, TCP_KEEPCNT), 3);
    QCOMPARE(Descriptors::socketOption(connection, IPPROTO_TCP, TCP_NODELAY), 1);
    close(connection);
}

void tst_Sockets::theDescriptorsThatAreLeftAreCounted()
{
    rlimit former{};
    getrlimit(RLIMIT_NOFILE, &former);
    rlimit limit = former;
    limit.rlim_cur = 100;
    setrlimit(RLIMIT_NOFILE, &limit);
    QCOMPARE(platform::descriptorsLeftAfter(60), 39);
    QCOMPARE(platform::descriptorsLeftAfter(99), 0);
    setrlimit(RLIMIT_NOFILE, &former);
}

void tst_Sockets::descriptorsThatAreOpenAreKeptFromOtherPrograms()
{
    const int low = dup(ends[0]);
    const int high = fcntl(low, F_DUPFD, 90);
    QVERIFY(!Descriptors::closesOnExec(low) && !Descriptors::closesOnExec(high));
    const bool standardStreamCloses = Descriptors::closesOnExec(STDERR_FILENO);
    platform::closeDescriptorsOnExec();
    QVERIFY(Descriptors::closesOnExec(low));
    QVERIFY(Descriptors::closesOnExec(high));
    QCOMPARE(Descriptors::closesOnExec(STDERR_FILENO), standardStreamCloses);
    close(high);
    close(low);
}

QTEST_GUILESS_MAIN(tst_Sockets)
#include "tst_Sockets.moc"
