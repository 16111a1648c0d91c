// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/x11/XcbClient.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include <poll.h>

#include <xcb/xinput.h>

/// Another client of the display, which notes in a thread of its own when the pointer moves.
class MotionObserver
{
public:
    explicit MotionObserver(const QString &display) : connection(XcbClient::connectTo(display))
    {
        struct
        {
            xcb_input_event_mask_t head;
            uint32_t mask;
        } wanted{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, XCB_INPUT_XI_EVENT_MASK_RAW_MOTION};
        const xcb_window_t root = XcbClient::firstScreen(connection)->root;
        xcbOwned(xcb_input_xi_query_version_reply(
            connection.get(), xcb_input_xi_query_version(connection.get(), 2, 2), nullptr));
        xcb_input_xi_select_events(connection.get(), root, 1, &wanted.head);
        // An answer proves that the selection is in force.
        xcbOwned(xcb_get_input_focus_reply(connection.get(), xcb_get_input_focus(connection.get()),
                                           nullptr));
        watcher = std::thread([this] { watch(); });
    }
    ~MotionObserver() { stop(); }
    MotionObserver(const MotionObserver &) = delete;
    MotionObserver &operator=(const MotionObserver &) = delete;

    /// When each motion was seen, in milliseconds since 1970; ends the observation.
    const std::vector<double> &times()
    {
        std::this_thread::sleep_for(2 * LongestPause);
        stop();
        return seen;
    }

private:
    static constexpr std::chrono::milliseconds LongestPause{200};

    void stop()
    {
        isOver = true;
        if (watcher.joinable()) {
            watcher.join();
        }
    }

    void watch()
    {
        while (!isOver) {
            pollfd waiting{xcb_get_file_descriptor(connection.get()), POLLIN, 0};
            ::poll(&waiting, 1, static_cast<int>(LongestPause.count()));
            while (const auto event = xcbOwned(xcb_poll_for_event(connection.get()))) {
                const std::chrono::duration<double, std::milli> now =
                    std::chrono::system_clock::now().time_since_epoch();
                seen.push_back(now.count());
            }
        }
    }

    XcbConnection connection;
    std::vector<double> seen; ///< Of the thread, until it is over.
    std::atomic<bool> isOver = false;
    std::thread watcher;
};
