// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/SessionConnection.h"

#include <QIODevice>
#include <QJsonArray>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

using namespace std::chrono_literals;
using Kind = SessionOutcome::Kind;

/// Bytes taken from the socket at once. The rest waits there, however fast the server sends.
constexpr qint64 answersReadAhead = 1024 * 1024;
/// A piece of a file, and how many are sent ahead of the answers.
constexpr qint64 filePieceSize = 512 * 1024;
constexpr int piecesAhead = 4;
/// A person needs longer than a program.
constexpr std::chrono::milliseconds timeToConsent = 120s;

QStringList textsIn(const QJsonArray &array)
{
    QStringList texts;
    for (const auto &value : array) {
        texts += value.toString();
    }
    return texts;
}

SessionOutcome outcomeOf(const SessionLine &line)
{
    const QJsonObject &answer = line.object;
    if (answer.value("ok"_L1).toBool()) {
        return {Kind::Done, answer, line.body, {}, {}};
    }
    const QString message = answer.value("message"_L1).toString();
    return {Kind::Refused,
            answer,
            {},
            answer.value("error"_L1).toString(),
            message.isEmpty() ? u"The server refused."_s : message};
}

} // namespace

/// A file on its way to the server.
struct SessionConnection::Upload
{
    std::shared_ptr<QIODevice> body;
    quint64 size = 0;
    Progress progress;
    Done done; // empty when it has ended
    QJsonValue file;
    quint64 sent = 0;
    int ahead = 0; // pieces that are not answered yet
};

SessionConnection::SessionConnection(QObject *parent) : QObject(parent)
{
    deadline.setSingleShot(true);
    socket.setReadBufferSize(answersReadAhead);
    connect(&socket, &QLocalSocket::readyRead, this, &SessionConnection::receive);
    connect(&socket, &QLocalSocket::errorOccurred, this, [this](QLocalSocket::LocalSocketError) {
        receive(); // what it has said before, such as a farewell
        nobodyThere = !isGreeted && socket.error() != QLocalSocket::PeerClosedError;
        fail(Kind::Lost, isGreeted ? u"The server has ended the session."_s : socket.errorString());
    });
    connect(&deadline, &QTimer::timeout, this,
            [this] { fail(Kind::TimedOut, u"The server did not answer in time."_s); });
}

SessionConnection::~SessionConnection()
{
    // The signals of its end are not of interest any more.
    socket.disconnect(this);
}

void SessionConnection::open(const QString &path)
{
    deadline.start(timeout);
    socket.connectToServer(path);
}

void SessionConnection::cancel()
{
    fail(Kind::Lost, u"Cancelled."_s);
}

void SessionConnection::send(const SessionMessage &message, Done done)
{
    const QByteArray line = message.line(++lastId);
    if (!isOpen()) {
        finishLater(std::move(done),
                    {Kind::Lost, {}, {}, {}, u"The connection to the server is lost."_s});
        return;
    }
    if (std::max(line.size() - 1, message.body.value_or(QByteArray()).size()) >
        longestSessionPart) {
        finishLater(std::move(done), {Kind::Unsent, {}, {}, {}, u"It is too long to be sent."_s});
        return;
    }
    waiting.push_back({lastId, message.asksUser, std::move(done)});
    if (waiting.size() == 1) {
        waitForNext();
    }
    socket.write(line);
    if (message.body) {
        socket.write(*message.body);
    }
}

void SessionConnection::waitForNext()
{
    if (waiting.empty()) {
        deadline.stop();
    } else {
        deadline.start(waiting.front().asksUser ? std::max(timeout, timeToConsent) : timeout);
    }
}

void SessionConnection::receive()
{
    while (!isLost && socket.bytesAvailable() > 0) {
        reader.append(socket.read(answersReadAhead));
        while (const auto line = reader.take()) {
            handle(*line);
            if (isLost) {
                return;
            }
        }
        if (reader.isGarbage()) {
            fail(Kind::Lost, u"What the server sent is not an answer."_s);
        }
    }
}

void SessionConnection::handle(const SessionLine &line)
{
    if (line.object.contains("event"_L1)) {
        handleEvent(line.object);
    } else {
        handleAnswer(line);
    }
}

void SessionConnection::handleEvent(const QJsonObject &event)
{
    const QString name = event.value("event"_L1).toString();
    if (name == "goodbye"_L1) {
        fail(Kind::Lost, event.value("message"_L1).toString());
    } else if (name == "hello"_L1 && !isGreeted) {
        takeGreeting(event);
    } else if (isGreeted) {
        emit happened(event);
    }
}

