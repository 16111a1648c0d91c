// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/network/NetworkSystem.h"

#include <fcntl.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <netinet6/in6_var.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

namespace quillmote {
namespace {

bool isTemporary(int descriptor, const ifaddrs &entry)
{
    in6_ifreq request{};
    qstrncpy(request.ifr_name, entry.ifa_name, sizeof request.ifr_name);
    std::memcpy(&request.ifr_addr, entry.ifa_addr, sizeof request.ifr_addr);
    return ::ioctl(descriptor, SIOCGIFAFLAG_IN6, &request) == 0 &&
           (request.ifr_ifru.ifru_flags6 & (IN6_IFF_TEMPORARY | IN6_IFF_DEPRECATED)) != 0;
}

} // namespace

/// The routing socket (route(4)).
int openNetworkNews()
{
    const int descriptor = ::socket(PF_ROUTE, SOCK_RAW, AF_UNSPEC);
    if (descriptor >= 0) {
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
        ::fcntl(descriptor, F_SETFL, O_NONBLOCK);
    }
    return descriptor;
}

QList<QHostAddress> temporaryAddresses()
{
    QList<QHostAddress> found;
    ifaddrs *first = nullptr;
    const int descriptor = ::socket(AF_INET6, SOCK_DGRAM, 0);
    if (descriptor < 0 || ::getifaddrs(&first) != 0) {
        ::close(descriptor);
        return found;
    }
    for (const ifaddrs *entry = first; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET6 &&
            isTemporary(descriptor, *entry)) {
            found += QHostAddress(entry->ifa_addr);
        }
    }
    ::freeifaddrs(first);
    ::close(descriptor);
    return found;
}

} // namespace quillmote
