// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/Sockets.h"

#include "unit/platform/SocketsContract.h"

#include <QTest>

#include <array>

#include <sys/socket.h>
#include <unistd.h>

/// Two connected sockets of the system, blocking as they are made.
class tst_Sockets : public SocketsContract
{
    Q_OBJECT

public:
    tst_Sockets() : SocketsContract(TCP_KEEPIDLE) {}

private slots:
    void init();
    void cleanup();

    void whatHasArrivedIsTaken();
    void noMoreThanAskedForIsTaken();
    void nothingIsWaitedFor();
    void theEndIsEmpty();
    void noSocketIsEmpty();

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

QTEST_GUILESS_MAIN(tst_Sockets)
#include "tst_Sockets.moc"
