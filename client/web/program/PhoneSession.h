// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/SessionConnection.h"
#include "web/program/ClipboardCache.h"
#include "web/program/SecureSocket.h"
#include "web/program/WebStore.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>

#include <deque>
#include <memory>

namespace quillmote {

/// One phone's way to the server: the connection of its browser, and a session of its own. When
/// either ends, the server releases what the phone held. Without a server the phone stays connected
/// and is told so.
class PhoneSession : public QObject
{
    Q_OBJECT

public:
    /// Requests that wait for their answers, and bytes of them. A phone has no reason for more.
    static constexpr size_t mostWaiting = 512;
    static constexpr qint64 mostWaitingBytes = 4 * 1024 * 1024;
    /// Pings within a second; the page sends one.
    static constexpr int mostPings = 50;

    /// \param socketPath of the server's session socket
    PhoneSession(std::unique_ptr<SecureSocket> socket, KnownPhone phone, QString socketPath);
    ~PhoneSession() override;

    const KnownPhone &phone() const { return known; }
    QHostAddress address() const { return socket->peer(); }
    /// The server as the phone was told of it.
    QJsonObject serverState() const;

    /// Answers the phone's first request.
    void welcome(const QJsonValue &id, const QJsonObject &fields);
    /// Connects to the server if there is no session.
    void tryServer();
    void close(CloseCode code) { socket->close(code); }

signals:
    void renamed(const QString &name);
    /// The phone wants to be forgotten.
    void left();
    /// The user has refused the phone.
    void refused();
    /// The phone has gone.
    void ended();

private:
    enum class State { Missing, Asking, Ready };
    /// A request other than a ping; answers are sent in the order of the requests.
    struct Request
    {
        QJsonValue id;
        WireText asked;  // without its body once it is passed on
        qint64 size = 0; // of the body
        bool isPassedOn = false;
        bool isAnswered = false;
        WireText answer;
    };

    void take(const WireText &text);
    void answerPing(const QJsonValue &id);
    void passOn();
    void serve(const std::shared_ptr<Request> &request);
    void forward(const std::shared_ptr<Request> &request);
    bool answerFromCache(const std::shared_ptr<Request> &request);
    void answer(const std::shared_ptr<Request> &request, const QJsonObject &fields,
                const QByteArray &body = {});
    void refuse(const std::shared_ptr<Request> &request, const QString &error, const QString &why);
    void takeOutcome(const std::shared_ptr<Request> &request, qint64 offset,
                     const SessionOutcome &outcome);
    void finish(const std::shared_ptr<Request> &request);
    void askForPairing();
    void takeDecision(const SessionOutcome &outcome);
    void setState(State next, const QString &why = {});
    void loseServer(const QString &problem);

    std::unique_ptr<SecureSocket> socket;
    KnownPhone known;
    QString path;
    std::unique_ptr<SessionConnection> server;
    State state = State::Missing;
    QString obstacle; // why the server cannot be used
    QTimer askingLong;
    std::deque<std::shared_ptr<Request>> requests;
    qint64 waitingBytes = 0;
    QElapsedTimer pingClock;
    int pings = 0; // since the clock was started
    ClipboardCache clipboard;
    bool isWelcome = false;
};

} // namespace quillmote
