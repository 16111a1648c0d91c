// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/DnsOperation.h"

#include "lib/DnsSd.h"

#include <QSocketNotifier>

namespace quillmote {

DnsOperation::DnsOperation(QObject *parent) : QObject(parent) {}

DnsOperation::~DnsOperation()
{
    delete notifier;
    if (serviceReference != nullptr) {
        DnsSd::get()->deallocate(serviceReference);
    }
}

bool DnsOperation::watch(DNSServiceErrorType result)
{
    if (result != kDNSServiceErr_NoError) {
        serviceReference = nullptr;
        return false;
    }
    auto *replies =
        new QSocketNotifier(DnsSd::get()->socketOf(serviceReference), QSocketNotifier::Read, this);
    notifier = replies;
    connect(replies, &QSocketNotifier::activated, this, [this, replies] {
        const DNSServiceErrorType error = DnsSd::get()->processResult(serviceReference);
        if (error != kDNSServiceErr_NoError) {
            replies->setEnabled(false);
            emit failed(error);
        }
    });
    return true;
}

} // namespace quillmote
