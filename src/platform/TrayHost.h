// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>

namespace platform {

/// Waits until something shows tray icons, or until the time is over; runs an event loop meanwhile.
///
/// The toolkit decides at the first tray question how it will show the icon and keeps to it for
/// ever, so this must come before any other use of its tray icon.
void waitForTrayHost(std::chrono::milliseconds limit);

} // namespace platform
