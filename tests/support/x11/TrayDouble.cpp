// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/x11/TrayDouble.h"

#include "support/x11/XcbClient.h"

#include <QSocketNotifier>

#include <array>
#include <cstring>

namespace {

constexpr uint32_t RequestDock = 0;
constexpr uint32_t EmbeddedNotify = 0;
constexpr uint16_t IconSize = 22;

} // namespace

struct TrayDouble::Private
{
    explicit Private(Manner trayManner) : manner(trayManner) {}

    xcb_atom_t atom(const char *name) const { return XcbClient::atom(connection, name); }
    void makeWindow();
    void readEvents();
    void takeIn(xcb_window_t icon) const;

    const Manner manner;
    XcbConnection connection;
    const xcb_screen_t *screen = nullptr;
    xcb_window_t window = 0;
    std::unique_ptr<QSocketNotifier> notifier; ///< Behind the connection, whose socket it watches.
    QElapsedTimer sinceRequest;
};

void TrayDouble::Private::makeWindow()
{
    window = xcb_generate_id(connection.get());
    const uint32_t overridesManager = 1;
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, IconSize,
                      IconSize, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT, &overridesManager);
    if (manner == Manner::TakesToOrigin) {
        xcb_map_window(connection.get(), window);
    }
    xcb_set_selection_owner(connection.get(), window, atom("_NET_SYSTEM_TRAY_S0"),
                            XCB_CURRENT_TIME);
    xcb_flush(connection.get());
}

void TrayDouble::Private::readEvents()
{
    while (const auto event = xcbOwned(xcb_poll_for_event(connection.get()))) {
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
    xcb_reparent_window(connection.get(), icon, window, 0, 0);
    xcb_client_message_event_t notice{};
    notice.response_type = XCB_CLIENT_MESSAGE;
    notice.format = 32;
    notice.window = icon;
    notice.type = atom("_XEMBED");
    const std::array<uint32_t, 5> words = {XCB_CURRENT_TIME, EmbeddedNotify, 0, window, 0};
    std::memcpy(notice.data.data32, words.data(), sizeof notice.data.data32);
    std::array<char, 32> bytes{};
    std::memcpy(bytes.data(), &notice, sizeof notice);
    xcb_send_event(connection.get(), false, icon, XCB_EVENT_MASK_NO_EVENT, bytes.data());
    xcb_map_window(connection.get(), icon);
    xcb_flush(connection.get());
}

TrayDouble::TrayDouble(const QString &display, Manner manner) : d(std::make_unique<Private>(manner))
{
    d->connection = XcbClient::connectTo(display);
    d->screen = XcbClient::firstScreen(d->connection);
    if (d->screen == nullptr) {
        return;
    }
    d->makeWindow();
    d->notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(d->connection.get()),
                                                    QSocketNotifier::Read);
    QObject::connect(d->notifier.get(), &QSocketNotifier::activated, d->notifier.get(),
                     [this] { d->readEvents(); });
}

TrayDouble::~TrayDouble() = default;

bool TrayDouble::isReady() const
{
    return d->window != 0 &&
           XcbClient::selectionOwner(d->connection, "_NET_SYSTEM_TRAY_S0") == d->window;
}

const QElapsedTimer &TrayDouble::sinceRequest() const
{
    return d->sinceRequest;
}
