// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "net/DnsSd.h"
#include "platform/AdvertisementDaemon.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

class BonjourServiceRegister;
class QTcpServer;

/// Advertises a server by DNS-SD while it listens for the network: under the host's name, or under
/// a numbered one if other servers on this machine have taken that, and again each time the daemon
/// has come back.
class Advertisement : public QObject
{
public:
    using DaemonWatcher = std::function<std::unique_ptr<platform::AdvertisementDaemonWatch>(
        std::function<void()> appeared)>;

    /// \param server must outlive this object
    /// \param serviceRegister the server's pointer to the register in use, which becomes the
    /// server's child
    Advertisement(QTcpServer &server, QPointer<BonjourServiceRegister> &serviceRegister,
                  DnsSd dnsSd, const DaemonWatcher &watchDaemon);
    ~Advertisement() override;

    /// To be called as soon as the server listens. A server that only this computer can reach is
    /// not advertised. Failures are logged, not reported.
    void begin();
    void end();

private:
    void registerName(int attempt);
    void registrationFailed(DNSServiceErrorType code, int attempt);

    QTcpServer &server;
    QPointer<BonjourServiceRegister> &serviceRegister;
    DnsSd dnsSd;
    std::unique_ptr<platform::AdvertisementDaemonWatch> daemonWatch;
};
