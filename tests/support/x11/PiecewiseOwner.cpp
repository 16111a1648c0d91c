// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/x11/PiecewiseOwner.h"

#include "support/Waiting.h"
#include "support/x11/XcbClient.h"

#include <array>
#include <cstring>
#include <functional>

#include <poll.h>

struct PiecewiseOwner::Private
{
    XcbConnection connection;
    xcb_window_t window = 0;
    xcb_selection_request_event_t request{}; ///< The one that is being served.

    using IsWanted = std::function<bool(const xcb_generic_event_t &)>;

    xcb_atom_t atom(const char *name) const { return XcbClient::atom(connection, name); }
    void takeClipboard();
    bool waitFor(const IsWanted &isWanted) const;
    bool waitForRequest(xcb_atom_t target);
    bool waitUntilTaken() const;
    void put(xcb_atom_t type, uint8_t format, uint32_t count, const void *data) const;
    void notify() const;
};

void PiecewiseOwner::Private::takeClipboard()
{
    const xcb_window_t root = XcbClient::firstScreen(connection)->root;
    window = xcb_generate_id(connection.get());
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_set_selection_owner(connection.get(), window, atom("CLIPBOARD"), XCB_CURRENT_TIME);
    if (XcbClient::selectionOwner(connection, "CLIPBOARD") != window) {
        qFatal("Cannot own the clipboard");
    }
}

bool PiecewiseOwner::Private::waitFor(const IsWanted &isWanted) const
{
    const auto end = std::chrono::steady_clock::now() + GenerousLimit;
    while (std::chrono::steady_clock::now() < end) {
        while (const auto event = xcbOwned(xcb_poll_for_event(connection.get()))) {
            if (isWanted(*event)) {
                return true;
            }
        }
        pollfd arrival{xcb_get_file_descriptor(connection.get()), POLLIN, 0};
        ::poll(&arrival, 1, 10);
    }
    return false;
}

bool PiecewiseOwner::Private::waitForRequest(xcb_atom_t target)
{
    return waitFor([&](const xcb_generic_event_t &event) {
        if ((event.response_type & 0x7f) != XCB_SELECTION_REQUEST) {
            return false;
        }
        request = reinterpret_cast<const xcb_selection_request_event_t &>(event);
        return request.target == target;
    });
}

bool PiecewiseOwner::Private::waitUntilTaken() const
{
    return waitFor([&](const xcb_generic_event_t &event) {
        if ((event.response_type & 0x7f) != XCB_PROPERTY_NOTIFY) {
            return false;
        }
        const auto &change = reinterpret_cast<const xcb_property_notify_event_t &>(event);
        return change.state == XCB_PROPERTY_DELETE && change.window == request.requestor &&
               change.atom == request.property;
    });
}

void PiecewiseOwner::Private::put(xcb_atom_t type, uint8_t format, uint32_t count,
                                  const void *data) const
{
    xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, request.requestor,
                        request.property, type, format, count, data);
    xcb_flush(connection.get());
}

void PiecewiseOwner::Private::notify() const
{
    xcb_selection_notify_event_t event{};
    event.response_type = XCB_SELECTION_NOTIFY;
    event.time = request.time;
    event.requestor = request.requestor;
    event.selection = request.selection;
    event.target = request.target;
    event.property = request.property;
    // Every event takes 32 bytes, whatever its own structure holds.
    std::array<char, 32> bytes{};
    std::memcpy(bytes.data(), &event, sizeof event);
    xcb_send_event(connection.get(), false, request.requestor, XCB_EVENT_MASK_NO_EVENT,
                   bytes.data());
    xcb_flush(connection.get());
}

PiecewiseOwner::PiecewiseOwner(const QString &display) : d(std::make_unique<Private>())
{
    d->connection = XcbClient::connectTo(display);
    d->takeClipboard();
}

PiecewiseOwner::~PiecewiseOwner()
{
    vanish();
}

bool PiecewiseOwner::offerText()
{
    if (!d->waitForRequest(d->atom("TARGETS"))) {
        return false;
    }
    const xcb_atom_t text = d->atom("UTF8_STRING");
    d->put(XCB_ATOM_ATOM, 32, 1, &text);
    d->notify();
    return true;
}

bool PiecewiseOwner::announcePieces()
{
    if (!d->waitForRequest(d->atom("UTF8_STRING"))) {
        return false;
    }
    const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(d->connection.get(), d->request.requestor, XCB_CW_EVENT_MASK,
                                 &mask);
    const uint32_t leastSize = 1;
    d->put(d->atom("INCR"), 32, 1, &leastSize);
    d->notify();
    return true;
}

bool PiecewiseOwner::sendPiece(const QByteArray &piece)
{
    if (!d->waitUntilTaken()) {
        return false;
    }
    d->put(d->atom("UTF8_STRING"), 8, static_cast<uint32_t>(piece.size()), piece.constData());
    return true;
}

void PiecewiseOwner::vanish()
{
    d->connection.reset();
}
