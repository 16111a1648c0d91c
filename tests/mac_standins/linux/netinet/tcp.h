// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The Mac's name for the silence before the first probe.

#pragma once

#include_next <netinet/tcp.h>

#define TCP_KEEPALIVE TCP_KEEPIDLE
