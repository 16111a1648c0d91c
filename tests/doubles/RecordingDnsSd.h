// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "net/DnsSd.h"

#include <QByteArray>

#include <functional>
#include <optional>
#include <vector>

/// The operations of the dns_sd interface that the server uses, in memory. Each registration has a
/// real pipe as its socket.
struct RecordingDnsSd
{
    struct Registration
    {
        DNSServiceFlags flags = 0;
        uint32_t interfaceIndex = 0;
        QByteArray name;
        QByteArray type;
        std::optional<QByteArray> domain; ///< none: a null pointer
        std::optional<QByteArray> host;
        QByteArray portBytes; ///< the two bytes in the order of the memory
        uint16_t textLength = 0;
        bool hasText = false;
        DNSServiceRegisterReply callback = nullptr;
        void *context = nullptr;
    };

    /// Operations that record into this object, which must outlive their use.
    DnsSd operations();

    /// Forgets everything; no registration may be left.
    void reset() { *this = RecordingDnsSd(); }
    /// Makes the socket of the one registration readable; returns at once.
    void makeReadable();
    /// Calls back for the last registration as the daemon's reply does.
    void reply(DNSServiceErrorType error, const char *name = "", const char *type = "",
               const char *domain = "");

    std::vector<Registration> registrations; ///< every attempt, refused ones too
    int processed = 0;
    int released = 0;
    int living = 0; ///< references not yet released

    /// What the next calls answer.
    DNSServiceErrorType registerResult = kDNSServiceErr_NoError;
    DNSServiceErrorType processResult = kDNSServiceErr_NoError;
    bool hasSocket = true;
    /// Called inside the operations of these names.
    std::function<void()> onRegister;
    std::function<void()> onProcess;
    std::function<void()> onRelease;

private:
    DNSServiceErrorType registerService(DNSServiceRef *reference, Registration registration);
    DNSServiceErrorType process(DNSServiceRef reference);
    void release(DNSServiceRef reference);

    DNSServiceRef latest = nullptr;
};
