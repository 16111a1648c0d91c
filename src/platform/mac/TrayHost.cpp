// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/TrayHost.h"

namespace platform {

// The menu bar exists before any program starts.
void waitForTrayHost(std::chrono::milliseconds /*limit*/) {}

} // namespace platform
