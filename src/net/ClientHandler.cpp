// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/ClientHandler.h"

#include "messages/Messages.h"
#include "net/ConnectionResources.h"
#include "platform/Sockets.h"

#include <QDebug>
#include <QPointer>
#include <QTcpSocket>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// The answers that a peer may leave unread, in bytes. With more, the next answer closes the
/// connection.
constexpr qint64 maximumUnsent = 4 * 1024 * 1024;

/// What a connection in token mode may leave unread in this process, in bytes. This much is parsed
/// at once; longer chunks are parsed in turns with other connections.
constexpr qint64 shortReadSize = 8 * 1024;

/// The most that one read takes as a token, in bytes. The system may hold 32 MiB.
constexpr qint64 longReadSize = 1024 * 1024;

/// What is parsed in one turn, in characters: less than a millisecond of work.
constexpr qsizetype turnEffort = 64 * 1024;

/// A store of this size, in bytes, is freed at once; a larger one in steps.
constexpr qsizetype smallStore = 256 * 1024;

QString nameOf(QAbstractSocket::SocketError error)
{
    QString name;
    QDebug(&name).nospace() << error;
    return name;
}

} // namespace

struct ClientHandler::LongRead
{
    explicit LongRead(const QByteArray &bytes) : chunk(bytes), reader(chunk) {}

    QByteArray chunk;
    TokenText::Reader reader;
};

ClientHandler::ClientHandler(QTcpSocket *acceptedSocket, ConnectionResources *sharedResources)
    : socket(acceptedSocket)
    , ownResources(sharedResources == nullptr ? std::make_unique<ConnectionResources>() : nullptr)
    , resources(sharedResources == nullptr ? ownResources.get() : sharedResources)
    , answers(socket, &resources->writingTurns, nullptr)
    , account(resources->memory, socket->peerAddress(), [this] { giveUpMemory(); })
    , socketLease(resources->descriptors)
    , receiver(filePath, fileSize, bytesRemaining, file, resources->descriptors)
{
    connect(&answers, &AnswerQueue::filled, this, [this] { pauseReading(); });
    connect(&answers, &AnswerQueue::emptied, this, [this] { resumeReading(); });
    connect(socket, &QIODevice::bytesWritten, this, [this] { updateAccount(); });
    connect(socket, SIGNAL(disconnected()), this, SLOT(disconnected()));
    // Queued, so that the socket is not emitting a signal while a token is carried out: the pairing
    // dialog runs an event loop then, in which this peer's next tokens must be read as well and in
    // which the socket may be deleted.
    connect(socket, SIGNAL(readyRead()), this, SLOT(readyRead()), Qt::QueuedConnection);
    connect(socket, SIGNAL(errorOccurred(QAbstractSocket::SocketError)), this,
            SLOT(socketError(QAbstractSocket::SocketError)));
    limitNextRead();
}

ClientHandler::~ClientHandler()
{
    disposeStore();
}

void ClientHandler::acceptPair(bool accepted)
{
    [[maybe_unused]] const QString response = accepted ? u"OK"_s : u"ERROR"_s;
}

bool ClientHandler::parseToken()
{
    return isToken(
        TokenText::read(receiveBuffer, [this](const QString &key, const QVariant &value) {
            storeEntry(key, value);
        }));
}

bool ClientHandler::isToken(const TokenText::Reading &reading) const
{
    switch (reading.result) {
    case TokenText::ReadResult::NotAToken:
        return false;
    case TokenText::ReadResult::Reversed:
        Messages::debug({u"Bad token : "_s, Messages::quoted(reading.text)});
        return false;
    case TokenText::ReadResult::TokenWithPrefix:
        Messages::debug({u"Fix token..."_s});
        return true;
    case TokenText::ReadResult::Token:
        return true;
    }
    return false;
}

QString ClientHandler::packageToken() const
{
    return TokenText::write(token);
}

void ClientHandler::sendToken()
{
    if (socket->bytesToWrite() > maximumUnsent || answers.isFull()) {
        closeConnection(u"The device does not read its answers."_s);
        return;
    }
    if (socket->state() == QAbstractSocket::ConnectedState) {
        answers.send(token);
        updateAccount();
    }
}

void ClientHandler::holdText(std::shared_ptr<const SharedText> text)
{
    account.setText(std::move(text));
}

void ClientHandler::setFileToTransfer(QString fileName, quint64 size)
{
    receiver.begin(fileName, size);
    limitNextRead();
}

