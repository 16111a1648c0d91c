// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/HeldInput.h"

#include <sys/types.h>

namespace platform {

/// The guard of a server that uses virtual devices of a Wayland compositor. The compositor releases
/// the keys of a keyboard that has vanished, but leaves the buttons of a pointer down.
///
/// Returns after the end of the server, whose process and the end of whose pipe are given. By then
/// the buttons that it has left down are released, by a pointer of the guard's own.
void guardButtons(const HeldInput &held, int pipe, pid_t server);

} // namespace platform
