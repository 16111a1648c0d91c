// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/SessionMessage.h"
#include "lib/SessionReader.h"

#include <QJsonObject>
#include <QLocalSocket>
#include <QObject>
#include <QStringList>
#include <QTimer>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>

class QIODevice;

namespace quillmote {

/// What a server says of itself.
struct SessionGreeting
{
    QString server;
    QString version;
    QString name;     ///< by which the network finds it
    quint16 port = 0; ///< for tokens
    QStringList can;  ///< what its desktop can do
};

/// The end of a request.
struct SessionOutcome
{
    enum class Kind {
        Done,     ///< carried out
        Refused,  ///< the server says why not
        Unsent,   ///< it cannot be sent, or its file cannot be read
        TimedOut, ///< not answered in time; the connection is closed
        Lost,     ///< the connection has ended, or the server sent something else than an answer
    };
    Kind kind = Kind::Done;
    QJsonObject fields; ///< of the answer
    QByteArray body;
    QString error;   ///< the server's word for programs if it refused
    QString problem; ///< a sentence for the user; empty when done

    bool isDone() const { return kind == Kind::Done; }
};

/// A connection to the server of this desktop by its session socket. Requests are sent at once and
/// answered in their order; a caller need not wait for one before it sends the next. The callback
/// of each is called exactly once, from the event loop.
class SessionConnection : public QObject
{
    Q_OBJECT

public:
    using Done = std::function<void(const SessionOutcome &)>;
    /// The bytes of the file that the server has, and all of them.
    using Progress = std::function<void(quint64 received, quint64 total)>;

    /// How often to ping while something is held: the server releases what a silent client holds
    /// after ten seconds.
    static constexpr std::chrono::seconds pingPause{3};

    explicit SessionConnection(QObject *parent = nullptr);
    ~SessionConnection() override;

    /// How long to wait for the greeting and for each answer.
    void setTimeout(std::chrono::milliseconds limit) { timeout = limit; }

    /// opened() or lost() follows.
    void open(const QString &path);
    bool isOpen() const { return isGreeted && !isLost; }
    /// Whether nothing listens at the path, as opposed to something that does not greet.
    bool isNobodyThere() const { return nobodyThere; }
    /// Empty before opened().
    const SessionGreeting &greeting() const { return hello; }
    /// Whether the server has answered a request.
    bool hasAnswered() const { return isAnswered; }
    /// Requests that are not answered yet.
    size_t underWay() const { return waiting.size(); }

    void send(const SessionMessage &message, Done done);
    /// Sends the next `size` bytes of the body, a few pieces ahead of the answers. Done when the
    /// server has given the file its name, which is in the outcome. If the body holds fewer bytes,
    /// the server drops what has come.
    void sendFile(const QString &name, std::shared_ptr<QIODevice> body, quint64 size, bool isOpened,
                  Progress progress, Done done);
    /// Ends all requests and the connection.
    void cancel();

signals:
    void opened();
    /// The connection could not be made, or has ended.
    void lost(const QString &problem);
    /// Something that the server tells without being asked.
    void happened(const QJsonObject &event);

private:
    struct Waiting
    {
        qint64 id = 0;
        bool asksUser = false;
        Done done;
    };
    struct Upload;

    void receive();
    void handle(const SessionLine &line);
    void handleEvent(const QJsonObject &event);
    void handleAnswer(const SessionLine &line);
    void takeGreeting(const QJsonObject &event);
    void waitForNext();
    void pump(const std::shared_ptr<Upload> &upload);
    void sendPiece(const std::shared_ptr<Upload> &upload);
    void takeReceipt(const std::shared_ptr<Upload> &upload, const SessionOutcome &outcome);
    void endUpload(const std::shared_ptr<Upload> &upload, const SessionOutcome &outcome);
    void finishLater(Done done, const SessionOutcome &outcome);
    void fail(SessionOutcome::Kind kind, const QString &problem);

    QLocalSocket socket;
    SessionReader reader;
    SessionGreeting hello;
    std::chrono::milliseconds timeout{10'000};
    std::deque<Waiting> waiting;
    QTimer deadline;
    qint64 lastId = 0;
    bool isGreeted = false;
    bool isLost = false;
    bool isAnswered = false;
    bool nobodyThere = false;
};

} // namespace quillmote
