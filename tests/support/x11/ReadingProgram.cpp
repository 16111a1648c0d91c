// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/x11/ReadingProgram.h"

#include "platform/linux/input/XkbHandles.h"
#include "support/x11/XcbClient.h"

#include <array>
#include <atomic>
#include <mutex>
#include <thread>

#include <poll.h>
#include <xkbcommon/xkbcommon-x11.h>

#include "platform/linux/x11/XcbXkb.h"

struct ReadingProgram::Private
{
    Manners manners;
    XcbConnection connection;
    XcbConnection mapConnection; ///< None if the other one reports changes of the key map.
    xcb_screen_t *screen = nullptr;
    xcb_window_t window = XCB_NONE;
    xcb_atom_t protocols = XCB_NONE;
    xcb_atom_t ping = XCB_NONE;
    quint8 xkbEvent = 0;
    int coreKeyboard = 0;
    XkbContext context{xkb_context_new(XKB_CONTEXT_NO_FLAGS)};
    XkbState keyboard;

    mutable std::mutex guard;
    QString text; ///< Guarded.
    std::atomic<int> answers = 0;
    std::atomic<int> busyTime = 0; ///< Milliseconds that begin at the next look at its events.
    std::atomic<bool> isEnding = false;
    std::thread thread;

    xcb_connection_t *keyboardConnection() const;
    void watchKeyboard();
    void loadKeyboard();
    void makeWindow();
    void run();
    void takeIn(xcb_generic_event_t *event);
    void takeInKey(const xcb_key_press_event_t *event);
    void answer(const xcb_client_message_event_t *event);
};

xcb_connection_t *ReadingProgram::Private::keyboardConnection() const
{
    return mapConnection ? mapConnection.get() : connection.get();
}

void ReadingProgram::Private::watchKeyboard()
{
    xcb_connection_t *const display = keyboardConnection();
    xkb_x11_setup_xkb_extension(display, XKB_X11_MIN_MAJOR_XKB_VERSION,
                                XKB_X11_MIN_MINOR_XKB_VERSION, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS,
                                nullptr, nullptr, &xkbEvent, nullptr);
    constexpr auto events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    constexpr std::uint16_t parts = 0xff;
    xcb_xkb_select_events(display, XCB_XKB_ID_USE_CORE_KBD, events, 0, events, parts, parts,
                          nullptr);
    coreKeyboard = xkb_x11_get_core_keyboard_device_id(display);
    loadKeyboard();
}

void ReadingProgram::Private::loadKeyboard()
{
    const XkbKeymap map(xkb_x11_keymap_new_from_device(context.get(), keyboardConnection(),
                                                       coreKeyboard, XKB_KEYMAP_COMPILE_NO_FLAGS));
    keyboard.reset(map ? xkb_state_new(map.get()) : nullptr);
}

void ReadingProgram::Private::makeWindow()
{
    window = xcb_generate_id(connection.get());
    const std::array<std::uint32_t, 2> values = {
        1 /* not the window manager's */, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE};
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 64, 64, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values.data());
    protocols = XcbClient::atom(connection, "WM_PROTOCOLS");
    ping = XcbClient::atom(connection, "_NET_WM_PING");
    if (manners.answersPings) {
        xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, window, protocols,
                            XCB_ATOM_ATOM, 32, 1, &ping);
    }
    xcb_map_window(connection.get(), window);
}

void ReadingProgram::Private::run()
{
    while (!isEnding && XcbClient::isConnected(connection)) {
        pollfd news{xcb_get_file_descriptor(connection.get()), POLLIN, 0};
        poll(&news, 1, 20);
        if (manners.pause.count() > 0) {
            std::this_thread::sleep_for(manners.pause);
        }
        for (int rest = busyTime.exchange(0); rest > 0 && !isEnding; rest -= 50) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        while (const auto event = xcbOwned(xcb_poll_for_event(connection.get()))) {
            takeIn(event.get());
        }
        xcb_flush(connection.get());
        while (const auto event =
                   xcbOwned(mapConnection ? xcb_poll_for_event(mapConnection.get()) : nullptr)) {
            takeIn(event.get());
        }
    }
}

void ReadingProgram::Private::takeIn(xcb_generic_event_t *event)
{
    const int type = event->response_type & 0x7f;
    if (type == xkbEvent) {
        // Both notices carry the device at the same place.
        if (reinterpret_cast<xcb_xkb_map_notify_event_t *>(event)->deviceID == coreKeyboard) {
            loadKeyboard();
        }
    } else if (type == XCB_KEY_PRESS) {
        takeInKey(reinterpret_cast<xcb_key_press_event_t *>(event));
    } else if (type == XCB_CLIENT_MESSAGE) {
        answer(reinterpret_cast<xcb_client_message_event_t *>(event));
    }
}

void ReadingProgram::Private::takeInKey(const xcb_key_press_event_t *event)
{
    xkb_state_update_mask(keyboard.get(), event->state & 0xffU, 0, 0, 0, 0,
                          (event->state >> 13) & 3U);
    std::array<char, 32> typed{};
    xkb_state_key_get_utf8(keyboard.get(), event->detail, typed.data(), typed.size());
    const std::scoped_lock lock(guard);
    text += QString::fromUtf8(typed.data()).replace(u'\r', u'\n');
}

void ReadingProgram::Private::answer(const xcb_client_message_event_t *event)
{
    if (!manners.answersPings || event->type != protocols || event->data.data32[0] != ping) {
        return;
    }
    xcb_client_message_event_t reply = *event;
    reply.window = screen->root;
    xcb_send_event(connection.get(), 0, screen->root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char *>(&reply));
    ++answers;
}

ReadingProgram::ReadingProgram(const QString &display, Manners manners)
    : d(std::make_unique<Private>())
{
    d->manners = manners;
    d->connection = XcbClient::connectTo(display);
    d->screen = XcbClient::firstScreen(d->connection);
    if (!d->screen) {
        return;
    }
    if (manners.hasMapConnection) {
        d->mapConnection = XcbClient::connectTo(display);
    }
    d->watchKeyboard();
    d->makeWindow();
    takeFocus();
    d->thread = std::thread([this] { d->run(); });
}

ReadingProgram::~ReadingProgram()
{
    d->isEnding = true;
    if (d->thread.joinable()) {
        d->thread.join();
    }
}

bool ReadingProgram::isConnected() const
{
    return XcbClient::isConnected(d->connection);
}

void ReadingProgram::takeFocus()
{
    const auto cookie = xcb_set_input_focus_checked(
        d->connection.get(), XCB_INPUT_FOCUS_POINTER_ROOT, d->window, XCB_CURRENT_TIME);
    xcbOwned(xcb_request_check(d->connection.get(), cookie));
}

void ReadingProgram::beBusy(std::chrono::milliseconds time)
{
    d->busyTime = static_cast<int>(time.count());
}

QString ReadingProgram::text() const
{
    const std::scoped_lock lock(d->guard);
    return d->text;
}

void ReadingProgram::clear()
{
    const std::scoped_lock lock(d->guard);
    d->text.clear();
}

int ReadingProgram::answers() const
{
    return d->answers;
}
