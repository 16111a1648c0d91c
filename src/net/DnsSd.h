// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>

#include <dns_sd.h>

/// The operations of the dns_sd interface that the server uses: the system's, unless a test hands
/// in its own.
struct DnsSd
{
    std::function<decltype(DNSServiceRegister)> registerService = DNSServiceRegister;
    std::function<decltype(DNSServiceRefSockFD)> socketOf = DNSServiceRefSockFD;
    std::function<decltype(DNSServiceProcessResult)> processResult = DNSServiceProcessResult;
    std::function<decltype(DNSServiceRefDeallocate)> release = DNSServiceRefDeallocate;
};
