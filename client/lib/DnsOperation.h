// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>

#include <dns_sd.h>

namespace quillmote {

/// Owns one running operation of the dns_sd interface and feeds its replies into the event loop.
class DnsOperation : public QObject
{
    Q_OBJECT

public:
    explicit DnsOperation(QObject *parent);
    /// Ends the operation. Must not be called from its own reply: use deleteLater() there.
    ~DnsOperation() override;

    /// Where the interface's functions put their reference.
    DNSServiceRef *reference() { return &serviceReference; }
    /// Watches for replies, given what the function that started the operation returned. False when
    /// that was an error.
    bool watch(DNSServiceErrorType result);

signals:
    void failed(DNSServiceErrorType error);

private:
    DNSServiceRef serviceReference = nullptr;
    QObject *notifier = nullptr; // must go before the reference
};

} // namespace quillmote