void SessionConnection::takeGreeting(const QJsonObject &event)
{
    if (event.value("protocol"_L1).toInteger() < 1) {
        fail(Kind::Lost, u"What listens there is not VornaServer."_s);
        return;
    }
    hello = {event.value("server"_L1).toString(), event.value("version"_L1).toString(),
             event.value("name"_L1).toString(),
             static_cast<quint16>(event.value("port"_L1).toInt()),
             textsIn(event.value("can"_L1).toArray())};
    isGreeted = true;
    deadline.stop();
    emit opened();
}

void SessionConnection::handleAnswer(const SessionLine &line)
{
    if (waiting.empty() || line.object.value("id"_L1) != QJsonValue(waiting.front().id)) {
        fail(Kind::Lost, u"What the server sent answers nothing that was asked."_s);
        return;
    }
    const Waiting answered = std::move(waiting.front());
    waiting.pop_front();
    isAnswered = true;
    waitForNext();
    if (answered.done) {
        answered.done(outcomeOf(line));
    }
}

void SessionConnection::sendFile(const QString &name, std::shared_ptr<QIODevice> body, quint64 size,
                                 bool isOpened, Progress progress, Done done)
{
    auto upload = std::make_shared<Upload>();
    upload->body = std::move(body);
    upload->size = size;
    upload->progress = std::move(progress);
    upload->done = std::move(done);
    send(SessionMessage::beginFile(name, static_cast<qint64>(size), isOpened),
         [this, upload](const SessionOutcome &outcome) {
             if (!outcome.isDone() || outcome.fields.value("complete"_L1).toBool()) {
                 endUpload(upload, outcome);
                 return;
             }
             upload->file = outcome.fields.value("file"_L1);
             pump(upload);
         });
}

/// An empty file is one empty piece.
void SessionConnection::pump(const std::shared_ptr<Upload> &upload)
{
    const bool isEmpty = upload->size == 0;
    if (isEmpty && upload->ahead == 0) {
        sendPiece(upload);
    }
    while (upload->done && upload->ahead < piecesAhead && upload->sent < upload->size) {
        sendPiece(upload);
    }
}

void SessionConnection::sendPiece(const std::shared_ptr<Upload> &upload)
{
    const quint64 left = upload->size - upload->sent;
    const QByteArray piece =
        upload->body->read(static_cast<qint64>(std::min<quint64>(filePieceSize, left)));
    if (piece.isEmpty() && left > 0) {
        send(SessionMessage::cancelFile(upload->file), {});
        endUpload(upload,
                  {Kind::Unsent,
                   {},
                   {},
                   {},
                   upload->body->atEnd()
                       ? u"The file has become shorter while it was sent."_s
                       : u"The file cannot be read: %1."_s.arg(upload->body->errorString())});
        return;
    }
    upload->sent += static_cast<quint64>(piece.size());
    ++upload->ahead;
    send(SessionMessage::filePiece(upload->file, piece),
         [this, upload](const SessionOutcome &outcome) { takeReceipt(upload, outcome); });
}

void SessionConnection::takeReceipt(const std::shared_ptr<Upload> &upload,
                                    const SessionOutcome &outcome)
{
    --upload->ahead;
    if (!upload->done) {
        return;
    }
    if (!outcome.isDone() || outcome.fields.value("complete"_L1).toBool()) {
        endUpload(upload, outcome);
        return;
    }
    if (upload->progress) {
        const qint64 received = outcome.fields.value("received"_L1).toInteger();
        upload->progress(static_cast<quint64>(std::max<qint64>(received, 0)), upload->size);
    }
    if (upload->ahead == 0 && upload->sent == upload->size) {
        endUpload(upload, {Kind::Lost, {}, {}, {}, u"The server did not complete the file."_s});
        return;
    }
    pump(upload);
}

void SessionConnection::endUpload(const std::shared_ptr<Upload> &upload,
                                  const SessionOutcome &outcome)
{
    const Done done = std::exchange(upload->done, {});
    if (done) {
        done(outcome);
    }
}

void SessionConnection::finishLater(Done done, const SessionOutcome &outcome)
{
    QMetaObject::invokeMethod(
        this,
        [done = std::move(done), outcome] {
            if (done) {
                done(outcome);
            }
        },
        Qt::QueuedConnection);
}

void SessionConnection::fail(Kind kind, const QString &problem)
{
    if (isLost) {
        return;
    }
    isLost = true;
    deadline.stop();
    socket.abort();
    const auto ended = std::exchange(waiting, {});
    for (const Waiting &request : ended) {
        if (request.done) {
            request.done({kind, {}, {}, {}, problem});
        }
    }
    emit lost(problem);
}

} // namespace quillmote
