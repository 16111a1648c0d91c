// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "net/TokenText.h"

#include <QObject>

#include <deque>

class QTcpSocket;
class Turns;

/// Sends the answers of one connection in their order. A short one goes to the socket at once. A
/// long one goes piece by piece, as the peer takes it, and connections take turns with their
/// pieces: so it neither holds up the event loop nor lies in memory as a whole.
class AnswerQueue : public QObject
{
    Q_OBJECT

public:
    /// Answers of more characters are long; also the size of a piece.
    static constexpr qsizetype pieceSize = 64 * 1024;

    /// The socket and the turns must outlive the queue.
    AnswerQueue(QTcpSocket *socket, Turns *turns, QObject *parent);

    /// Sends the map as it is now.
    void send(const TokenMap &token);
    /// No long answer is on its way.
    bool isEmpty() const { return longAnswers.empty(); }
    /// Long answers wait that a connection can only have gathered without reading any.
    bool isFull() const { return longAnswers.size() >= maximumLong; }
    /// Forgets the long answers, without emptied().
    void clear();

signals:
    /// A long answer began; further ones may follow it.
    void filled();
    /// The last piece of the last long answer has been given to the socket.
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
