// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/AnswerQueue.h"

#include "loop/Turns.h"

#include <QTcpSocket>

AnswerQueue::AnswerQueue(QTcpSocket *connectedSocket, Turns *sharedTurns, QObject *parent)
    : QObject(parent)
    , socket(connectedSocket)
    , turns(sharedTurns)
{
    connect(socket, &QIODevice::bytesWritten, this, [this] { enterTurns(); });
}

void AnswerQueue::send(const TokenMap &token)
{
    if (!longAnswers.empty()) {
        longAnswers.emplace_back(token);
        return;
    }
    TokenText::Writer &writer = longAnswers.emplace_back(token);
    QString text;
    const bool isLong = writer.writeSome(text, pieceSize);
    if (!isLong) {
        longAnswers.pop_back();
    }
    socket->write(text.toLatin1());
    if (isLong) {
        enterTurns();
        emit filled();
    }
}

void AnswerQueue::clear()
{
    longAnswers.clear();
}

bool AnswerQueue::isPeerBehind() const
{
    return socket->bytesToWrite() >= pieceSize;
}

void AnswerQueue::enterTurns()
{
    if (!longAnswers.empty() && !isTakingTurns && !isPeerBehind()) {
        isTakingTurns = true;
        turns->enter(this, [this] { return writePiece(); });
    }
}

/// Stops taking turns while the peer is slow to read; the socket signals when it has caught up.
bool AnswerQueue::writePiece()
{
    if (longAnswers.empty() || isPeerBehind()) {
        isTakingTurns = false;
        return false;
    }
    QString text;
    if (!longAnswers.front().writeSome(text, pieceSize)) {
        longAnswers.pop_front();
    }
    socket->write(text.toLatin1());
    if (!longAnswers.empty()) {
        return true;
    }
    isTakingTurns = false;
    emit emptied();
    return false;
}
