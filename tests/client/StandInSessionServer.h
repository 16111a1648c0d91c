// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>
#include <QTemporaryDir>

#include <functional>
#include <optional>
#include <vector>

/// The server of a desktop as a client sees it: a session socket in a runtime folder of its own. It
/// answers as the test says, and writes down what it was asked.
class StandInSessionServer : public QLocalServer
{
public:
    struct Request
    {
        QJsonObject fields; ///< without the id
        QByteArray body;
    };
    struct Answer
    {
        QJsonObject fields{{QStringLiteral("ok"), true}};
        QByteArray body;
    };

    /// What to answer; without it every request is done. The answer gets the request's id.
    std::function<Answer(const Request &)> onRequest;
    /// Takes the bytes that arrive, instead of reading requests.
    std::function<void(QLocalSocket &)> onBytes;
    /// Sent to each connection at once.
    QByteArray greeting =
        R"({"event":"hello","protocol":1,"server":"VornaServer","version":"1.0","name":"den",)"
        R"("port":49152,"can":["key","text","clipboard.watch"]})"
        "\n";
    std::vector<Request> requests;
    /// The latest connection; null before the first, or after its end.
    QPointer<QLocalSocket> socket;

    StandInSessionServer()
    {
        QDir(runtime.path()).mkdir(QStringLiteral("vornaserver"));
        QFile::setPermissions(runtime.filePath(QStringLiteral("vornaserver")),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        setSocketOptions(QLocalServer::UserAccessOption);
        listen(path());
        connect(this, &QLocalServer::newConnection, this, [this] {
            socket = nextPendingConnection();
            connect(socket, &QLocalSocket::readyRead, socket,
                    [this, peer = socket.data()] { onBytes ? onBytes(*peer) : read(*peer); });
            socket->write(greeting);
        });
    }

    QString runtimeFolder() const { return runtime.path(); }
    QString path() const { return runtime.filePath(QStringLiteral("vornaserver/desktop.socket")); }

    /// The requests without their bodies, one a line.
    QByteArray spoken() const
    {
        QByteArray lines;
        for (const Request &request : requests) {
            lines += QJsonDocument(request.fields).toJson(QJsonDocument::Compact) + '\n';
        }
        return lines;
    }

    static Answer refusal(const QString &error, const QString &message)
    {
        return {{{QStringLiteral("error"), error}, {QStringLiteral("message"), message}}, {}};
    }

private:
    /// Whole requests only; the rest stays in the socket.
    void read(QLocalSocket &peer)
    {
        while (peer.canReadLine() || begun.has_value()) {
            if (!begun) {
                begun = QJsonDocument::fromJson(peer.readLine()).object();
            }
            const qint64 size = begun->value(QStringLiteral("body")).toInteger();
            if (peer.bytesAvailable() < size) {
                return;
            }
            const QJsonValue id = begun->take(QStringLiteral("id"));
            requests.push_back({*begun, peer.read(size)});
            begun.reset();
            answer(peer, id);
        }
    }

    void answer(QLocalSocket &peer, const QJsonValue &id)
    {
        Answer answer = onRequest ? onRequest(requests.back()) : Answer();
        answer.fields.insert(QStringLiteral("id"), id);
        if (!answer.body.isEmpty()) {
            answer.fields.insert(QStringLiteral("body"), answer.body.size());
        }
        peer.write(QJsonDocument(answer.fields).toJson(QJsonDocument::Compact) + '\n');
        peer.write(answer.body);
    }

    QTemporaryDir runtime;
    std::optional<QJsonObject> begun; ///< a request whose body has not arrived yet
};
