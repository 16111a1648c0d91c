// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/http/WebVisitor.h"

#include "web/http/HttpReader.h"

#include <utility>

namespace quillmote {

WebVisitor::WebVisitor(std::unique_ptr<QTcpSocket> connectedSocket, const WebPatience &limits,
                       Decide decide)
    : socket(std::move(connectedSocket))
    , patience(limits)
    , decision(std::move(decide))
{
    // What is behind a head waits in the system.
    socket->setReadBufferSize(longestHttpHead);
    connect(socket.get(), &QTcpSocket::readyRead, this, &WebVisitor::read);
    connect(socket.get(), &QTcpSocket::disconnected, this, &WebVisitor::end);
    connect(socket.get(), &QTcpSocket::errorOccurred, this, &WebVisitor::end);
    connect(socket.get(), &QTcpSocket::bytesWritten, this, &WebVisitor::finishWhenSent);
    deadline.setSingleShot(true);
    connect(&deadline, &QTimer::timeout, this, &WebVisitor::giveUp);
    deadline.start(patience.head);
}

WebVisitor::~WebVisitor()
{
    stop();
}

void WebVisitor::stop()
{
    isOver = true;
    deadline.stop();
    if (socket) {
        socket->disconnect(this);
        socket->abort();
        // It may be the sender of the signal that led here.
        socket.release()->deleteLater();
    }
}

void WebVisitor::read()
{
    if (isOver) {
        return;
    }
    if (isAnswered) {
        socket->skip(socket->bytesAvailable());
        return;
    }
    const HttpReading reading = readHttp(socket->peek(longestHttpHead));
    if (reading.isDone()) {
        answer(reading);
    }
}

void WebVisitor::answer(const HttpReading &reading)
{
    const HttpAnswer given =
        reading.request
            ? decision(*reading.request, {socket->localAddress(), socket->peerAddress()})
            : HttpAnswer::refusal(reading.refusal);
    if (given.status == HttpAnswer::switchingProtocols) {
        socket->disconnect(this);
        emit upgrading(socket.release());
        end();
        return;
    }
    mayHaveMore = reading.size < socket->bytesAvailable();
    send(given.toBytes(reading.request && reading.request->isHead));
}

void WebVisitor::send(const QByteArray &bytes)
{
    isAnswered = true;
    socket->skip(socket->bytesAvailable());
    deadline.start(patience.answer);
    socket->write(bytes);
    finishWhenSent();
}

void WebVisitor::finishWhenSent()
{
    if (!isAnswered || isOver || socket->bytesToWrite() > 0) {
        return;
    }
    // Ending a connection with bytes of the peer unread would take the answer from it.
    if (mayHaveMore) {
        deadline.start(patience.sender);
    } else {
        socket->disconnectFromHost();
    }
}

void WebVisitor::giveUp()
{
    if (isOver) {
        return;
    }
    if (isAnswered || socket->bytesAvailable() == 0) {
        end();
        return;
    }
    mayHaveMore = true;
    send(HttpAnswer::refusal(HttpAnswer::requestTimeout).toBytes(false));
}

void WebVisitor::end()
{
    if (!isOver) {
        isOver = true;
        deadline.stop();
        emit over();
    }
}

} // namespace quillmote
