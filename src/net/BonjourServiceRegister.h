// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "net/BonjourRecord.h"
#include "net/DnsSd.h"

#include <QObject>

class QSocketNotifier;

/// Advertises one service by DNS-SD for as long as it lives.
///
/// Registers once and never retries. For another attempt, for example after the daemon has come
/// back, make a new object.
class BonjourServiceRegister : public QObject
{
    Q_OBJECT

public:
    explicit BonjourServiceRegister(QObject *parent, DnsSd operations = DnsSd());
    ~BonjourServiceRegister() override;

    /// Registers the record at the port, on all interfaces, without a TXT record. Failure is
    /// reported by error(), possibly before this returns. Refused with a warning once registered.
    void registerService(const BonjourRecord &record, quint16 servicePort);

    /// The record as the daemon has confirmed it last; empty until then.
    const BonjourRecord &finalRecord() const { return confirmedRecord; }

signals:
    /// A code of the dns_sd interface; -65549 if the registration has no socket.
    void error(DNSServiceErrorType error);
    /// The daemon has confirmed the service, under a name that may differ from the requested one.
    /// Emitted again when the name changes.
    void serviceRegistered(BonjourRecord record);

private slots:
    void bonjourSocketReadyRead();

private:
    static void DNSSD_API bonjourRegisterService(DNSServiceRef reference, DNSServiceFlags flags,
                                                 DNSServiceErrorType errorCode, const char *name,
                                                 const char *regtype, const char *domain,
                                                 void *context);
    DNSServiceErrorType requestRegistration(const BonjourRecord &record, quint16 servicePort);
    DNSServiceErrorType watchSocket();

    DnsSd dnsSd;
    DNSServiceRef serviceReference = nullptr; // null until a registration has been made
    QSocketNotifier *socketNotifier = nullptr;
    BonjourRecord confirmedRecord;
};
