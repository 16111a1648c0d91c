// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <dns_sd.h>

namespace quillmote {

/// The system's dns_sd interface, loaded when it is first needed. If it were linked, each start of
/// the program would load a dozen more libraries, even if the server's address is given. That is a
/// quarter of the time until a key is typed.
struct DnsSd
{
    decltype(&DNSServiceBrowse) browse;
    decltype(&DNSServiceResolve) resolve;
    decltype(&DNSServiceQueryRecord) queryRecord;
    decltype(&DNSServiceRefSockFD) socketOf;
    decltype(&DNSServiceProcessResult) processResult;
    decltype(&DNSServiceRefDeallocate) deallocate;

    /// Null if the system has none.
    static const DnsSd *get();
};

} // namespace quillmote
