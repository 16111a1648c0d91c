// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Waiting.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTcpSocket>

#include <linux/sockios.h>
#include <sys/ioctl.h>

/// What the system reports about a socket's queue: FIONREAD for what has arrived, SIOCOUTQ for what
/// the other side has not confirmed yet. 0 for a socket that is gone.
inline int queued(const QTcpSocket *socket, unsigned long queue)
{
    int bytes = 0;
    if (socket == nullptr || ioctl(int(socket->socketDescriptor()), queue, &bytes) != 0) {
        return 0;
    }
    return bytes;
}

/// Waits until all that was written to `peer` has arrived at the other side's system.
inline bool waitUntilArrived(const QTcpSocket &peer)
{
    return waitUntil([&] { return peer.bytesToWrite() == 0 && queued(&peer, SIOCOUTQ) == 0; });
}

/// Waits until the other end, which is in this process, has taken all of it and is done with it, or
/// is gone.
inline bool waitUntilTaken(const QTcpSocket &peer, QTcpSocket *accepted, qsizetype size)
{
    const QPointer<QTcpSocket> present(accepted);
    const bool isTaken = waitUntilArrived(peer) && waitUntil([&] {
                             return present.isNull() || (queued(present, FIONREAD) == 0 &&
                                                         present->bytesAvailable() == 0);
                         });
    // A long token is read in turns; this is more than it can need.
    for (qsizetype turn = 0; turn < 12 + size / 500; ++turn) {
        QCoreApplication::processEvents();
    }
    return isTaken;
}
