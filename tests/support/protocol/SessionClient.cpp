// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/protocol/SessionClient.h"

#include <QJsonDocument>

#include <sys/socket.h>

#include <utility>

using namespace Qt::StringLiterals;

SessionClient::SessionClient(const QString &path)
{
    socket.connectToServer(path);
    waitUntil([this] { return socket.state() != QLocalSocket::ConnectingState; });
}

QJsonObject SessionClient::greeting()
{
    return next().value_or(SessionMessage()).fields;
}

int SessionClient::send(const QString &request, QJsonObject fields,
                        const std::optional<QByteArray> &body)
{
    fields.insert(u"id"_s, ++lastId);
    fields.insert(u"request"_s, request);
    if (body) {
        fields.insert(u"body"_s, body->size());
    }
    sendBytes(QJsonDocument(fields).toJson(QJsonDocument::Compact) + '\n' +
              body.value_or(QByteArray()));
    return lastId;
}

void SessionClient::sendBytes(const QByteArray &bytes)
{
    socket.write(bytes);
    socket.flush();
}

SessionMessage SessionClient::answer(int id, std::chrono::milliseconds limit)
{
    const QDeadlineTimer end(limit);
    while (const auto message = receive(std::chrono::milliseconds(end.remainingTime()))) {
        if (!message->event().isEmpty()) {
            keptEvents.push_back(*message);
        } else if (message->fields.value(u"id"_s).toInt() == id) {
            return *message;
        }
    }
    return {};
}

SessionMessage SessionClient::ask(const QString &request, const QJsonObject &fields,
                                  const std::optional<QByteArray> &body)
{
    return answer(send(request, fields, body));
}

std::optional<SessionMessage> SessionClient::next(std::chrono::milliseconds limit)
{
    if (keptEvents.empty()) {
        return receive(limit);
    }
    const SessionMessage first = keptEvents.front();
    keptEvents.pop_front();
    return first;
}

std::optional<SessionMessage> SessionClient::event(const QString &name,
                                                   std::chrono::milliseconds limit)
{
    const QDeadlineTimer end(limit);
    while (auto message = next(std::chrono::milliseconds(end.remainingTime()))) {
        if (message->event() == name) {
            return message;
        }
    }
    return std::nullopt;
}

void SessionClient::endSending()
{
    waitUntil([this] { return socket.bytesToWrite() == 0; });
    ::shutdown(static_cast<int>(socket.socketDescriptor()), SHUT_WR);
}

bool SessionClient::waitUntilClosed(std::chrono::milliseconds limit)
{
    return waitUntil([this] { return socket.state() == QLocalSocket::UnconnectedState; }, limit);
}

std::optional<SessionMessage> SessionClient::receive(std::chrono::milliseconds limit)
{
    std::optional<SessionMessage> found;
    waitUntil(
        [&] {
            received += socket.readAll();
            found = take();
            return found.has_value() || !isConnected();
        },
        limit, std::chrono::milliseconds(1));
    return found;
}

/// The first message that has come as a whole.
std::optional<SessionMessage> SessionClient::take()
{
    const qsizetype end = received.indexOf('\n', searched);
    if (end < 0) {
        searched = received.size();
        return std::nullopt;
    }
    searched = end;
    SessionMessage message;
    message.fields = QJsonDocument::fromJson(received.first(end)).object();
    const qsizetype bodySize = message.fields.value(u"body"_s).toInteger();
    if (received.size() - end - 1 < bodySize) {
        return std::nullopt;
    }
    message.body = received.mid(end + 1, bodySize);
    received.remove(0, end + 1 + bodySize);
    searched = 0;
    return message;
}
