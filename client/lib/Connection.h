// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/AnswerReader.h"
#include "lib/Pacing.h"
#include "lib/Request.h"

#include <QObject>
#include <QTcpSocket>
#include <QTimer>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>

class QIODevice;

namespace quillmote {

/// The end of a request.
struct Outcome
{
    enum class Kind {
        Done,     ///< carried out; `answer` is set if the server answers such requests
        Refused,  ///< not sent: the wire cannot carry it
        TimedOut, ///< sent, but not answered in time; the connection is closed
        Lost,     ///< the connection has ended, or the server sent something else than an answer
    };
    Kind kind = Kind::Done;
    Answer answer;
    QString problem; ///< a sentence for the user; empty when done
};

/// A connection to one server. Requests are carried out one after the other, in the given order.
/// The callback of each is called exactly once, from the event loop.
///
/// The server takes the bytes of one read as one token, carries out only the last command in it,
/// and does not answer input commands. So a little after such a command a question follows, which
/// the server answers, and nothing else is sent until then. The server sends each entry of every
/// token back, and the question's first entry comes back spoilt if the question did not begin a
/// read. So the answer proves one of two things:
/// - The question was read apart: the command was the last of its read, and was carried out once.
/// - Both were read together: only the question was carried out, and the command is sent again.
/// Nothing is guessed from times, and no command can be lost or carried out twice. The delay of the
/// question only decides about the speed; see Pacing.
class Connection : public QObject
{
    Q_OBJECT

public:
    using Done = std::function<void(const Outcome &)>;
    /// The bytes of the file that are sent so far, and all of them.
    using Progress = std::function<void(quint64 sent, quint64 total)>;

    explicit Connection(QObject *parent = nullptr);
    ~Connection() override;

    /// How long each request may take, from when it is sent.
    void setTimeout(std::chrono::milliseconds limit) { timeout = limit; }

    /// opened() or lost() follows.
    void open(const QString &host, quint16 port);
    bool isOpen() const { return socket.state() == QAbstractSocket::ConnectedState; }
    /// Whether the peer has answered, which proves that it is a server.
    bool hasAnswered() const { return isAnswered; }
    /// The system's descriptor of the connection; -1 if it is not open.
    qintptr descriptor() const { return socket.socketDescriptor(); }

    void send(const Request &request, Done done);
    /// Sends the announcement, which is a request, and once the server is ready the next `size`
    /// bytes of the body. Done once the server has stored all of them; lost if the body holds
    /// fewer. If the file grows, the bytes beyond the announced size are not sent: the server would
    /// read them as tokens.
    void sendFile(const QByteArray &announcement, quint64 tag, std::shared_ptr<QIODevice> body,
                  quint64 size, Progress progress, Done done);
    /// A tag for the announcement of the file that is sent next.
    quint64 nextTag() { return ++lastTag; }
    /// Ends the current request and those that wait. The connection is closed, because the server
    /// keeps waiting for the rest of the request.
    void cancel();

signals:
    void opened();
    /// The connection could not be made, or has ended.
    void lost(const QString &problem);

private:
    struct Exchange;

    void startNext();
    void write();
    void askLater();
    void ask();
    void receive();
    void handle(const Answer &answer);
    void handleConfirmation(const Answer &answer);
    void handleFileAnswer(const Answer &answer);
    void pumpBody();
    void finish(Outcome::Kind kind, const QString &problem, const Answer &answer = {});
    void fail(const QString &problem);

    QTcpSocket socket;
    AnswerReader reader;
    Pacing pacing;
    std::chrono::milliseconds timeout{10'000};
    std::deque<std::unique_ptr<Exchange>> waiting;
    std::unique_ptr<Exchange> current;
    quint64 lastTag = 0;
    QTimer deadline;
    QTimer patience; // until a request without an answer is sent again
    QTimer gap;      // between a command and its question
    bool isLost = false;
    bool isAnswered = false;
};

} // namespace quillmote
