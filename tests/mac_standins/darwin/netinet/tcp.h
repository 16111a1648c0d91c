// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What the system's header has on a Mac besides.

#pragma once

#include_next <netinet/tcp.h>

#define TCP_KEEPALIVE 0x10
