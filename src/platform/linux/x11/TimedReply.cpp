// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/x11/TimedReply.h"

#include <algorithm>

#include <poll.h>
#include <xcb/xcbext.h>

namespace platform {

XcbOwned<xcb_generic_reply_t> replyWithin(xcb_connection_t *connection, unsigned int sequence,
                                          std::chrono::milliseconds limit)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + limit;
    void *reply = nullptr;
    xcb_generic_error_t *error = nullptr;
    xcb_flush(connection);
    while (xcb_poll_for_reply(connection, sequence, &reply, &error) == 0) {
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        pollfd descriptor{xcb_get_file_descriptor(connection), POLLIN, 0};
        if (rest.count() <= 0 || poll(&descriptor, 1, static_cast<int>(rest.count())) == 0) {
            xcb_discard_reply(connection, sequence);
            return nullptr;
        }
    }
    const auto ownedError = xcbOwned(error);
    return xcbOwned(static_cast<xcb_generic_reply_t *>(reply));
}

} // namespace platform
