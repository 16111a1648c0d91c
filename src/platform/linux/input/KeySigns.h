// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"

#include <cstdint>
#include <span>

namespace platform {

/// What a key of the Mac keyboard is on a keyboard of this host.
struct KeySign
{
    KeyCode code = 0;           ///< The Mac's virtual key code.
    std::uint32_t keysym = 0;   ///< The sign that the key bears, as a key symbol (XKB_KEY_...).
    std::uint32_t position = 0; ///< Where the key sits: the kernel's key code plus 8.
};

/// Every key code that means something here, each once, by rising code.
///
/// The command keys are Control keys, since that is what copies and quits on this host. The Fn key
/// has no counterpart that a program could be sent.
std::span<const KeySign> keySigns();

/// The row of a key code; null when it has no meaning on this host.
const KeySign *findKeySign(KeyCode code);

} // namespace platform
