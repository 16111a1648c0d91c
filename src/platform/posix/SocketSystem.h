// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

// What sockets need of each system under a name of its own.

namespace platform {

/// The option of TCP for the silence before the first keepalive probe.
extern const int keepaliveIdleOption;

/// How many descriptors the system lets this process have.
int grantedDescriptors();

} // namespace platform
