// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/ServerWatch.h"

#include "platform/linux/x11/XcbHandles.h"

#include <algorithm>
#include <array>
#include <csignal>

#include <poll.h>
#include <sys/time.h>
#include <unistd.h>

namespace platform {
namespace {

using namespace std::chrono_literals;

/// How long the X server may take to notice the end of the server's connection.
constexpr auto patience = 700ms;
/// After the server's end nothing keeps this process longer, not even an X server that hangs.
constexpr auto lifeAfterServer = 900ms;

void endIn(std::chrono::milliseconds time)
{
    const itimerval once{{0, 0}, {0, std::chrono::microseconds(time).count()}};
    setitimer(ITIMER_REAL, &once, nullptr);
}

} // namespace

ServerWatch::ServerWatch(xcb_connection_t *openConnection, xcb_window_t marker, int pipe,
                         pid_t server)
    : connection(openConnection)
    , lifeline(pipe)
    , process(server)
{
    const std::uint32_t structure = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection, marker, XCB_CW_EVENT_MASK, &structure);
    xcb_flush(connection);
}

bool ServerWatch::wait()
{
    while (takeInEvents() && !isMarkerGone && timeLeft() > 0s) {
        waitForNews();
    }
    return !xcb_connection_has_error(connection);
}

bool ServerWatch::takeInEvents()
{
    while (const auto event = xcbOwned(xcb_poll_for_event(connection))) {
        // An error says that the window was destroyed before it could be watched.
        const int type = event->response_type & 0x7f;
        isMarkerGone = isMarkerGone || type == XCB_DESTROY_NOTIFY || type == 0;
    }
    return !xcb_connection_has_error(connection);
}

void ServerWatch::waitForNews()
{
    std::array<pollfd, 2> news{pollfd{xcb_get_file_descriptor(connection), POLLIN, 0},
                               pollfd{lifeline, POLLIN, 0}};
    const timespec rest{0, std::chrono::nanoseconds(timeLeft()).count()};
    sigset_t none{};
    sigemptyset(&none);
    // The pipe stays readable once it has ended.
    ppoll(news.data(), serverEnd ? 1 : 2, serverEnd ? &rest : nullptr, &none);
    if (!serverEnd && (news[1].revents != 0 || getppid() != process)) {
        serverEnd = Clock::now();
        endIn(lifeAfterServer);
    }
}

ServerWatch::Clock::duration ServerWatch::timeLeft() const
{
    const auto waited = serverEnd ? Clock::now() - *serverEnd : 0s;
    return std::max<Clock::duration>(patience - waited, 0s);
}

} // namespace platform
