// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/http/WebListener.h"

#include <QNetworkProxy>
#include <QSslSocket>
#include <QTimer>

#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

using namespace std::chrono_literals;

/// Connections that are accepted before the others have their turn.
constexpr int mostAcceptedInTurn = 16;
/// The toolkit's own number; here none ever waits in its queue.
constexpr int usualPending = 30;
/// Connections that the system completes before they are accepted. With fewer, a crowd that
/// connects at once would be delayed by a second and more.
constexpr int backlog = 512;
constexpr auto shortagePause = 1s;

QString sentenceOf(QAbstractSocket::SocketError error, const QString &text,
                   const QHostAddress &address, quint16 port)
{
    switch (error) {
    case QAbstractSocket::AddressInUseError:
        return u"Port %1 is in use by another program. Choose another one with --port."_s.arg(port);
    case QAbstractSocket::SocketAccessError:
        return u"Port %1 is reserved for the system. Choose one above 1023 with --port."_s.arg(
            port);
    case QAbstractSocket::SocketAddressNotAvailableError:
        return u"This computer does not have the address %1."_s.arg(address.toString());
    default:
        return u"Nothing can listen at port %1: %2."_s.arg(port).arg(text);
    }
}

} // namespace

WebListener::WebListener(Receive receive, std::optional<QSslConfiguration> encryption)
    : receiver(std::move(receive))
    , secrets(std::move(encryption))
{
    // The desktop's proxy is meant for outgoing connections.
    setProxy(QNetworkProxy::NoProxy);
    setListenBacklogSize(backlog);
    // The toolkit has stopped accepting by then.
    connect(this, &QTcpServer::acceptError, this,
            [this] { QTimer::singleShot(shortagePause, this, &QTcpServer::resumeAccepting); });
}

QString WebListener::start(const QHostAddress &address, quint16 port)
{
    return listen(address, port) ? QString()
                                 : sentenceOf(serverError(), errorString(), address, port);
}

void WebListener::incomingConnection(qintptr descriptor)
{
    // The toolkit accepts until no connection is left, or until its queue has no room.
    if (++acceptedInTurn == mostAcceptedInTurn) {
        setMaxPendingConnections(0);
        acceptInNextTurn();
    }
    auto socket = secrets ? encrypted(descriptor) : plain(descriptor);
    if (socket == nullptr) {
        return;
    }
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    socket->setSocketOption(QAbstractSocket::KeepAliveOption, 1);
    receiver(std::move(socket));
}

void WebListener::acceptInNextTurn()
{
    QMetaObject::invokeMethod(
        this,
        [this] {
            acceptedInTurn = 0;
            setMaxPendingConnections(usualPending);
            if (isListening()) {
                resumeAccepting();
            }
        },
        Qt::QueuedConnection);
}

std::unique_ptr<QTcpSocket> WebListener::encrypted(qintptr descriptor) const
{
    auto socket = std::make_unique<QSslSocket>();
    if (!socket->setSocketDescriptor(descriptor)) {
        return nullptr;
    }
    socket->setSslConfiguration(*secrets);
    socket->startServerEncryption();
    return socket;
}

std::unique_ptr<QTcpSocket> WebListener::plain(qintptr descriptor)
{
    auto socket = std::make_unique<QTcpSocket>();
    return socket->setSocketDescriptor(descriptor) ? std::move(socket) : nullptr;
}

} // namespace quillmote
