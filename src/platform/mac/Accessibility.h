// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace platform {

/// Whether the user lets this program post keys and clicks. Without it the system drops them
/// silently.
namespace Accessibility {

/// Asks the user, by the system's own question, if nobody has allowed it yet; does not wait for the
/// answer. True when it is allowed already.
bool request();

bool isAllowed();

} // namespace Accessibility
} // namespace platform