void ClientHandler::disconnected()
{
    // What the peer sent before it left is still carried out. A socket that was closed on this side
    // has no more data.
    if (isReadingPaused() && socket->isOpen()) {
        hasPeerLeft = true;
        if (!answers.isEmpty()) {
            answers.clear();
            resumeReading();
        }
        return;
    }
    answers.clear();
    Messages::warning({u"Device Disconnected"_s});
    deleteLater();
}

void ClientHandler::readyRead()
{
    if (isReadingPaused()) {
        return;
    }
    if (!receiver.isReceiving() && socket->bytesAvailable() >= shortReadSize) {
        beginLongRead();
        return;
    }
    // Assigned, not appended: if this call runs inside the dispatch of an earlier token, that token
    // has already been parsed.
    receiveBuffer = socket->isOpen() ? socket->read(socket->bytesAvailable()) : QByteArray();
    handleChunk(!receiver.isReceiving() && parseToken());
}

void ClientHandler::handleChunk(bool isToken)
{
    const QPointer<ClientHandler> self(this);
    if (isToken) {
        updateAccount();
        if (storedSize.isTooMuch()) {
            closeConnection(u"The device has stored too much."_s);
        }
        if (!socket->isOpen()) {
            return;
        }
        emit tokenAvailable();
        if (self.isNull()) {
            return;
        }
    }
    // By design: checked again, since the dispatch may just have begun a file. The file's first
    // bytes are those of the request.
    if (receiver.isReceiving() && !receiveBuffer.isEmpty()) {
        if (receiver.write(receiveBuffer)) {
            finishFile();
        }
        limitNextRead();
    }
    receiveBuffer.clear();
}

void ClientHandler::beginLongRead()
{
    pauseReading();
    resources->readingTurns.enter(this, [this] { return continueLongRead(); });
}

bool ClientHandler::continueLongRead()
{
    if (isGivenUp) {
        return false;
    }
    if (!longRead) {
        // Everything that has arrived by now. The socket's buffer holds only its beginning.
        QByteArray chunk = socket->isOpen() ? socket->read(longReadSize) : QByteArray();
        chunk += platform::takeArrived(socket->socketDescriptor(), longReadSize - chunk.size());
        longRead = std::make_unique<LongRead>(chunk);
        updateAccount();
        return true;
    }
    const auto store = [this](const QString &key, const QVariant &value) {
        storeEntry(key, value);
    };
    const bool isMoreLeft = longRead->reader.readSome(turnEffort, store);
    updateAccount();
    if (isGivenUp) {
        return false;
    }
    if (isMoreLeft && !storedSize.isTooMuch()) {
        return true;
    }
    const auto ended = std::move(longRead);
    receiveBuffer = ended->chunk;
    resumeReading();
    handleChunk(isToken(ended->reader.reading()));
    return false;
}

void ClientHandler::pauseReading()
{
    ++pauses;
}

void ClientHandler::resumeReading()
{
    --pauses;
    // From the event loop: the caller may be dispatching a token.
    QMetaObject::invokeMethod(
        this,
        [this] {
            readyRead();
            if (hasPeerLeft && !isReadingPaused()) {
                disconnected();
            }
        },
        Qt::QueuedConnection);
}

void ClientHandler::socketError(QAbstractSocket::SocketError error)
{
    Messages::debug({tr("Socket error: "), nameOf(error)});
}

void ClientHandler::storeEntry(const QString &key, const QVariant &value)
{
    if (!storedSize.isTooMuch()) {
        token.insert(key, value);
        storedSize.store(key, value);
    }
}

void ClientHandler::finishFile()
{
    receiver.close();
    emit showFile(receiver.path());
    receiver.end();
    token.insert(u"serverResponse"_s, u"OK"_s);
    sendToken();
}

void ClientHandler::limitNextRead()
{
    socket->setReadBufferSize(receiver.isReceiving() ? receiver.readLimit() : shortReadSize);
}

void ClientHandler::updateAccount()
{
    qsizetype memory = storedSize.memory() + socket->bytesToWrite();
    if (longRead) {
        memory += longRead->reader.memory();
    }
    account.set(memory);
}

void ClientHandler::closeConnection(const QString &reason)
{
    Messages::debug({reason});
    receiveBuffer.clear();
    answers.clear();
    socket->abort();
}

void ClientHandler::disposeStore()
{
    if (storedSize.memory() > smallStore) {
        resources->dispose(std::exchange(token, {}));
    }
    token.clear();
    storedSize = {};
}

/// All connections together hold too much, and this one holds most. One of its own steps may be
/// running.
void ClientHandler::giveUpMemory()
{
    isGivenUp = true;
    account.close();
    disposeStore();
    longRead.reset();
    closeConnection(u"All devices together have stored too much, and this one most of it."_s);
}
