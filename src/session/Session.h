// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "session/SessionFrames.h"
#include "session/SessionRequest.h"
#include "session/SessionStream.h"
#include "session/SharedAmount.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QMap>
#include <QObject>
#include <QTimer>

#include <memory>
#include <optional>

namespace platform {
class LocalStream;
}
class SessionRequests;
struct SessionCommons;

/// One connection of the session socket: serves its requests one after the other, each when the one
/// before it has been answered.
class Session : public QObject
{
    Q_OBJECT

public:
    /// While more is unsent, in bytes, the next request waits.
    static constexpr qsizetype mostUnsent = 1024 * 1024;
    /// It also waits while all sessions have more unsent than that. What each of them always may
    /// have does not count, so whoever reads is served, however little others read.
    static constexpr qint64 unsentOfAllSessions = 64 * 1024 * 1024;
    static constexpr qsizetype alwaysUnsent = 64 * 1024;

    /// Sends the greeting.
    Session(std::unique_ptr<platform::LocalStream> stream, SessionCommons &commons);
    ~Session() override;

    /// Ends the session at once, without over(): releases what it holds, and closes the connection.
    /// \param farewell the last message, if the peer has room for it
    void end(const QByteArray &farewell = {});

signals:
    /// The peer has gone, or has ended its sending and got its answers. The session has ended.
    void over();

private:
    /// A request on its way, which may still wait for its body.
    struct Incoming
    {
        SessionRequest request;
        std::optional<SessionReply> fault; // found before it could be served
        std::optional<qint64> bodySize;    // as announced
    };

    static Incoming understand(const QByteArray &line);
    static Incoming withFault(const QJsonValue &id, const QString &error, const QString &message);
    static void readHead(Incoming &incoming, const QJsonObject &fields);

    void take();
    bool takeSome();
    void notice();
    void serveArrived();
    void goOn();
    bool mayServe() const;
    bool mayAnswer();
    void write(const QByteArray &bytes);
    void noteUnsent();
    void takeTurns();
    bool serveSome();
    bool serveNext();
    void handle(const SessionFrames::Frame &frame);
    void handleLine(const SessionFrames::Frame &frame);
    void expectBody(Incoming incoming);
    bool needsWholeBody(const Incoming &incoming) const;
    void serve(const Incoming &incoming);
    void answered(const QJsonValue &id, const SessionReply &reply);
    void sendEvent(const QJsonObject &event);
    void sendLateEvents();
    void finishIfDone();
    void adjustReading();
    void watchHeld();
    void finish();

    SessionCommons &commons;
    SessionStream stream;
    SessionFrames frames;
    std::unique_ptr<SessionRequests> requests;   // null when the session is over
    std::optional<SharedAmount::Share> unsent;   // none when the session is over
    std::optional<Incoming> announced;           // whose body is expected
    std::optional<SharedAmount::Share> gathered; // of the texts, for such a body
    bool isPending = false;                      // a request is being served
    bool isTakingTurns = false;
    QMap<QString, QJsonObject>
        lateEvents;  // that wait until the peer reads, the latest of each name
    QTimer holding;  // until what is held is released
    QTimer endWatch; // while nothing is read, the end must be looked for
};
