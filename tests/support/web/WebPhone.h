// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Waiting.h"
#include "web/wire/Handshake.h"
#include "web/wire/OneTimeCode.h"
#include "web/wire/WireText.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkRequest>
#include <QObject>
#include <QUrl>
#include <QWebSocket>

#include <deque>
#include <optional>

/// A phone without a browser: what a page of quillmote-web does on its connection.
class WebPhone : public QObject
{
public:
    /// Opens the connection; `pageHost` is what its page was loaded from.
    explicit WebPhone(quint16 port, const QString &pageHost = QStringLiteral("127.0.0.1"))
    {
        const QString place = QStringLiteral("%1:%2").arg(pageHost, QString::number(port));
        QNetworkRequest request(QUrl(QStringLiteral("ws://%1/socket").arg(place)));
        request.setRawHeader("Origin", "http://" + place.toLatin1());
        connect(&socket, &QWebSocket::binaryMessageReceived, this,
                [this](const QByteArray &bytes) { take(bytes); });
        connect(&socket, &QWebSocket::disconnected, this, [this] { isClosed = true; });
        socket.open(request);
    }

    bool waitUntilOpen()
    {
        return waitUntil([this] {
                   return socket.state() == QAbstractSocket::ConnectedState || isClosed;
               }) &&
               !isClosed;
    }

    /// Shows that it has the secret; false if it is closed instead.
    bool enter(quillmote::Credential credential, const QByteArray &id, const QByteArray &secret)
    {
        if (!waitUntilOpen()) {
            return false;
        }
        initiator.emplace(credential, id, secret);
        sentFirst = initiator->first("{}");
        socket.sendBinaryMessage(sentFirst);
        return waitUntil([this] { return channel || isClosed; }) && channel;
    }
    bool enterByCode(const quillmote::OneTimeCode &code)
    {
        return enter(quillmote::Credential::Code, {}, code.secret());
    }

    /// Sends the request and returns its number.
    int send(QJsonObject request, const QByteArray &body = {})
    {
        request.insert(QStringLiteral("id"), ++lastId);
        sendSealed(channel->seal(quillmote::WireText{request, body}.toBytes()));
        return lastId;
    }
    int send(const char *request, QJsonObject fields = {}, const QByteArray &body = {})
    {
        fields.insert(QStringLiteral("request"), QString::fromLatin1(request));
        return send(fields, body);
    }
    void sendPlain(const QByteArray &plain) { sendSealed(channel->seal(plain)); }
    /// Sends the bytes as they are.
    void sendSealed(const QByteArray &sealed)
    {
        sentLast = sealed;
        socket.sendBinaryMessage(sealed);
    }

    /// Sends the request and waits for its answer; an empty one if the connection ends.
    quillmote::WireText ask(const char *request, const QJsonObject &fields = {},
                            const QByteArray &body = {})
    {
        return answerTo(send(request, fields, body));
    }
    quillmote::WireText answerTo(int id)
    {
        return next([id](const QJsonObject &object) {
            return object.value(QStringLiteral("id")).toInt() == id;
        });
    }
    /// Waits for the next event of that name.
    QJsonObject nextEvent(const QString &name)
    {
        return next([&name](const QJsonObject &object) {
                   return object.value(QStringLiteral("event")).toString() == name;
               })
            .object;
    }
    /// Waits until it is told that the server is in that state.
    bool waitForServer(const QString &state)
    {
        return waitUntil([this, &state] { return serverState == state || isClosed; }) &&
               serverState == state;
    }

    /// Waits for the end and returns its close code.
    int closeCode()
    {
        return waitUntil([this] { return isClosed; }) ? static_cast<int>(socket.closeCode()) : 0;
    }
    bool isOpen() const { return channel && !isClosed; }

    /// The page's first request; returns its answer.
    QJsonObject sayHello(const QString &name = QStringLiteral("Test phone"))
    {
        return ask("hello", {{QStringLiteral("name"), name}}).object;
    }

    QWebSocket socket;
    QByteArray sentFirst; ///< of the handshake
    QByteArray sentLast;
    QByteArray receivedPayload; ///< of the answer to the handshake
    QString serverState;
    std::deque<quillmote::WireText> received; ///< what nobody has waited for yet

private:
    template <typename Match> quillmote::WireText next(Match matches)
    {
        quillmote::WireText found;
        const auto isThere = [this, &found, &matches] {
            for (auto text = received.begin(); text != received.end(); ++text) {
                if (matches(text->object)) {
                    found = *text;
                    received.erase(text);
                    return true;
                }
            }
            return isClosed;
        };
        (void)waitUntil(isThere);
        return found;
    }

    void take(const QByteArray &bytes)
    {
        if (!channel) {
            auto opened = initiator ? initiator->finish(bytes) : std::nullopt;
            if (opened) {
                receivedPayload = opened->payload;
                channel.emplace(std::move(opened->channel));
            }
            return;
        }
        const auto plain = channel->open(bytes);
        const auto text = plain ? quillmote::WireText::fromBytes(*plain) : std::nullopt;
        if (!text) {
            qFatal("What quillmote-web sent cannot be read.");
        }
        noteServer(text->object);
        received.push_back(*text);
    }

    void noteServer(const QJsonObject &object)
    {
        const bool isEvent =
            object.value(QStringLiteral("event")).toString() == QStringLiteral("server");
        const QJsonObject told =
            isEvent ? object : object.value(QStringLiteral("server")).toObject();
        if (told.contains(QStringLiteral("state"))) {
            serverState = told.value(QStringLiteral("state")).toString();
        }
    }

    std::optional<quillmote::Initiator> initiator;
    std::optional<quillmote::Channel> channel;
    int lastId = 0;
    bool isClosed = false;
};
