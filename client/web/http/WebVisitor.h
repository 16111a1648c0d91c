// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/http/HostCheck.h"
#include "web/http/HttpAnswer.h"
#include "web/http/HttpRequest.h"

#include <QObject>
#include <QTcpSocket>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>

namespace quillmote {

/// How long peers have.
struct WebPatience
{
    /// For the head of a request, and for the handshake of TLS before it.
    std::chrono::milliseconds head{5'000};
    /// For a reader to take what was answered.
    std::chrono::milliseconds answer{10'000};
    /// For a peer that goes on sending to see its answer before the connection ends.
    std::chrono::milliseconds sender{1'000};
};

/// A connection from its first byte to its one answer, or to its upgrade.
class WebVisitor : public QObject
{
    Q_OBJECT

public:
    using Decide = std::function<HttpAnswer(const HttpRequest &, const WebPassage &)>;

    /// The socket is connected. `decide` says what a whole request is answered with.
    WebVisitor(std::unique_ptr<QTcpSocket> connectedSocket, const WebPatience &limits,
               Decide decide);
    ~WebVisitor() override;

    /// Ends the connection without a signal.
    void stop();

signals:
    /// The request is to be upgraded: its head is still in the socket, which is the receiver's now.
    /// over() follows.
    void upgrading(QTcpSocket *socket);
    /// The connection has ended, or is somebody else's.
    void over();

private:
    void read();
    void answer(const HttpReading &reading);
    void send(const QByteArray &bytes);
    void finishWhenSent();
    void giveUp();
    void end();

    std::unique_ptr<QTcpSocket> socket;
    WebPatience patience;
    Decide decision;
    QTimer deadline;
    bool isAnswered = false;
    bool mayHaveMore = false; // the peer, than what was read
    bool isOver = false;
};

} // namespace quillmote
