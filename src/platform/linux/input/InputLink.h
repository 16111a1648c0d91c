// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>

namespace platform {

/// What the parts of the X11 input ask of the whole, which owns their connection.
struct InputLink
{
    /// Brings all parts up to date with what the server has reported; false when the connection is
    /// broken.
    std::function<bool()> takeInEvents;
    /// Sends what is in the connection's buffer.
    std::function<void()> flush;
    /// The same at the end of this turn of the event loop.
    std::function<void()> flushLater;
    /// Whether the server keeps up with what it is sent. If not, onProgress() of those who wait is
    /// called later.
    std::function<bool()> hasRoom;
};

} // namespace platform
