// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

// What the flags of an IPv6 address are asked with.
#include <netinet/in.h>
#include <sys/ioctl.h>

// Linux has macros of these names for its own structure.
#undef ifr_name
#undef ifr_addr
#define ifr_addr ifr_ifru.ifru_addr

struct in6_ifreq
{
    char ifr_name[16];
    union {
        struct sockaddr_in6 ifru_addr;
        int ifru_flags6;
    } ifr_ifru;
};

#define SIOCGIFAFLAG_IN6 _IOWR('i', 73, struct in6_ifreq)
#define IN6_IFF_DEPRECATED 0x0010
#define IN6_IFF_TEMPORARY 0x0080
