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
    /// Ends the operation. Must not run inside of its own reply: use deleteLater() there.
    ~DnsOperation() override;

    /// The interface's functions store their reference here.
    DNSServiceRef *reference() { return &serviceReference; }
    /// Watches for replies. `result` is the return value of the function that started the
    /// operation; false if it is an error.
    bool watch(DNSServiceErrorType result);

signals:
    void failed(DNSServiceErrorType error);

private:
    DNSServiceRef serviceReference = nullptr;
    QObject *notifier = nullptr; // must be deleted before the reference
};

} // namespace quillmote
