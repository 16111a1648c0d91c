// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What Darwin has here and glibc has not.

#pragma once

#include_next <sys/socket.h>

#define SO_NOSIGPIPE 0x1022
