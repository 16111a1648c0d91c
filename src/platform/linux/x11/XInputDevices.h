// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

struct xcb_connection_t;

namespace platform {

/// The X server has one keyboard and one pointer for all input that its XTEST extension fakes.
inline constexpr std::string_view xtestKeyboardName = "Virtual core XTEST keyboard";
inline constexpr std::string_view xtestPointerName = "Virtual core XTEST pointer";

/// Number of the input device with that name; nothing when there is none or the server has no
/// XInput 2. A few round trips.
std::optional<std::uint16_t> inputDeviceNumber(xcb_connection_t *connection, std::string_view name);

/// Numbers of the keyboards, the user's and that of XTEST. A few round trips.
std::vector<std::uint16_t> keyboardNumbers(xcb_connection_t *connection);

/// Numbers of the keyboards that programs see. Each takes over the key map of the last one of the
/// others that was used. A few round trips.
std::vector<std::uint16_t> coreKeyboardNumbers(xcb_connection_t *connection);

} // namespace platform
