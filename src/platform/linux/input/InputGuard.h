// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

#include <sys/types.h>

namespace platform {

/// A separate process that releases the keys and buttons that the shared memory names and that are
/// still down, should this process be killed. It outlives this one by a moment. See
/// InputGuardProgram.cpp.
///
/// If it cannot be started, that is logged once, and a killed server may leave a key down.
class InputGuard
{
public:
    /// `memory` is the descriptor of the shared memory. `marker` is a window of the connection
    /// whose keys are guarded: when it is destroyed, the X server has received everything that the
    /// connection sent. noMarker says that they are those of a Wayland compositor.
    InputGuard(int memory, std::uint32_t marker);
    /// Ends the guard. Everything must have been released by now.
    ~InputGuard();
    InputGuard(const InputGuard &) = delete;
    InputGuard &operator=(const InputGuard &) = delete;

private:
    pid_t process = -1;
    /// The end of a pipe that no other process has; the guard waits until it is closed.
    int lifeline = -1;
};

} // namespace platform
