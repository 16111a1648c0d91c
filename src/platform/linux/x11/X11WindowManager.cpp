// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/x11/X11WindowManager.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>

#include <poll.h>

namespace platform {
namespace {

/// Properties are read up to 4 MiB, the largest that a client may write in one request by default.
constexpr std::uint32_t longestProperty = 1024 * 1024;

/// A pager acts for the user, so the window manager does not take its message for that of a program
/// that wants to steal the focus.
constexpr std::uint32_t sourceIsPager = 2;

} // namespace

std::vector<xcb_window_t> X11WindowManager::windows() const
{
    const auto root = connection.root();
    const auto stacked = numbers(root, connection.atom("_NET_CLIENT_LIST_STACKING"));
    return stacked.empty() ? numbers(root, connection.atom("_NET_CLIENT_LIST")) : stacked;
}

bool X11WindowManager::isOrdinary(xcb_window_t window) const
{
    const auto desktop = connection.atom("_NET_WM_WINDOW_TYPE_DESKTOP");
    const auto dock = connection.atom("_NET_WM_WINDOW_TYPE_DOCK");
    return std::ranges::none_of(
        numbers(window, connection.atom("_NET_WM_WINDOW_TYPE")),
        [&](std::uint32_t type) { return type == desktop || type == dock; });
}

bool X11WindowManager::hasClass(xcb_window_t window, const QString &windowClass) const
{
    // Instance and class, each ended by a zero byte.
    const QString names = QString::fromUtf8(bytes(window, XCB_ATOM_WM_CLASS));
    return names.split(QChar(u'\0'), Qt::SkipEmptyParts).contains(windowClass, Qt::CaseInsensitive);
}

bool X11WindowManager::isActive(xcb_window_t window) const
{
    const auto active = numbers(connection.root(), connection.atom("_NET_ACTIVE_WINDOW"));
    return !active.empty() && active.front() == window && hasFocus(window);
}

void X11WindowManager::watch(xcb_window_t window)
{
    const std::uint32_t ofRoot = XCB_EVENT_MASK_PROPERTY_CHANGE;
    const std::uint32_t ofWindow = XCB_EVENT_MASK_FOCUS_CHANGE;
    xcb_change_window_attributes(connection.get(), connection.root(), XCB_CW_EVENT_MASK, &ofRoot);
    xcb_change_window_attributes(connection.get(), window, XCB_CW_EVENT_MASK, &ofWindow);
}

void X11WindowManager::askToActivate(xcb_window_t window)
{
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = connection.atom("_NET_ACTIVE_WINDOW");
    message.data.data32[0] = sourceIsPager;
    message.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(connection.get(), 0, connection.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   std::bit_cast<std::array<char, 32>>(message).data());
    xcb_flush(connection.get());
}

bool X11WindowManager::waitForEvents(QDeadlineTimer deadline)
{
    pollfd descriptor{xcb_get_file_descriptor(connection.get()), POLLIN, 0};
    auto event = xcbOwned(xcb_poll_for_event(connection.get()));
    while (!event) {
        const int left = static_cast<int>(deadline.remainingTime());
        const int ready = poll(&descriptor, 1, left);
        // The end of a child process interrupts the wait, but does not end it.
        const bool isInterrupted = ready < 0 && errno == EINTR;
        if ((ready <= 0 && !isInterrupted) || !isConnected()) {
            return false;
        }
        event = xcbOwned(xcb_poll_for_event(connection.get()));
    }
    while (event) {
        event = xcbOwned(xcb_poll_for_event(connection.get()));
    }
    return true;
}

/// Null when the window is gone.
XcbOwned<xcb_get_property_reply_t> X11WindowManager::property(xcb_window_t window,
                                                              xcb_atom_t name) const
{
    const auto cookie =
        xcb_get_property(connection.get(), 0, window, name, XCB_ATOM_ANY, 0, longestProperty);
    return xcbOwned(xcb_get_property_reply(connection.get(), cookie, nullptr));
}

QByteArray X11WindowManager::bytes(xcb_window_t window, xcb_atom_t name) const
{
    const auto reply = property(window, name);
    if (!reply || reply->format != 8) {
        return {};
    }
    return {static_cast<const char *>(xcb_get_property_value(reply.get())),
            xcb_get_property_value_length(reply.get())};
}

/// Empty when the window is gone or the property holds no 32-bit numbers.
std::vector<std::uint32_t> X11WindowManager::numbers(xcb_window_t window, xcb_atom_t name) const
{
    const auto reply = property(window, name);
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto *values = static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get()));
    const auto length = static_cast<std::size_t>(xcb_get_property_value_length(reply.get()));
    return {values, values + length / sizeof *values};
}

/// Toolkits give the focus to a window inside the one that the window manager knows.
bool X11WindowManager::hasFocus(xcb_window_t window) const
{
    const auto cookie = xcb_get_input_focus(connection.get());
    const auto reply = xcbOwned(xcb_get_input_focus_reply(connection.get(), cookie, nullptr));
    xcb_window_t focused = reply ? reply->focus : xcb_window_t{XCB_WINDOW_NONE};
    while (focused > XCB_INPUT_FOCUS_POINTER_ROOT && focused != connection.root()) {
        if (focused == window) {
            return true;
        }
        focused = parentOf(focused);
    }
    return false;
}

xcb_window_t X11WindowManager::parentOf(xcb_window_t window) const
{
    const auto cookie = xcb_query_tree(connection.get(), window);
    const auto reply = xcbOwned(xcb_query_tree_reply(connection.get(), cookie, nullptr));
    return reply ? reply->parent : xcb_window_t{XCB_WINDOW_NONE};
}

} // namespace platform
