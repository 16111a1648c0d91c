// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/X11EventServices.h"

#include "platform/linux/x11/X11Server.h"

#include <QAbstractEventDispatcher>

#include <utility>

#include <xcb/xcbext.h>
#include <xcb/xtest.h>

namespace platform {

namespace {

/// Moves cause no releases, whose answers would show how far the server has come.
constexpr int flushesPerQuestion = 8;
/// The system lets a write wait after some 70 small ones that nobody has read.
constexpr int mostUnansweredFlushes = 24;

/// An X server drops a connection as soon as it sees its end, with the requests that it has not
/// read yet: the last releases would be lost, and the keys would stay down.
void waitUntilServerIsDone(xcb_connection_t *connection)
{
    const auto cookie = xcb_get_input_focus(connection);
    xcbOwned(xcb_get_input_focus_reply(connection, cookie, nullptr));
}

} // namespace

X11EventServices::X11EventServices(X11Connection openConnection, const TypingTimes &typingTimes)
    : connection(std::move(openConnection))
    , ledger(held.get())
    , keyboard(connection.get(), ledger)
    , pointer(connection.get(), connection.root(), ledger)
    , typist(connection, keyboard, link(), typingTimes)
    , desktopInput(keyboard, pointer, typist, link())
{
    // Open menus and window managers grab the server.
    ignoreServerGrabs(connection);
    connection.watch([this] { takeInAll(); });
    actBeforeSleep();
    flush();
}

/// Whatever is sent or asked in between may take in the answer to the question, too. Then nothing
/// more arrives that would wake the event loop, and moves that wait for the answer would wait on.
/// What is due is sent here and not by a posted event, which costs another round of the event loop.
void X11EventServices::actBeforeSleep()
{
    const auto act = [this] {
        if (isFlushDue) {
            flush();
        }
        if (question && !hasRoom()) {
            takeInAll();
        }
    };
    // The second one is for loops that do not sleep.
    const auto *dispatcher = QAbstractEventDispatcher::instance();
    QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, &context, act);
    QObject::connect(dispatcher, &QAbstractEventDispatcher::awake, &context, act);
}

void X11EventServices::takeInAll()
{
    if (!takeInEvents()) {
        typist.fail();
    }
}

X11EventServices::~X11EventServices()
{
    keyboard.releaseAll();
    pointer.releaseAll();
    typist.end();
    waitUntilServerIsDone(connection.get());
    guard.reset();
}

void X11EventServices::startGuard()
{
    // It is never shown, and is destroyed with the connection.
    const xcb_window_t marker = xcb_generate_id(connection.get());
    const std::uint32_t isUnmanaged = 1;
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, marker, connection.root(), 0, 0, 1, 1,
                      0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT, &isUnmanaged);
    waitUntilServerIsDone(connection.get());
    guard = std::make_unique<InputGuard>(held.descriptor(), marker);
}

Location X11EventServices::pointerLocation()
{
    return takeInEvents() ? pointer.location() : Location{};
}

void X11EventServices::postKeyboard(const KeyboardEvent &event)
{
    if (!takeInEvents()) {
        return;
    }
    if (event.isDown) {
        keyboard.press(event.code, event.flags);
        flushLater();
    } else {
        keyboard.release(event.code);
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
        pointer.moveTo(event.position);
        break;
    case MouseEventType::LeftDown:
        pointer.press(MouseButton::Left);
        break;
    case MouseEventType::LeftUp:
        pointer.release(MouseButton::Left);
        break;
    case MouseEventType::RightDown:
        pointer.press(MouseButton::Right);
        break;
    case MouseEventType::RightUp:
        pointer.release(MouseButton::Right);
        break;
    case MouseEventType::OtherDown:
        pointer.press(event.button);
        break;
    case MouseEventType::OtherUp:
        pointer.release(event.button);
        break;
    }
}

InputLink X11EventServices::link()
{
    return {.takeInEvents = [this] { return takeInEvents(); },
            .flush = [this] { flush(); },
            .flushLater = [this] { flushLater(); },
            .hasRoom = [this] { return hasRoom(); }};
}

/// Brings the adapter up to date with what the server has reported; false when the connection is
/// broken.
bool X11EventServices::takeInEvents()
{
    while (const auto event = xcbOwned(xcb_poll_for_event(connection.get()))) {
        if (!keyboard.handleEvent(event.get()) && !typist.handleEvent(event.get())) {
            pointer.handleEvent(event.get());
        }
    }
    takeInProgress();
    return connection.isOpen();
}

/// Asked without waiting: the answer arrives like an event.
void X11EventServices::askForProgress()
{
    const bool isDue = ledger.isAnyUnconfirmed() || unansweredFlushes >= flushesPerQuestion;
    if (!question && isDue) {
        question = xcb_get_input_focus(connection.get()).sequence;
    }
}

void X11EventServices::takeInProgress()
{
    void *reply = nullptr;
    xcb_generic_error_t *error = nullptr;
    if (!question || xcb_poll_for_reply(connection.get(), *question, &reply, &error) == 0) {
        return;
    }
    const auto ownedError = xcbOwned(error);
    // There is no answer if the connection is broken.
    if (const auto answer = xcbOwned(static_cast<xcb_generic_reply_t *>(reply))) {
        ledger.confirm(*question);
    }
    const bool hadRoom = hasRoom();
    question.reset();
    unansweredFlushes = 0;
    askForProgress();
    if (!isFlushDue) {
        xcb_flush(connection.get());
    }
    if (!hadRoom) {
        desktopInput.onProgress();
    }
}

bool X11EventServices::hasRoom() const
{
    return unansweredFlushes < mostUnansweredFlushes;
}

void X11EventServices::flush()
{
    isFlushDue = false;
    ++unansweredFlushes;
    askForProgress();
    xcb_flush(connection.get());
}

/// A press is sent together with its release, which usually follows in the same turn of the event
/// loop.
void X11EventServices::flushLater()
{
    isFlushDue = true;
}

} // namespace platform
