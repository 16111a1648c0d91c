// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/x11/XcbClient.h"

#include <QString>

#include <chrono>

#include <poll.h>

#include <xcb/xinput.h>

/// Another client of the display, which sees every key of every device.
class KeyObserver
{
public:
    explicit KeyObserver(const QString &display) : connection(XcbClient::connectTo(display))
    {
        struct
        {
            xcb_input_event_mask_t head;
            uint32_t mask;
        } wanted{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
                 XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE};
        const xcb_window_t root = XcbClient::firstScreen(connection)->root;
        xcbOwned(xcb_input_xi_query_version_reply(
            connection.get(), xcb_input_xi_query_version(connection.get(), 2, 2), nullptr));
        xcb_input_xi_select_events(connection.get(), root, 1, &wanted.head);
        // An answer proves that the selection is in force.
        xcbOwned(xcb_get_input_focus_reply(connection.get(), xcb_get_input_focus(connection.get()),
                                           nullptr));
    }

    /// Waits for the next press or release (an XInput event type); false if none comes in time.
    bool waitFor(uint16_t rawType)
    {
        const auto end = std::chrono::steady_clock::now() + LongestWait;
        while (std::chrono::steady_clock::now() < end) {
            while (const auto event = xcbOwned(xcb_poll_for_event(connection.get()))) {
                const auto *generic = reinterpret_cast<xcb_ge_generic_event_t *>(event.get());
                if (generic->event_type == rawType) {
                    return true;
                }
            }
            pollfd waiting{xcb_get_file_descriptor(connection.get()), POLLIN, 0};
            ::poll(&waiting, 1, static_cast<int>(LongestWait.count()));
        }
        return false;
    }

private:
    static constexpr std::chrono::milliseconds LongestWait{5000};

    XcbConnection connection;
};
