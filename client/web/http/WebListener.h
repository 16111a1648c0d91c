// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QSslConfiguration>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>
#include <memory>
#include <optional>

namespace quillmote {

/// Listens at one address and accepts connections, a few in each turn of the event loop. When the
/// system has no descriptors left it rests for a second.
class WebListener : public QTcpServer
{
    Q_OBJECT

public:
    using Receive = std::function<void(std::unique_ptr<QTcpSocket>)>;

    /// With a configuration the connections are encrypted; they are handed over before their
    /// handshake.
    WebListener(Receive receive, std::optional<QSslConfiguration> encryption);

    /// Empty, or why it cannot listen there, as a sentence. Port 0 takes a free one.
    QString start(const QHostAddress &address, quint16 port);

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    void acceptInNextTurn();
    std::unique_ptr<QTcpSocket> encrypted(qintptr descriptor) const;
    static std::unique_ptr<QTcpSocket> plain(qintptr descriptor);

    Receive receiver;
    std::optional<QSslConfiguration> secrets;
    int acceptedInTurn = 0;
};

} // namespace quillmote
