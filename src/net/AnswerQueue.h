// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "net/TokenText.h"

#include <QObject>

#include <deque>

class QTcpSocket;
class Turns;

/// Sends the answers of one connection in their order. A short one is written to the socket at
/// once. A long one is written piece by piece, as the peer reads it, and connections take turns
/// with their pieces. So it does not block the event loop, and it is never in memory as a whole.
class AnswerQueue : public QObject
{
    Q_OBJECT

public:
    /// The size of a piece in characters. Answers that are longer than this are long.
    static constexpr qsizetype pieceSize = 64 * 1024;

    /// The socket and the turns must outlive the queue.
    AnswerQueue(QTcpSocket *socket, Turns *turns, QObject *parent);

    /// Sends the map in its present state.
    void send(const TokenMap &token);
    /// Whether no long answer is being sent.
    bool isEmpty() const { return longAnswers.empty(); }
    /// Whether so many long answers are waiting that the peer cannot have read any of them.
    bool isFull() const { return longAnswers.size() >= maximumLong; }
    /// Drops the long answers without emitting emptied().
    void clear();

signals:
    /// The first long answer has begun; further ones may follow it.
    void filled();
    /// The last piece of the last long answer has been written to the socket.
    void emptied();

private:
    static constexpr size_t maximumLong = 32;

    void enterTurns();
    bool writePiece();
    bool isPeerBehind() const;

    QTcpSocket *socket;
    Turns *turns;
    std::deque<TokenText::Writer> longAnswers;
    bool isTakingTurns = false;
};
