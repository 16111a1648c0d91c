// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSize>
#include <QStringList>
#include <QVariant>

#include <optional>

/// A plain model of what one connection after another should do with what it reads: the connection,
/// the commands, the clipboard. The model stores received files in its own folder, which must equal
/// the real one in the end.
class ConnectionModel
{
public:
    using Map = QHash<QString, QVariant>;

    /// The limit of waiting bytes at which a connection that does not read its answers is closed.
    static constexpr qint64 mostUnsent = 4 * 1024 * 1024;
    /// The size of the pieces in which a file is read while its end is far away.
    static constexpr qint64 filePiece = 256 * 1024;
    /// The most that is read as one token, and how much of it the connection itself may hold.
    static constexpr qint64 tokenPiece = 1024 * 1024;
    static constexpr qint64 heldPiece = 8 * 1024;
    /// Addresses and files that are opened at once, over all connections.
    static constexpr int mostOpenings = 50;

    /// What the server has done; emptied by the comparison.
    struct Deeds
    {
        int announcedTokens = 0;
        size_t calls = 0; ///< of the event services
        QStringList shownFiles;
        QStringList openedAddresses;
        QStringList messages;
        QList<Map> answers;
    };

    /// `realDirectory` is named in messages; `ownDirectory` is written to. Their paths must be of
    /// one length.
    ConnectionModel(QString realDirectory, QString ownDirectory, QSize desktopSize);
    ~ConnectionModel();
    ConnectionModel(const ConnectionModel &) = delete;
    ConnectionModel &operator=(const ConnectionModel &) = delete;

    /// Replaces the earlier connection, which must have ended.
    void begin();
    void leave();
    /// Whether the connection is waiting for the clipboard and not being read.
    bool isWaiting() const { return waitsForClipboard; }
    /// Bytes that arrive at once. The socket delivers them in pieces.
    void receive(const QByteArray &bytes);
    /// A connection that waits for the clipboard gets its text.
    void answerWaiting(const QString &clipboardText);
    /// Reads what arrived while it waited, if it no longer waits.
    void readOn();

    bool isReceivingFile() const { return !path.isEmpty(); }
    /// The limit that the connection sets to one read; 0 for none.
    qint64 readLimit() const;

    bool hasTouchedFiles() const { return fileCount > 0; }
    int pairedDevices() const { return deviceCount; }

    Deeds deeds;
    Map token;
    QString deviceName;
    bool isOpen = false;
    qint64 unsent = 0; ///< bytes that the peer has not read
    bool isClipboardSlow = false;

private:
    bool readToken(const QByteArray &bytes);
    void dispatch();
    void pair();
    void openAddress();
    void hand(const QString &address);
    void takeText();
    void startFile();
    void reportSize();
    void typeKeys();
    void useMouse();
    void answerClipboard(const std::optional<QString> &text);
    void answer(const QString &response);
    void writeToFile(const QByteArray &bytes);
    void finishFile();
    void openFile(const QString &name);
    void closeFile();
    void end();

    QString text(const QString &key) const;
    QStringList list(const QString &key) const;

    QString realDirectory;
    QString ownDirectory;
    QSize desktopSize;
    QString path; // empty in token mode
    qint64 remaining = 0;
    int descriptor = -1;
    std::optional<QString> clipboard;
    int fileCount = 0; // announced so far
    int deviceCount = 0;
    int openings = 0;
    bool waitsForClipboard = false;
    bool hasPeerLeft = false; // while it waited
    QByteArray unread;        // what came meanwhile
};
