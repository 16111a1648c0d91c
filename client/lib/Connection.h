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

/// How a request ended.
struct Outcome
{
    enum class Kind {
        Done,     ///< carried out; `answer` holds what the server said, if it answers such requests
        Refused,  ///< not sent: the wire cannot carry it
        TimedOut, ///< sent, and no answer came in time; the connection is closed
        Lost,     ///< the connection ended, or what came was no answer
    };
    Kind kind = Kind::Done;
    Answer answer;
    QString problem; ///< a sentence for the user; empty when done
};

/// A connection to one server. Requests are carried out one after the other, in the order in which
/// they were given; each one's callback is called exactly once, from the event loop.
///
/// The server takes what one read brings as one token, carries out only the last command in it, and
/// is silent about commands of input. So a question that is answered follows such a command, a
/// little later, and nothing else until its answer has come. The server sends each entry of every
/// token back, and the question's first entry comes back spoilt when the question did not begin a
/// read. So the answer proves one of two things:
/// - the question was read apart: then the command was the last of its read and carried out, once;
/// - both were read together: then only the question was, and the command is sent again.
/// Nothing is guessed from times, and neither can a command be lost nor carried out twice. How long
/// the question waits decides about speed only; see Pacing.
class Connection : public QObject
{
    Q_OBJECT

public:
    using Done = std::function<void(const Outcome &)>;
    /// Bytes of the file sent so far and in all.
    using Progress = std::function<void(quint64 sent, quint64 total)>;

    explicit Connection(QObject *parent = nullptr);
    ~Connection() override;

    /// How long each request may take, from when it is sent.
    void setTimeout(std::chrono::milliseconds limit) { timeout = limit; }

    /// opened() or lost() follows.
    void open(const QString &host, quint16 port);
    bool isOpen() const { return socket.state() == QAbstractSocket::ConnectedState; }
    /// Whether a server has answered, so that it is one.
    bool hasAnswered() const { return isAnswered; }
    /// The system's descriptor of the open connection; -1 when there is none.
    qintptr descriptor() const { return socket.socketDescriptor(); }

    void send(const Request &request, Done done);
    /// Sends the announcement, a request that announces a file, and once the server is ready the
    /// next `size` bytes of the body. Done when the server has stored all of them; lost when the
    /// body holds fewer. The announcement counts on the size, so what a growing file holds beyond
    /// it stays behind: the server would read it as tokens.
    void sendFile(const QByteArray &announcement, quint64 tag, std::shared_ptr<QIODevice> body,
                  quint64 size, Progress progress, Done done);
    /// A tag for an announcement of a file that is sent next.
    quint64 nextTag() { return ++lastTag; }
    /// Ends the request under way and those that wait; the connection is closed, since the server
    /// goes on waiting for the rest.
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
    QTimer patience; // for requests that may be sent again
    QTimer gap;
    bool isLost = false;
    bool isAnswered = false;
};

} // namespace quillmote
