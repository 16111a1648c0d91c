// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace platform {

/// Whether the user allows this program to post keys and clicks. Without that the system silently
/// drops them.
namespace Accessibility {

/// Asks the user with the system's own dialog if it is not allowed yet; does not wait for the
/// answer. True when it is allowed already.
bool request();

bool isAllowed();

} // namespace Accessibility
} // namespace platform
