// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/Connection.h"

#include "lib/RequestWriter.h"

#include <QIODevice>

#include <algorithm>
#include <thread>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

/// Bytes handed to the socket ahead of the network.
constexpr qint64 bodyAhead = 1024 * 1024;
constexpr qint64 bodyPiece = 256 * 1024;
/// Bytes taken from the network at once. The rest waits there, however fast the server sends.
constexpr qint64 readAhead = 1024 * 1024;
/// A person needs longer than a program.
constexpr auto timeToDecide = 120s;
/// When a repeatable request is sent again.
constexpr auto repeatAfter = 1'000ms;

/// The shortest time of a timer. For shorter times the thread sleeps, which leaves the processor to
/// a server on the same machine.
constexpr auto shortestTimer = 2ms;

QString readyForFile()
{
    return u"START_BINARY_TRANSFER"_s;
}

} // namespace

/// One request, from send() to its callback.
struct Connection::Exchange
{
    Request request;
    Done done;
    QByteArray announcement; // for a file: sent instead of the request
    std::shared_ptr<QIODevice> body;
    Progress progress;
    quint64 tag = 0; // of the latest try; only its answer ends the exchange
    quint64 bodySize = 0;
    quint64 bodySent = 0;
    quint64 bodyGone = 0; // of those, the bytes that have left for the network
    bool isSendingBody = false;
};

Connection::Connection(QObject *parent) : QObject(parent)
{
    deadline.setSingleShot(true);
    patience.setSingleShot(true);
    gap.setSingleShot(true);
    gap.setTimerType(Qt::PreciseTimer);
    socket.setReadBufferSize(readAhead);
    connect(&socket, &QTcpSocket::connected, this, [this] {
        deadline.stop();
        socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        emit opened();
        startNext();
    });
    connect(&socket, &QTcpSocket::readyRead, this, &Connection::receive);
    connect(&socket, &QTcpSocket::bytesWritten, this, &Connection::pumpBody);
    connect(&socket, &QTcpSocket::errorOccurred, this, [this] { fail(socket.errorString()); });
    connect(&deadline, &QTimer::timeout, this, [this] {
        if (current) {
            finish(Outcome::Kind::TimedOut, u"The server did not answer in time."_s);
        }
        // An answer that still comes could be taken for the answer to a later request.
        fail(u"The server did not react in time."_s);
    });
    connect(&patience, &QTimer::timeout, this, &Connection::write);
    connect(&gap, &QTimer::timeout, this, &Connection::ask);
}

Connection::~Connection()
{
    // The signals of its end are not of interest any more.
    socket.disconnect(this);
}

void Connection::open(const QString &host, quint16 port)
{
    isLost = false;
    deadline.start(timeout);
    socket.connectToHost(host, port);
}

void Connection::cancel()
{
    fail(u"Cancelled."_s);
}

void Connection::send(const Request &request, Done done)
{
    auto exchange = std::make_unique<Exchange>();
    exchange->request = request;
    exchange->done = std::move(done);
    waiting.push_back(std::move(exchange));
    // From the event loop, so that no callback is called before this returns.
    QMetaObject::invokeMethod(this, &Connection::startNext, Qt::QueuedConnection);
}

void Connection::sendFile(const QByteArray &announcement, quint64 tag,
                          std::shared_ptr<QIODevice> body, quint64 size, Progress progress,
                          Done done)
{
    auto exchange = std::make_unique<Exchange>();
    exchange->announcement = announcement;
    exchange->tag = tag;
    exchange->bodySize = size;
    exchange->body = std::move(body);
    exchange->progress = std::move(progress);
    exchange->done = std::move(done);
    waiting.push_back(std::move(exchange));
    QMetaObject::invokeMethod(this, &Connection::startNext, Qt::QueuedConnection);
}

void Connection::startNext()
{
    if (current || waiting.empty()) {
        return;
    }
    if (isLost) {
        current = std::move(waiting.front());
        waiting.pop_front();
        finish(Outcome::Kind::Lost, u"The connection to the server is lost."_s);
        return;
    }
    if (!isOpen()) {
        return;
    }
    current = std::move(waiting.front());
    waiting.pop_front();
    deadline.start(current->request.asksUser ? std::max<milliseconds>(timeout, timeToDecide)
                                             : timeout);
    write();
}

