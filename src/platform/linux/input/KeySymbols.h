// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"

#include <cstdint>
#include <span>

namespace platform {

/// The keysym of a key of the Mac keyboard, and its position on a keyboard of this host.
struct KeySymbol
{
    KeyCode code = 0;           ///< The Mac's virtual key code.
    std::uint32_t keysym = 0;   ///< What the key produces (XKB_KEY_...).
    std::uint32_t position = 0; ///< Where the key is: the kernel's key code plus 8.
};

/// Every key code that has a meaning on this host, each once, in ascending order.
///
/// The command keys are Control keys, because Control copies and quits on this host. No event can
/// be sent for the Fn key.
std::span<const KeySymbol> keySymbols();

} // namespace platform
