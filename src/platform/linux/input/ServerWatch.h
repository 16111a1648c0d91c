// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <optional>

#include <sys/types.h>
#include <xcb/xcb.h>

namespace platform {

/// Watches, in the guard of the keys, for the end of the server and for the end of the server's
/// connection to the X server.
class ServerWatch
{
public:
    /// `marker` is the window that is destroyed with the server's connection, `pipe` the end of a
    /// pipe whose other end only the server has, `server` the server's process.
    ServerWatch(xcb_connection_t *openConnection, xcb_window_t marker, int pipe, pid_t server);

    /// Returns when the X server has received all that the server sent; false when there is nothing
    /// left that could be released.
    bool wait();

private:
    using Clock = std::chrono::steady_clock;

    bool takeInEvents();
    void waitForNews();
    Clock::duration timeLeft() const;

    xcb_connection_t *connection;
    int lifeline;
    pid_t process;
    std::optional<Clock::time_point> serverEnd;
    bool isMarkerGone = false;
};

} // namespace platform
