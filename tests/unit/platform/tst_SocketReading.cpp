// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/Sockets.h"

#include <QTest>

#include <array>

#include <sys/socket.h>
#include <unistd.h>

/// Two connected sockets of the system, blocking as they are made.
class tst_SocketReading : public QObject
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

private:
    std::array<int, 2> ends = {-1, -1};
};

void tst_SocketReading::init()
{
    QCOMPARE(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
}

void tst_SocketReading::cleanup()
{
    for (const int end : ends) {
        close(end);
    }
}

void tst_SocketReading::whatHasArrivedIsTaken()
{
    QCOMPARE(write(ends[0], "one", 3), 3);
    QCOMPARE(write(ends[0], "two", 3), 3);
    QCOMPARE(platform::takeArrived(ends[1], 100), QByteArray("onetwo"));
    QCOMPARE(platform::takeArrived(ends[1], 100), QByteArray());
}

void tst_SocketReading::noMoreThanAskedForIsTaken()
{
    QCOMPARE(write(ends[0], "onetwo", 6), 6);
    QCOMPARE(platform::takeArrived(ends[1], 0), QByteArray());
    QCOMPARE(platform::takeArrived(ends[1], 4), QByteArray("onet"));
    QCOMPARE(platform::takeArrived(ends[1], 4), QByteArray("wo"));
}

void tst_SocketReading::nothingIsWaitedFor()
{
    // A wait would last for ever, and the test would run into its limit.
    QCOMPARE(platform::takeArrived(ends[1], 100), QByteArray());
}

void tst_SocketReading::theEndIsEmpty()
{
    QCOMPARE(write(ends[0], "last", 4), 4);
    shutdown(ends[0], SHUT_WR);
    QCOMPARE(platform::takeArrived(ends[1], 100), QByteArray("last"));
    QCOMPARE(platform::takeArrived(ends[1], 100), QByteArray());
}

void tst_SocketReading::noSocketIsEmpty()
{
    QCOMPARE(platform::takeArrived(-1, 100), QByteArray());
}

QTEST_GUILESS_MAIN(tst_SocketReading)
#include "tst_SocketReading.moc"
