// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace platform {

/// The keys and buttons that the server has pressed and not yet released, in memory that it shares
/// with its guard. At first nothing is held: every byte is 0.
///
/// A key counts as held from before its press is sent until the X server has processed its release,
/// so at any moment the memory names at least everything that is down because of the server.
struct HeldInput
{
    using Flags = std::array<std::atomic<bool>, 256>;

    Flags keys;    ///< By key code.
    Flags buttons; ///< By number.
};

// Two processes use it, and a lock inside would not work between them.
/// In place of the window of an X server's connection: the keys and buttons are a compositor's.
inline constexpr std::uint32_t noMarker = 0;

static_assert(std::atomic<bool>::is_always_lock_free);
static_assert(sizeof(HeldInput) == 512);

} // namespace platform
