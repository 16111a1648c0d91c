// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/x11/XcbHandles.h"

#include <chrono>

namespace platform {

/// Waits for the reply to a request of the connection, which it flushes; null if there was none in
/// that time, or an error. Events that come meanwhile are kept and must be polled for.
XcbOwned<xcb_generic_reply_t> replyWithin(xcb_connection_t *connection, unsigned int sequence,
                                          std::chrono::milliseconds limit);

} // namespace platform
