// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "net/AnswerQueue.h"
#include "net/DescriptorBudget.h"
#include "net/FileReceiver.h"
#include "net/MemoryBudget.h"
#include "net/StoredSize.h"
#include "net/TokenText.h"

#include <QAbstractSocket>
#include <QByteArray>
#include <QFile>
#include <QObject>

#include <memory>

class QTcpSocket;
struct ConnectionResources;

/// One accepted connection of a handheld: turns what arrives into entries of the token map, sends
/// the map back as the answer, and receives files.
///
/// One read of the socket is one token: there is no other framing. A read takes all that has
/// arrived, in token mode 1 MiB at most. In token mode a chunk that cannot be read as a token is
/// dropped without an answer. In file mode, from setFileToTransfer() until more bytes than
/// announced have arrived, every chunk goes into the file.
///
/// Deletes itself when the peer has disconnected. A slot of tokenAvailable() that runs an event
/// loop must guard it with a QPointer.
class ClientHandler : public QObject
{
    Q_OBJECT

public:
    /// Does not own the socket, which must outlive this object. So must the resources, which all
    /// connections of a server share; without them the connection creates its own.
    explicit ClientHandler(QTcpSocket *socket, ConnectionResources *resources = nullptr);
    ~ClientHandler() override;

    /// Requests and answers. It is never cleared, and every answer sends all of it.
    TokenMap token;
    /// What the device at the other end calls itself; empty until it asked to be paired.
    QString deviceName;

    /// By design: does nothing. The server sends the answers to pairing requests.
    void acceptPair(bool accepted);
    /// Reads the receive buffer into the map; false when it holds no token.
    bool parseToken();
    QString packageToken() const;
    /// Sends the whole map. A peer that has left too many answers unread is disconnected instead.
    /// While a long answer is being sent, nothing more is read from the peer.
    void sendToken();
    /// Accounts for a text that an answer has put into the map.
    void holdText(std::shared_ptr<const SharedText> text);
    /// Switches to file mode: what arrives next is appended to the named file in the download
    /// directory until more than `size` bytes have been written. If the file cannot be opened, or
    /// would be outside the directory, nothing is written and the transfer does not end.
    void setFileToTransfer(QString fileName, quint64 size);

    /// Stops reading from the peer until resumeReading() has been called equally often. Until then
    /// its data waits in the system, and its disconnection goes unnoticed.
    void pauseReading();
    void resumeReading();

signals:
    /// A chunk was read as a token and is in the map.
    void tokenAvailable();
    /// A file has arrived; `filename` is its full path.
    void showFile(QString filename);

private slots:
    void disconnected();
    void readyRead();
    void socketError(QAbstractSocket::SocketError error);

private:
    void beginLongRead();
    bool continueLongRead();
    void handleChunk(bool isToken);
    bool isToken(const TokenText::Reading &reading) const;
    void storeEntry(const QString &key, const QVariant &value);
    void finishFile();
    void limitNextRead();
    void updateAccount();
    void closeConnection(const QString &reason);
    void giveUpMemory();
    void disposeStore();
    bool isReadingPaused() const { return pauses > 0; }

    struct LongRead;

    QTcpSocket *socket;
    QByteArray receiveBuffer; // empty between two reads
    QString filePath;         // empty in token mode
    quint64 fileSize = 0;
    qint64 bytesRemaining = 0; // below zero once more than announced was written
    QFile file;
    StoredSize storedSize;
    std::unique_ptr<ConnectionResources> ownResources;
    ConnectionResources *resources;
    AnswerQueue answers;
    MemoryAccount account;
    DescriptorBudget::Lease socketLease;
    FileReceiver receiver;              // works on the four fields of the file
    std::unique_ptr<LongRead> longRead; // a token that is being parsed
    int pauses = 0;                     // of reading
    bool hasPeerLeft = false;           // while reading was paused
    bool isGivenUp = false;             // to free memory
};
