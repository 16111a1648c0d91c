// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace platform {

/// Whether the session bus has a desktop portal, or can start one. Asks the bus itself, which
/// answers at once; no answer within half a second counts as no. What the portal can do is seen
/// only when it is used: it would have to be started for that.
bool hasDesktopPortal();

} // namespace platform
