// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <dns_sd.h>

namespace quillmote {

/// The system's dns_sd interface, loaded when it is first asked for. Linked, it would make each
/// start of a program load a dozen libraries more, a quarter of the time until a key is typed, even
/// when the server's address is given.
struct DnsSd
{
    decltype(&DNSServiceBrowse) browse;
    decltype(&DNSServiceResolve) resolve;
    decltype(&DNSServiceQueryRecord) queryRecord;
    decltype(&DNSServiceRefSockFD) socketOf;
    decltype(&DNSServiceProcessResult) processResult;
    decltype(&DNSServiceRefDeallocate) deallocate;

    /// Null when the system has none.
    static const DnsSd *get();
};

} // namespace quillmote
