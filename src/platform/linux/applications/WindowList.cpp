// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/applications/WindowList.h"

#include "platform/linux/x11/X11Atoms.h"

#include <QDeadlineTimer>
#include <QStringList>

#include <array>
#include <bit>
#include <cerrno>

#include <poll.h>

namespace platform {
namespace {

/// Properties are read up to 4 MiB, the largest that a client may write in one request by default.
constexpr std::uint32_t longestProperty = 1024 * 1024;

/// In the message of a pager, which acts for the user, so that the window manager does not take it
/// for a program that wants to steal the focus.
constexpr std::uint32_t sourceIsPager = 2;

} // namespace

/// A connection of our own: the toolkit's is for its own windows and need not be X at all.
class WindowList::Display
{
public:
    Display()
    {
        int screenNumber = 0;
        owner.reset(xcb_connect(nullptr, &screenNumber));
        connection = owner.get();
        if (isUsable()) {
            root = defaultScreen(connection, screenNumber)->root;
        }
    }

    bool isUsable() const { return xcb_connection_has_error(connection) == 0; }

    std::vector<Window> windows() const
    {
        const auto stacked = property(root, atom("_NET_CLIENT_LIST_STACKING"));
        return stacked.empty() ? property(root, atom("_NET_CLIENT_LIST")) : stacked;
    }

    bool isOrdinary(Window window) const
    {
        const Window desktop = atom("_NET_WM_WINDOW_TYPE_DESKTOP");
        const Window dock = atom("_NET_WM_WINDOW_TYPE_DOCK");
        for (const auto type : property(window, atom("_NET_WM_WINDOW_TYPE"))) {
            if (type == desktop || type == dock) {
                return false;
            }
        }
        return true;
    }

    /// Instance and class, each ended by a zero byte.
    bool hasClass(Window window, const QString &windowClass) const
    {
        const auto names = rawProperty(window, XCB_ATOM_WM_CLASS);
        for (const QString &name : QString::fromUtf8(names).split(QChar(u'\0'))) {
            if (!name.isEmpty() && name.compare(windowClass, Qt::CaseInsensitive) == 0) {
                return true;
            }
        }
        return false;
    }

    /// From now on events tell when the active window or the focus of the window changes.
    void watch(Window window)
    {
        const std::uint32_t ofRoot = XCB_EVENT_MASK_PROPERTY_CHANGE;
        const std::uint32_t ofWindow = XCB_EVENT_MASK_FOCUS_CHANGE;
        xcb_change_window_attributes(connection, root, XCB_CW_EVENT_MASK, &ofRoot);
        xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, &ofWindow);
    }

    void askToActivate(Window window)
    {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = atom("_NET_ACTIVE_WINDOW");
        message.data.data32[0] = sourceIsPager;
        message.data.data32[1] = XCB_CURRENT_TIME;
        xcb_send_event(connection, 0, root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       std::bit_cast<std::array<char, 32>>(message).data());
        xcb_flush(connection);
    }

    bool isActive(Window window) const
    {
        const auto active = property(root, atom("_NET_ACTIVE_WINDOW"));
        return !active.empty() && active.front() == window && hasFocus(window);
    }

    /// Waits for anything to happen, then drops all events: what they tell is asked for afresh.
    /// False when nothing came before the deadline.
    bool waitForEvents(QDeadlineTimer deadline)
    {
        pollfd descriptor{xcb_get_file_descriptor(connection), POLLIN, 0};
        XcbOwned<xcb_generic_event_t> event(xcb_poll_for_event(connection));
        while (event == nullptr) {
            const int left = static_cast<int>(deadline.remainingTime());
            const int ready = poll(&descriptor, 1, left);
            // The end of a child process interrupts the wait, but does not end it.
            const bool isInterrupted = ready < 0 && errno == EINTR;
            if ((ready <= 0 && !isInterrupted) || !isUsable()) {
                return false;
            }
            event.reset(xcb_poll_for_event(connection));
        }
        while (event != nullptr) {
            event.reset(xcb_poll_for_event(connection));
        }
        return true;
    }

private:
    xcb_atom_t atom(const char *name) const { return internAtom(connection, name); }

    XcbOwned<xcb_get_property_reply_t> askProperty(Window window, xcb_atom_t name) const
    {
        return XcbOwned<xcb_get_property_reply_t>(xcb_get_property_reply(
            connection,
            xcb_get_property(connection, 0, window, name, XCB_ATOM_ANY, 0, longestProperty),
            nullptr));
    }

    QByteArray rawProperty(Window window, xcb_atom_t name) const
    {
        const auto reply = askProperty(window, name);
        if (reply == nullptr || reply->format != 8) {
            return {};
        }
        return {static_cast<const char *>(xcb_get_property_value(reply.get())),
                xcb_get_property_value_length(reply.get())};
    }

    /// Empty when the window is gone or the property holds no 32-bit numbers.
    std::vector<std::uint32_t> property(Window window, xcb_atom_t name) const
    {
        const auto reply = askProperty(window, name);
        if (reply == nullptr || reply->format != 32) {
            return {};
        }
        const auto *values =
            static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get()));
        const auto bytes = static_cast<std::size_t>(xcb_get_property_value_length(reply.get()));
        return {values, values + bytes / sizeof *values};
    }

    /// Toolkits give the focus to a window inside the one that the window manager knows.
    bool hasFocus(Window window) const
    {
        const XcbOwned<xcb_get_input_focus_reply_t> reply(
            xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
        Window focused = reply == nullptr ? Window{XCB_WINDOW_NONE} : reply->focus;
        while (focused > XCB_INPUT_FOCUS_POINTER_ROOT && focused != root) {
            if (focused == window) {
                return true;
            }
            focused = parentOf(focused);
        }
        return false;
    }

    Window parentOf(Window window) const
    {
        const XcbOwned<xcb_query_tree_reply_t> reply(
            xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr));
        return reply == nullptr ? Window{XCB_WINDOW_NONE} : reply->parent;
    }

    XcbConnection owner;
    xcb_connection_t *connection = nullptr;
    Window root = XCB_WINDOW_NONE;
};

WindowList::WindowList() : display(std::make_unique<Display>()) {}

WindowList::~WindowList() = default;

std::optional<WindowList::Window> WindowList::topmostOf(const QString &windowClass)
{
    if (!display->isUsable() || windowClass.isEmpty()) {
        return std::nullopt;
    }
    const auto windows = display->windows();
    for (auto window = windows.crbegin(); window != windows.crend(); ++window) {
        if (display->hasClass(*window, windowClass) && display->isOrdinary(*window)) {
            return *window;
        }
    }
    return std::nullopt;
}

bool WindowList::activate(Window window, std::chrono::milliseconds limit)
{
    if (!display->isUsable()) {
        return false;
    }
    const QDeadlineTimer deadline(limit);
    display->watch(window);
    display->askToActivate(window);
    while (!display->isActive(window)) {
        // There may be events without end that have nothing to do with the window.
        if (deadline.hasExpired() || !display->waitForEvents(deadline)) {
            return false;
        }
    }
    return true;
}

} // namespace platform
