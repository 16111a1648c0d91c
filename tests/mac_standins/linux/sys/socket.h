// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The Mac's option against the signal for a stream that nobody reads.

#pragma once

#include_next <sys/socket.h>

#define SO_NOSIGPIPE 0x1022
