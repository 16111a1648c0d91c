// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/http/WebListener.h"

#include <QNetworkProxy>
#include <QSslSocket>
#include <QTimer>

#include <cerrno>
#include <chrono>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

using namespace std::chrono_literals;

/// Connections that are accepted before the others have their turn.
constexpr int mostAcceptedInTurn = 16;
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
    server.setProxy(QNetworkProxy::NoProxy);
    server.setListenBacklogSize(backlog);
}

QString WebListener::start(const QHostAddress &address, quint16 port)
{
    if (!server.listen(address, port)) {
        return sentenceOf(server.serverError(), server.errorString(), address, port);
    }
    // The toolkit would accept until no connection is left, and spin when the system refuses one
    // because descriptors have run out.
    server.pauseAccepting();
    notifier = std::make_unique<QSocketNotifier>(server.socketDescriptor(), QSocketNotifier::Read);
    connect(notifier.get(), &QSocketNotifier::activated, this, &WebListener::accept);
    return {};
}

void WebListener::accept()
{
    for (int count = 0; count < mostAcceptedInTurn; ++count) {
        const int descriptor =
            ::accept(static_cast<int>(server.socketDescriptor()), nullptr, nullptr);
        if (descriptor < 0) {
            // A connection that has ended in the meantime is an error, too (accept(2)).
            if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
                rest();
            }
            return;
        }
        fcntl(descriptor, F_SETFD, FD_CLOEXEC);
        if (auto socket = socketOf(descriptor)) {
            receiver(std::move(socket));
        }
    }
}

/// Otherwise the event loop would find the waiting connection again and again.
void WebListener::rest()
{
    notifier->setEnabled(false);
    QTimer::singleShot(shortagePause, notifier.get(), [this] { notifier->setEnabled(true); });
}

std::unique_ptr<QTcpSocket> WebListener::socketOf(int descriptor) const
{
    auto *encrypted = secrets ? new QSslSocket : nullptr;
    std::unique_ptr<QTcpSocket> socket(secrets ? encrypted : new QTcpSocket);
    if (!socket->setSocketDescriptor(descriptor)) {
        ::close(descriptor);
        return nullptr;
    }
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    socket->setSocketOption(QAbstractSocket::KeepAliveOption, 1);
    if (encrypted != nullptr) {
        encrypted->setSslConfiguration(*secrets);
        encrypted->startServerEncryption();
    }
    return socket;
}

} // namespace quillmote
