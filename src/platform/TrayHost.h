// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>

namespace platform {

/// Waits until a tray shows icons, or until the time is over; runs an event loop meanwhile.
///
/// The toolkit decides how it will show the icon when it is first asked about a tray, and never
/// changes that, so this must come before any other use of its tray icon.
void waitForTrayHost(std::chrono::milliseconds limit);

} // namespace platform
