// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/HeldInput.h"

namespace platform {

/// The memory that a process shares with its guard.
class SharedHeldInput
{
public:
    /// Creates it, with nothing held. If the system has no memory to share, the memory is private
    /// to this process.
    SharedHeldInput();
    ~SharedHeldInput();
    SharedHeldInput(const SharedHeldInput &) = delete;
    SharedHeldInput &operator=(const SharedHeldInput &) = delete;

    HeldInput &get() { return *held; }

    /// The descriptor by which another process maps it, above those of the standard streams and
    /// closed on exec; -1 if the memory is not shared.
    int descriptor() const { return file; }

private:
    int file = -1;
    HeldInput own{}; ///< Used where nothing can be shared.
    HeldInput *held = &own;
};

} // namespace platform
