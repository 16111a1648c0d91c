// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/http/Computers.h"
#include "web/http/HostCheck.h"
#include "web/http/HttpRequest.h"
#include "web/http/StaticFiles.h"
#include "web/http/WebListener.h"
#include "web/http/WebVisitor.h"

#include <QHostAddress>
#include <QObject>
#include <QSslCertificate>
#include <QSslKey>
#include <QStringList>
#include <QWebSocket>
#include <QWebSocketServer>

#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <vector>

namespace quillmote {

/// What the door shows to browsers that connect by https.
struct Certificate
{
    QList<QSslCertificate> chain; ///< its own first
    QSslKey key;
};

/// Where the door opens, and under which names.
struct WebDoorOptions
{
    quint16 port = 8642; ///< 0 takes a free one
    /// Where to listen, besides the loopback; all addresses if there are none.
    QList<QHostAddress> addresses;
    /// By which the computer can be reached, besides its own name and those of the certificate.
    QStringList hostNames;
    std::optional<Certificate> certificate;
};

/// Serves a few files to browsers, and hands out the WebSockets that their pages open at "/socket".
/// It answers only what is meant for this computer (HostCheck), and opens WebSockets only for its
/// own pages.
class WebDoor : public QObject
{
    Q_OBJECT

public:
    /// Connections before their upgrade or answer. Beyond it, the oldest one of the computer that
    /// has most gives way.
    static constexpr size_t mostVisitors = 256;
    /// The longest frame and the longest message of a WebSocket, in bytes.
    static constexpr quint64 longestMessage = 256 * 1024;
    /// Bytes that may wait for the peer of a WebSocket when it sends something. A peer that takes
    /// none but goes on sending, such as pings that have to be answered, is dropped.
    static constexpr qint64 mostUntaken = 4 * 1024 * 1024;

    explicit WebDoor(QObject *parent = nullptr, const WebPatience &limits = {});
    ~WebDoor() override;

    /// Empty, or why it cannot open, as a sentence. It may be opened again, also while it is open.
    QString open(const WebDoorOptions &options);
    /// Ends what has not been answered. WebSockets that were handed out stay.
    void close();
    bool isOpen() const { return !listeners.empty(); }
    /// The one port of all addresses; 0 while it is not open.
    quint16 port() const { return ownPort; }

    /// Another file of the same path is replaced.
    void addFile(const StaticFile &file) { files.add(file); }

    /// Takes a WebSocket that has just been opened, before anything was read from it. On the
    /// loopback both ends are on this computer. Delete it later, not within its own signals.
    std::function<void(std::unique_ptr<QWebSocket> socket, bool isLoopback)> onSocket;

private:
    QString listenAtAll(const WebDoorOptions &options);
    QString listenAt(const QHostAddress &address, bool isWanted);
    void admit(std::unique_ptr<QTcpSocket> socket);
    void dismiss(WebVisitor *visitor);
    HttpAnswer answer(const HttpRequest &request, const WebPassage &passage) const;
    HttpAnswer answerForSocket(const HttpRequest &request) const;
    void upgrade(QTcpSocket *socket);
    void handOut();

    WebPatience patience;
    StaticFiles files;
    HostCheck hosts;
    quint16 ownPort = 0;
    std::optional<QSslConfiguration> encryption;
    std::vector<std::unique_ptr<WebListener>> listeners;
    std::unique_ptr<QWebSocketServer> upgrader;
    struct Visit
    {
        WebVisitor *visitor;
        Computers::Share computer;
    };
    Computers computers;
    std::list<Visit> visits; // the oldest first
};

} // namespace quillmote