void Connection::write()
{
    Exchange &exchange = *current;
    if (!exchange.announcement.isEmpty()) {
        socket.write(exchange.announcement);
        return;
    }
    exchange.tag = nextTag();
    const WrittenRequest written = writeRequest(exchange.request, exchange.tag);
    if (written.isRefused()) {
        finish(Outcome::Kind::Refused, written.refusal);
        return;
    }
    socket.write(written.bytes);
    // The gap begins when the bytes have left. If the connection ends here, so does the exchange.
    socket.flush();
    if (!current) {
        return;
    }
    if (!exchange.request.isAnswered) {
        askLater();
    } else if (exchange.request.isRepeatable) {
        patience.start(repeatAfter);
    }
}

void Connection::askLater()
{
    if (pacing.gap() < shortestTimer) {
        std::this_thread::sleep_for(pacing.gap());
        ask();
    } else {
        gap.start(std::chrono::ceil<milliseconds>(pacing.gap()));
    }
}

void Connection::ask()
{
    socket.write(writeQuestion(current->tag));
    socket.flush();
}

void Connection::receive()
{
    reader.append(socket.readAll());
    // A server may send answers without end that finish no request.
    while (deadline.remainingTime() != 0) {
        const std::optional<Answer> answer = reader.take();
        if (!answer) {
            break;
        }
        handle(*answer);
    }
    if (reader.isGarbage()) {
        fail(u"What the server sent is not an answer."_s);
    }
}

void Connection::handle(const Answer &answer)
{
    if (!current) {
        return;
    }
    if (!current->request.isAnswered) {
        handleConfirmation(answer);
    } else if (!answer.holds(current->tag)) {
        // An older tag belongs to a request that has been sent again, or given up.
        return;
    } else if (current->body) {
        handleFileAnswer(answer);
    } else {
        finish(Outcome::Kind::Done, QString(), answer);
    }
}

void Connection::handleConfirmation(const Answer &answer)
{
    switch (answer.confirmation(current->tag)) {
    case Confirmation::None:
        break;
    case Confirmation::CarriedOut:
        pacing.noteReadApart();
        finish(Outcome::Kind::Done, QString(), answer);
        break;
    case Confirmation::NotCarriedOut:
        pacing.noteReadTogether();
        write();
        break;
    }
}

void Connection::handleFileAnswer(const Answer &answer)
{
    if (answer.response() == readyForFile()) {
        current->isSendingBody = true;
        pumpBody();
    } else {
        finish(Outcome::Kind::Done, QString(), answer);
    }
}

void Connection::pumpBody()
{
    if (!current || !current->isSendingBody) {
        return;
    }
    while (socket.bytesToWrite() < bodyAhead && current->bodySent < current->bodySize) {
        const quint64 left = current->bodySize - current->bodySent;
        const QByteArray piece =
            current->body->read(static_cast<qint64>(std::min<quint64>(bodyPiece, left)));
        if (piece.isEmpty()) {
            fail(current->body->atEnd()
                     ? u"The file has become shorter while it was sent."_s
                     : u"The file cannot be read: %1."_s.arg(current->body->errorString()));
            return;
        }
        socket.write(piece);
        current->bodySent += static_cast<quint64>(piece.size());
    }
    const quint64 gone = current->bodySent - static_cast<quint64>(socket.bytesToWrite());
    // As long as bytes leave there is no reason to give up, whatever the server says meanwhile.
    if (gone > std::exchange(current->bodyGone, gone)) {
        deadline.start(timeout);
    }
    if (current->progress) {
        current->progress(gone, current->bodySize);
    }
}

void Connection::finish(Outcome::Kind kind, const QString &problem, const Answer &answer)
{
    deadline.stop();
    patience.stop();
    gap.stop();
    isAnswered = isAnswered || kind == Outcome::Kind::Done;
    const std::unique_ptr<Exchange> ended = std::move(current);
    if (ended->done) {
        ended->done({kind, answer, problem});
    }
    QMetaObject::invokeMethod(this, &Connection::startNext, Qt::QueuedConnection);
}

void Connection::fail(const QString &problem)
{
    if (isLost) {
        return;
    }
    isLost = true;
    deadline.stop();
    socket.abort();
    if (current) {
        finish(Outcome::Kind::Lost, problem);
    }
    startNext();
    emit lost(problem);
}

} // namespace quillmote
