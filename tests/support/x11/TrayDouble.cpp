// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/x11/TrayDouble.h"

#include <QSocketNotifier>

#include <xcb/xcb.h>

#include <array>
#include <cstdlib>
#include <cstring>

namespace {

struct Freer
{
    void operator()(void *memory) const { std::free(memory); }
};
template <typename Reply> using Owned = std::unique_ptr<Reply, Freer>;

constexpr uint32_t RequestDock = 0;
constexpr uint32_t EmbeddedNotify = 0;
constexpr uint16_t IconSize = 22;

} // namespace

struct TrayDouble::Private
{
    explicit Private(Manner trayManner) : manner(trayManner) {}

    xcb_atom_t atom(const char *name) const;
    void makeWindow();
    void readEvents();
    void takeIn(xcb_window_t icon) const;

    const Manner manner;
    xcb_connection_t *connection = nullptr;
    const xcb_screen_t *screen = nullptr;
    xcb_window_t window = 0;
    std::unique_ptr<QSocketNotifier> notifier;
    QElapsedTimer sinceRequest;
};

xcb_atom_t TrayDouble::Private::atom(const char *name) const
{
    const auto cookie =
        xcb_intern_atom(connection, false, static_cast<uint16_t>(qstrlen(name)), name);
    const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

void TrayDouble::Private::makeWindow()
{
    window = xcb_generate_id(connection);
    const uint32_t overridesManager = 1;
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, IconSize,
                      IconSize, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT, &overridesManager);
    if (manner == Manner::TakesToOrigin) {
        xcb_map_window(connection, window);
    }
    xcb_set_selection_owner(connection, window, atom("_NET_SYSTEM_TRAY_S0"), XCB_CURRENT_TIME);
    xcb_flush(connection);
}

void TrayDouble::Private::readEvents()
{
    while (const auto event = Owned<xcb_generic_event_t>(xcb_poll_for_event(connection))) {
        if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE) {
            continue;
        }
        xcb_client_message_event_t message;
        std::memcpy(&message, event.get(), sizeof message);
        if (message.type != atom("_NET_SYSTEM_TRAY_OPCODE") ||
            message.data.data32[1] != RequestDock) {
            continue;
        }
        sinceRequest.start();
        if (manner == Manner::TakesToOrigin) {
            takeIn(message.data.data32[2]);
        }
    }
}

void TrayDouble::Private::takeIn(xcb_window_t icon) const
{
    xcb_reparent_window(connection, icon, window, 0, 0);
    xcb_client_message_event_t notice{};
    notice.response_type = XCB_CLIENT_MESSAGE;
    notice.format = 32;
    notice.window = icon;
    notice.type = atom("_XEMBED");
    const std::array<uint32_t, 5> words = {XCB_CURRENT_TIME, EmbeddedNotify, 0, window, 0};
    std::memcpy(notice.data.data32, words.data(), sizeof notice.data.data32);
    std::array<char, 32> bytes{};
    std::memcpy(bytes.data(), &notice, sizeof notice);
    xcb_send_event(connection, false, icon, XCB_EVENT_MASK_NO_EVENT, bytes.data());
    xcb_map_window(connection, icon);
    xcb_flush(connection);
}

TrayDouble::TrayDouble(const QString &display, Manner manner) : d(std::make_unique<Private>(manner))
{
    d->connection = xcb_connect(display.toLocal8Bit().constData(), nullptr);
    if (xcb_connection_has_error(d->connection) != 0) {
        return;
    }
    d->screen = xcb_setup_roots_iterator(xcb_get_setup(d->connection)).data;
    d->makeWindow();
    d->notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(d->connection),
                                                    QSocketNotifier::Read);
    QObject::connect(d->notifier.get(), &QSocketNotifier::activated, d->notifier.get(),
                     [this] { d->readEvents(); });
}

TrayDouble::~TrayDouble()
{
    d->notifier.reset();
    xcb_disconnect(d->connection);
}

bool TrayDouble::isReady() const
{
    if (d->window == 0) {
        return false;
    }
    const Owned<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        d->connection, xcb_get_selection_owner(d->connection, d->atom("_NET_SYSTEM_TRAY_S0")),
        nullptr));
    return reply && reply->owner == d->window;
}

const QElapsedTimer &TrayDouble::sinceRequest() const
{
    return d->sinceRequest;
}
