// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "doubles/RecordingDnsSd.h"

#include <cstring>
#include <utility>

#include <unistd.h>

/// The library's handle, opaque to its users.
struct _DNSServiceRef_t
{
    int readEnd = -1;
    int writeEnd = -1;
};

namespace {

std::optional<QByteArray> copied(const char *text)
{
    return text == nullptr ? std::nullopt : std::optional(QByteArray(text));
}

QByteArray bytesInMemory(uint16_t number)
{
    QByteArray bytes(sizeof number, '\0');
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

} // namespace

DnsSd RecordingDnsSd::operations()
{
    return {[this](DNSServiceRef *reference, DNSServiceFlags flags, uint32_t interfaceIndex,
                   const char *name, const char *type, const char *domain, const char *host,
                   uint16_t port, uint16_t textLength, const void *text,
                   DNSServiceRegisterReply callback, void *context) {
                return registerService(reference,
                                       {flags, interfaceIndex, name, type, copied(domain),
                                        copied(host), bytesInMemory(port), textLength,
                                        text != nullptr, callback, context});
            },
            [this](DNSServiceRef reference) { return hasSocket ? reference->readEnd : -1; },
            [this](DNSServiceRef reference) { return process(reference); },
            [this](DNSServiceRef reference) { release(reference); }};
}

void RecordingDnsSd::makeReadable()
{
    const char byte = 'x';
    [[maybe_unused]] const ssize_t written = write(latest->writeEnd, &byte, 1);
}

void RecordingDnsSd::reply(DNSServiceErrorType error, const char *name, const char *type,
                           const char *domain)
{
    const Registration &registration = registrations.back();
    registration.callback(latest, 0, error, name, type, domain, registration.context);
}

DNSServiceErrorType RecordingDnsSd::registerService(DNSServiceRef *reference,
                                                    Registration registration)
{
    registrations.push_back(std::move(registration));
    if (onRegister) {
        onRegister();
    }
    if (registerResult != kDNSServiceErr_NoError) {
        return registerResult;
    }
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0) {
        return kDNSServiceErr_NoMemory;
    }
    latest = new _DNSServiceRef_t{ends[0], ends[1]};
    *reference = latest;
    ++living;
    return kDNSServiceErr_NoError;
}

DNSServiceErrorType RecordingDnsSd::process(DNSServiceRef reference)
{
    char byte = 0;
    if (read(reference->readEnd, &byte, 1) != 1) {
        return kDNSServiceErr_Unknown;
    }
    ++processed;
    if (onProcess) {
        onProcess();
    }
    return processResult;
}

void RecordingDnsSd::release(DNSServiceRef reference)
{
    if (onRelease) {
        onRelease();
    }
    ++released;
    --living;
    close(reference->readEnd);
    close(reference->writeEnd);
    delete reference;
}
