// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "doubles/RecordingDnsSd.h"

#include <cstring>

#include <unistd.h>

/// The library's handle, opaque to its users.
struct _DNSServiceRef_t
{
    int readEnd = -1;
    int writeEnd = -1;
};

namespace {

DNSServiceRef latest = nullptr;

std::optional<QByteArray> copied(const char *text)
{
    return text == nullptr ? std::nullopt : std::optional(QByteArray(text));
}

} // namespace

DnsSdRecord &DnsSdRecord::current()
{
    static DnsSdRecord record;
    return record;
}

void DnsSdRecord::reset()
{
    *this = DnsSdRecord();
    latest = nullptr;
}

void DnsSdRecord::makeReadable()
{
    const char byte = 'x';
    [[maybe_unused]] const ssize_t written = write(latest->writeEnd, &byte, 1);
}

void DnsSdRecord::reply(DNSServiceErrorType error, const char *name, const char *type,
                        const char *domain)
{
    const Registration &registration = registrations.back();
    registration.callback(latest, 0, error, name, type, domain, registration.context);
}

DNSServiceErrorType DNSServiceRegister(DNSServiceRef *reference, DNSServiceFlags flags,
                                       uint32_t interfaceIndex, const char *name, const char *type,
                                       const char *domain, const char *host, uint16_t port,
                                       uint16_t textLength, const void *text,
                                       DNSServiceRegisterReply callback, void *context)
{
    DnsSdRecord &record = DnsSdRecord::current();
    QByteArray portBytes(sizeof port, '\0');
    std::memcpy(portBytes.data(), &port, sizeof port);
    record.registrations.push_back({flags, interfaceIndex, name, type, copied(domain), copied(host),
                                    portBytes, textLength, text != nullptr, callback, context});
    if (record.onRegister) {
        record.onRegister();
    }
    if (record.registerResult != kDNSServiceErr_NoError) {
        return record.registerResult;
    }
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0) {
        return kDNSServiceErr_NoMemory;
    }
    latest = new _DNSServiceRef_t{ends[0], ends[1]};
    *reference = latest;
    ++record.living;
    return kDNSServiceErr_NoError;
}

int DNSServiceRefSockFD(DNSServiceRef reference)
{
    return DnsSdRecord::current().hasSocket ? reference->readEnd : -1;
}

DNSServiceErrorType DNSServiceProcessResult(DNSServiceRef reference)
{
    DnsSdRecord &record = DnsSdRecord::current();
    char byte = 0;
    if (read(reference->readEnd, &byte, 1) != 1) {
        return kDNSServiceErr_Unknown;
    }
    ++record.processed;
    if (record.onProcess) {
        record.onProcess();
    }
    return record.processResult;
}

void DNSServiceRefDeallocate(DNSServiceRef reference)
{
    DnsSdRecord &record = DnsSdRecord::current();
    if (record.onRelease) {
        record.onRelease();
    }
    ++record.released;
    --record.living;
    close(reference->readEnd);
    close(reference->writeEnd);
    delete reference;
}
