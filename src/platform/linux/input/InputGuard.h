// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

#include <sys/types.h>

namespace platform {

/// A small process that outlives this one by a moment, should it be killed: it releases the keys
/// and buttons that the shared memory names and that are still down. See InputGuardProgram.cpp.
///
/// Where it cannot be started, that is logged once, and a killed server may leave a key down.
class InputGuard
{
public:
    /// `memory` is the descriptor of the shared memory. `marker` is a window of the connection
    /// whose keys are guarded: when it goes, the X server has taken all that the connection
    /// brought.
    InputGuard(int memory, std::uint32_t marker);
    /// Ends the guard; what is to be released must be released by now.
    ~InputGuard();
    InputGuard(const InputGuard &) = delete;
    InputGuard &operator=(const InputGuard &) = delete;

private:
    pid_t process = -1;
    int lifeline =
        -1; ///< The end of a pipe that no other process has; the guard waits for its end.
};

} // namespace platform
