// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Sockets.h"

#include <QObject>
#include <QTest>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

/// What every system's implementation of platform/Sockets.h promises.
class SocketsContract : public QObject
{
    Q_OBJECT

protected:
    /// \param idleOption the system's name for the silence before the first keepalive probe
    explicit SocketsContract(int idleOption) : keepaliveIdle(idleOption) {}

private slots:
    void aDeadPeerIsNoticedAndSmallAnswersLeaveAtOnce()
    {
        const int connection = socket(AF_INET, SOCK_STREAM, 0);
        platform::tuneAcceptedSocket(connection);
        QCOMPARE(option(connection, SOL_SOCKET, SO_KEEPALIVE), 1);
        QCOMPARE(option(connection, IPPROTO_TCP, keepaliveIdle), 15);
        QCOMPARE(option(connection, IPPROTO_TCP, TCP_KEEPINTVL), 5);
        QCOMPARE(option(connection, IPPROTO_TCP, TCP_KEEPCNT), 3);
        QCOMPARE(option(connection, IPPROTO_TCP, TCP_NODELAY), 1);
        close(connection);
    }

    void theDescriptorsThatAreLeftAreCounted()
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

    void descriptorsThatAreOpenAreKeptFromOtherPrograms()
    {
        const int low = dup(STDERR_FILENO);
        const int high = fcntl(low, F_DUPFD, 90);
        QVERIFY(!closesOnExec(low) && !closesOnExec(high));
        const bool standardStreamCloses = closesOnExec(STDERR_FILENO);
        platform::closeDescriptorsOnExec();
        QVERIFY(closesOnExec(low));
        QVERIFY(closesOnExec(high));
        QCOMPARE(closesOnExec(STDERR_FILENO), standardStreamCloses);
        close(high);
        close(low);
    }

private:
    /// -1 if the socket does not have the option.
    static int option(int socket, int level, int name)
    {
        int value = -1;
        socklen_t size = sizeof value;
        getsockopt(socket, level, name, &value, &size);
        return value;
    }

    static bool closesOnExec(int descriptor)
    {
        return (fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0;
    }

    const int keepaliveIdle;
};
