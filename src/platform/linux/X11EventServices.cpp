// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "X11EventServices.h"

#include <utility>

#include <xcb/xtest.h>

namespace platform {

namespace {

/// An X server drops a connection as soon as it sees its end, with the requests that it has not yet
/// read: the last releases would be lost, and the keys would stay down for good.
void waitUntilServerIsDone(xcb_connection_t *connection)
{
    const auto cookie = xcb_get_input_focus(connection);
    xcbOwned(xcb_get_input_focus_reply(connection, cookie, nullptr));
}

} // namespace

X11EventServices::X11EventServices(X11Display display)
    : m_display(std::move(display))
    , m_keyboard(m_display.connection())
    , m_pointer(m_display.connection(), m_display.root())
    , m_notifier(xcb_get_file_descriptor(m_display.connection()), QSocketNotifier::Read)
{
    // Open menus and window managers hold the server for themselves. Without this our requests
    // would wait until they are done.
    constexpr std::uint8_t impervious = 1;
    xcb_test_grab_control(m_display.connection(), impervious);
    QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier,
                     [this] { takeInEvents(); });
    flush();
}

X11EventServices::~X11EventServices()
{
    m_keyboard.releaseAll();
    m_pointer.releaseAll();
    waitUntilServerIsDone(m_display.connection());
}

Location X11EventServices::pointerLocation()
{
    return takeInEvents() ? m_pointer.location() : Location{};
}

void X11EventServices::postKeyboard(const KeyboardEvent &event)
{
    if (!takeInEvents()) {
        return;
    }
    if (event.isDown) {
        m_keyboard.press(event.code, event.flags);
        flushLater();
    } else {
        m_keyboard.release(event.code);
        flush();
    }
}

void X11EventServices::postMouse(std::optional<SourceState> /*source*/,
                                 std::span<const MouseEvent> events, EventTap /*tap*/)
{
    if (!takeInEvents()) {
        return;
    }
    for (const MouseEvent &event : events) {
        postMouse(event);
    }
    flush();
}

void X11EventServices::postMouse(const MouseEvent &event)
{
    switch (event.type) {
    case MouseEventType::Moved:
        m_pointer.moveTo(event.position);
        break;
    case MouseEventType::LeftDown:
        m_pointer.press(MouseButton::Left);
        break;
    case MouseEventType::LeftUp:
        m_pointer.release(MouseButton::Left);
        break;
    case MouseEventType::RightDown:
        m_pointer.press(MouseButton::Right);
        break;
    case MouseEventType::RightUp:
        m_pointer.release(MouseButton::Right);
        break;
    case MouseEventType::OtherDown:
        m_pointer.press(event.button);
        break;
    case MouseEventType::OtherUp:
        m_pointer.release(event.button);
        break;
    }
}

/// Brings the adapter up to date with what the server has reported; false when the connection is
/// broken. A broken one stays readable for ever, so nobody may listen to it any more.
bool X11EventServices::takeInEvents()
{
    xcb_connection_t *connection = m_display.connection();
    while (const auto event = xcbOwned(xcb_poll_for_event(connection))) {
        if (!m_keyboard.handleEvent(event.get())) {
            m_pointer.handleEvent(event.get());
        }
    }
    const bool isOpen = m_display.isOpen();
    m_notifier.setEnabled(isOpen);
    return isOpen;
}

void X11EventServices::flush()
{
    m_isFlushDue = false;
    xcb_flush(m_display.connection());
}

/// A press waits for its release, which usually follows in the same call of the event loop.
void X11EventServices::flushLater()
{
    if (m_isFlushDue) {
        return;
    }
    m_isFlushDue = true;
    const auto flushIfStillDue = [this] {
        if (m_isFlushDue) {
            flush();
        }
    };
    QMetaObject::invokeMethod(&m_notifier, flushIfStillDue, Qt::QueuedConnection);
}

} // namespace platform
