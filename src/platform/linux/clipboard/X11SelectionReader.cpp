// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/X11SelectionReader.h"

#include "platform/Clipboard.h"
#include "platform/linux/x11/X11Server.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <vector>

using namespace std::chrono_literals;

namespace platform {
namespace {

/// How long the owner of the clipboard may take for everything.
constexpr auto selectionPatience = 1s;

/// How many bytes are requested from the X server at once, and read before other parts of the
/// program have their turn: less than two milliseconds of work.
constexpr uint32_t propertyReadSize = 256 * 1024;

/// How many events are handled before other parts of the program have their turn: an owner may send
/// them faster than they are handled.
constexpr int eventsInTurn = 8;

/// In bytes; more than any real list of targets has.
constexpr uint32_t maximumTargets = 64 * 1024;

/// The targets of plain text, the best first. By design: a list of files is no text.
constexpr std::array textTargetNames = {"UTF8_STRING", "text/plain;charset=utf-8", "STRING",
                                        "text/plain"};

} // namespace

X11SelectionReader::X11SelectionReader()
{
    ownerTime.setSingleShot(true);
    ownerTime.setInterval(selectionPatience);
    connect(&ownerTime, &QTimer::timeout, this, [this] { finish(std::nullopt); });
    if (!connection.isOpen()) {
        return;
    }
    internAtoms();
    createWindow();
    connection.watch([this] { readEvents(); });
}

void X11SelectionReader::internAtoms()
{
    clipboard = connection.atom("CLIPBOARD");
    targets = connection.atom("TARGETS");
    incremental = connection.atom("INCR");
    for (size_t i = 0; i < properties.size(); ++i) {
        const auto number = QByteArray::number(static_cast<qulonglong>(i));
        properties[i] = connection.atom("VORNASERVER_TEXT_" + number);
    }
    std::transform(textTargetNames.begin(), textTargetNames.end(), textTargets.begin(),
                   [this](const char *name) { return connection.atom(name); });
}

void X11SelectionReader::createWindow()
{
    ignoreServerGrabs(connection);
    window = xcb_generate_id(connection.get());
    const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, connection.root(), 0, 0, 1, 1,
                      0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                      &mask);
    xcb_flush(connection.get());
}

void X11SelectionReader::start()
{
    isInPieces = false;
    receivedBytes = 0;
    ownerTime.start();
    convert(targets, Step::Targets);
    readEventsLater();
}

xcb_window_t X11SelectionReader::owner()
{
    const auto cookie = xcb_get_selection_owner(connection.get(), clipboard);
    const auto reply = xcbOwned(xcb_get_selection_owner_reply(connection.get(), cookie, nullptr));
    readEventsLater();
    return reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
}

void X11SelectionReader::convert(xcb_atom_t wanted, Step next)
{
    target = wanted;
    property = properties[requests++ % properties.size()];
    step = next;
    xcb_convert_selection(connection.get(), window, clipboard, wanted, property, XCB_CURRENT_TIME);
    xcb_flush(connection.get());
}

void X11SelectionReader::readEvents()
{
    const qsizetype before = receivedBytes;
    for (int count = 0; count < eventsInTurn && receivedBytes < before + propertyReadSize;
         ++count) {
        const auto event = xcbOwned(xcb_poll_for_event(connection.get()));
        if (!event) {
            return;
        }
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
    readEventsLater();
}

/// The notifier does not announce events that arrived together with a reply.
void X11SelectionReader::readEventsLater()
{
    QMetaObject::invokeMethod(this, &X11SelectionReader::readEvents, Qt::QueuedConnection);
}

void X11SelectionReader::handleNotification(const xcb_selection_notify_event_t &event)
{
    const bool isRefusal = event.property == XCB_ATOM_NONE;
    // A late answer to an abandoned request must not be taken for the answer to this one.
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
        readTextFrom(0);
    }
}

void X11SelectionReader::handleTargets()
{
    const QByteArray bytes = takeProperty(0, maximumTargets);
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
    takeProperty(0, 0);
    if (propertyType == incremental) {
        // The value is only an estimate of the size; deleting it requests the first piece.
        isInPieces = true;
        step = Step::NextPiece;
        dropProperty();
        return;
    }
    readTextFrom(0);
}

/// Reads from this byte on what the owner has put there: the whole text or one piece of it. A long
/// one takes several turns of the event loop.
void X11SelectionReader::readTextFrom(uint32_t offset)
{
    step = Step::Reading;
    const QByteArray bytes = takeProperty(offset, propertyReadSize);
    if (receivedBytes == 0) {
        // A mark of the byte order at the beginning belongs to the text.
        decoder = QStringDecoder(propertyType == XCB_ATOM_STRING ? QStringConverter::Latin1
                                                                 : QStringConverter::Utf8,
                                 QStringConverter::Flag::ConvertInitialBom);
    }
    receivedBytes += bytes.size();
    if (receivedBytes + bytesLeft > maximumClipboardText) {
        finish(std::nullopt);
        return;
    }
    received += decoder(bytes);
    if (bytesLeft > 0) {
        const uint32_t next = offset + static_cast<uint32_t>(bytes.size());
        QMetaObject::invokeMethod(
            this,
            [this, next, request = requests] {
                if (step == Step::Reading && request == requests) {
                    readTextFrom(next);
                    readEventsLater();
                }
            },
            Qt::QueuedConnection);
    } else if (isInPieces && !bytes.isEmpty()) {
        step = Step::NextPiece;
    } else {
        finish(received);
    }
}

/// Reads that much of the owner's answer. When the end is read, the answer is deleted from our
/// window. Both numbers are bytes, in multiples of four.
QByteArray X11SelectionReader::takeProperty(uint32_t offset, uint32_t size)
{
    constexpr uint32_t unit = 4;
    const auto cookie = xcb_get_property(connection.get(), size > 0, window, property,
                                         XCB_GET_PROPERTY_TYPE_ANY, offset / unit, size / unit);
    const auto reply = xcbOwned(xcb_get_property_reply(connection.get(), cookie, nullptr));
    propertyType = reply ? reply->type : xcb_atom_t{XCB_ATOM_NONE};
    bytesLeft = reply ? reply->bytes_after : 0;
    if (!reply) {
        return {};
    }
    return {static_cast<const char *>(xcb_get_property_value(reply.get())),
            xcb_get_property_value_length(reply.get())};
}

void X11SelectionReader::dropProperty()
{
    xcb_delete_property(connection.get(), window, property);
    xcb_flush(connection.get());
    bytesLeft = 0;
}

/// The rest of an answer that is not wanted would stay in the X server's memory.
void X11SelectionReader::finish(const std::optional<QString> &text)
{
    if (bytesLeft > 0) {
        dropProperty();
    }
    step = Step::Idle;
    ownerTime.stop();
    received = QString();
    emit finished(text);
}

} // namespace platform
