// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <QSslConfiguration>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>
#include <memory>
#include <optional>

namespace quillmote {

/// Listens at one address and accepts connections, a few in each turn of the event loop. When the
/// system has no descriptors left it rests for a second.
class WebListener : public QObject
{
    Q_OBJECT

public:
    using Receive = std::function<void(std::unique_ptr<QTcpSocket>)>;

    /// With a configuration the connections are encrypted; they are handed over before their
    /// handshake.
    WebListener(Receive receive, std::optional<QSslConfiguration> encryption);

    /// Empty, or why it cannot listen there, as a sentence. Port 0 takes a free one.
    QString start(const QHostAddress &address, quint16 port);
    quint16 port() const { return server.serverPort(); }
    /// Why it cannot listen, for programs.
    QAbstractSocket::SocketError error() const { return server.serverError(); }

private:
    void accept();
    void rest();
    std::unique_ptr<QTcpSocket> socketOf(int descriptor) const;

    QTcpServer server; // binds and listens, but does not accept
    std::unique_ptr<QSocketNotifier> notifier;
    Receive receiver;
    std::optional<QSslConfiguration> secrets;
};

} // namespace quillmote
