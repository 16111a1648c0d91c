// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/X11SelectionReader.h"

#include "platform/linux/X11Atoms.h"
#include "platform/linux/X11Display.h"

#include <QSocketNotifier>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <vector>

using namespace std::chrono_literals;

namespace platform {
namespace {

/// How long the owner of the clipboard may be silent.
constexpr auto ownerSilence = 1s;

/// What plain text is offered as, the best first. Wanted: a list of files is no text.
constexpr std::array textTargetNames = {"UTF8_STRING", "text/plain;charset=utf-8", "STRING",
                                        "text/plain"};

} // namespace

X11SelectionReader::X11SelectionReader() : connection(xcb_connect(nullptr, &screenNumber))
{
    ownerTime.setSingleShot(true);
    ownerTime.setInterval(ownerSilence);
    connect(&ownerTime, &QTimer::timeout, this, [this] { finish(std::nullopt); });
    if (xcb_connection_has_error(connection.get()) != 0) {
        return;
    }
    internAtoms();
    createWindow();
    auto *notifier =
        new QSocketNotifier(xcb_get_file_descriptor(connection.get()), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
        readEvents();
        notifier->setEnabled(xcb_connection_has_error(connection.get()) == 0);
    });
}

X11SelectionReader::~X11SelectionReader() = default;

void X11SelectionReader::internAtoms()
{
    clipboard = internAtom(connection.get(), "CLIPBOARD");
    targets = internAtom(connection.get(), "TARGETS");
    incremental = internAtom(connection.get(), "INCR");
    for (size_t i = 0; i < properties.size(); ++i) {
        const auto number = QByteArray::number(static_cast<qulonglong>(i));
        properties[i] = internAtom(connection.get(), "VORNASERVER_TEXT_" + number);
    }
    std::transform(textTargetNames.begin(), textTargetNames.end(), textTargets.begin(),
                   [this](const char *name) { return internAtom(connection.get(), name); });
}

void X11SelectionReader::createWindow()
{
    ignoreServerGrabs(connection.get());
    window = xcb_generate_id(connection.get());
    const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    const xcb_screen_t *screen = defaultScreen(connection.get(), screenNumber);
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection.get());
}

void X11SelectionReader::start()
{
    received.clear();
    convert(targets, Step::Targets);
    // Replies may have brought events along that the notifier does not see.
    QMetaObject::invokeMethod(this, &X11SelectionReader::readEvents, Qt::QueuedConnection);
}

void X11SelectionReader::convert(xcb_atom_t wanted, Step next)
{
    target = wanted;
    property = properties[requests++ % properties.size()];
    step = next;
    ownerTime.start();
    xcb_convert_selection(connection.get(), window, clipboard, wanted, property, XCB_CURRENT_TIME);
    xcb_flush(connection.get());
}

void X11SelectionReader::readEvents()
{
    while (const auto event = XcbOwned<xcb_generic_event_t>(xcb_poll_for_event(connection.get()))) {
        switch (event->response_type & 0x7f) {
        case XCB_SELECTION_NOTIFY:
            handleNotification(
                *reinterpret_cast<const xcb_selection_notify_event_t *>(event.get()));
            break;
        case XCB_PROPERTY_NOTIFY:
            handlePropertyChange(
                *reinterpret_cast<const xcb_property_notify_event_t *>(event.get()));
            break;
        default:
            break;
        }
    }
}

void X11SelectionReader::handleNotification(const xcb_selection_notify_event_t &event)
{
    const bool isRefusal = event.property == XCB_ATOM_NONE;
    // A late answer to a request that was given up is not the answer to this one.
    if (event.target != target || (event.property != property && !isRefusal)) {
        return;
    }
    if (step != Step::Targets && step != Step::Text) {
        return;
    }
    if (isRefusal) {
        finish(std::nullopt);
    } else if (step == Step::Targets) {
        handleTargets();
    } else {
        handleText();
    }
}

void X11SelectionReader::handlePropertyChange(const xcb_property_notify_event_t &event)
{
    if (step == Step::NextPiece && event.atom == property &&
        event.state == XCB_PROPERTY_NEW_VALUE) {
        takePiece();
    }
}

void X11SelectionReader::handleTargets()
{
    const QByteArray bytes = takeProperty();
    std::vector<xcb_atom_t> offered(static_cast<size_t>(bytes.size()) / sizeof(xcb_atom_t));
    if (!offered.empty()) {
        std::memcpy(offered.data(), bytes.constData(), offered.size() * sizeof(xcb_atom_t));
    }
    const auto best =
        std::find_first_of(textTargets.begin(), textTargets.end(), offered.begin(), offered.end());
    if (best == textTargets.end()) {
        finish(std::nullopt);
    } else {
        convert(*best, Step::Text);
    }
}

void X11SelectionReader::handleText()
{
    received = takeProperty();
    if (propertyType == incremental) {
        // What came is only an estimate of the size; taking it away asks for the first piece.
        received.clear();
        step = Step::NextPiece;
        ownerTime.start();
    } else {
        finish(decoded());
    }
}

void X11SelectionReader::takePiece()
{
    const QByteArray piece = takeProperty();
    received += piece;
    ownerTime.start();
    if (piece.isEmpty()) {
        finish(decoded());
    }
}

/// Takes the owner's answer away from our window and keeps its type.
QByteArray X11SelectionReader::takeProperty()
{
    constexpr uint32_t everything = std::numeric_limits<uint32_t>::max() / 4;
    const auto cookie = xcb_get_property(connection.get(), 1, window, property,
                                         XCB_GET_PROPERTY_TYPE_ANY, 0, everything);
    const XcbOwned<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(connection.get(), cookie, nullptr));
    if (!reply) {
        return {};
    }
    propertyType = reply->type;
    return {static_cast<const char *>(xcb_get_property_value(reply.get())),
            xcb_get_property_value_length(reply.get())};
}

QString X11SelectionReader::decoded() const
{
    return propertyType == XCB_ATOM_STRING ? QString::fromLatin1(received)
                                           : QString::fromUtf8(received);
}

void X11SelectionReader::finish(const std::optional<QString> &text)
{
    step = Step::Idle;
    ownerTime.stop();
    received.clear();
    emit finished(text);
}

} // namespace platform
