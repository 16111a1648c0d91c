// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/ServerGrab.h"

#include "platform/linux/x11/TimedReply.h"

#include <utility>

#include <xcb/xcbext.h>

namespace platform {

namespace {

using namespace std::chrono_literals;

/// Much longer than a server takes that has nothing else to do.
constexpr auto grabPatience = 100ms;

std::unique_ptr<X11Connection> connectTo(const QByteArray &name)
{
    return std::make_unique<X11Connection>(name.isNull() ? nullptr : name.constData());
}

/// Nothing is selected, but the X server tells every connection of each change of the key map, and
/// keeps what is not read.
void dropEvents(const X11Connection &connection)
{
    while (xcbOwned(xcb_poll_for_event(connection.get()))) {
    }
}

} // namespace

ServerGrab::ServerGrab(const char *display)
    : name(display)
    , connection(connectTo(name))
    , spare(connectTo(name))
{
    connection->watch([this] { takeInAnswer(); });
}

void ServerGrab::askWhetherFree(std::function<void()> isFree)
{
    if (question) {
        return;
    }
    whenFree = std::move(isFree);
    question = xcb_get_input_focus(connection->get()).sequence;
    xcb_flush(connection->get());
}

void ServerGrab::takeInAnswer()
{
    dropEvents(*connection); // Reading also shows that the connection has ended.
    if (spare) {
        dropEvents(*spare);
    }
    void *reply = nullptr;
    xcb_generic_error_t *error = nullptr;
    if (!question || xcb_poll_for_reply(connection->get(), *question, &reply, &error) == 0) {
        return;
    }
    xcbOwned(reply);
    xcbOwned(error);
    question.reset();
    if (!spare && isOpen()) {
        spare = connectTo(name);
    }
    // Not from here: the handler may replace the connection whose event this is.
    QMetaObject::invokeMethod(&context, std::exchange(whenFree, nullptr), Qt::QueuedConnection);
}

bool ServerGrab::take()
{
    dropQuestion();
    xcb_grab_server(connection->get());
    const auto answer = xcb_get_input_focus(connection->get());
    const bool isTaken = replyWithin(connection->get(), answer.sequence, grabPatience) != nullptr;
    if (!isTaken) {
        connectAgain();
    }
    return isTaken;
}

void ServerGrab::release()
{
    xcb_ungrab_server(connection->get());
    xcb_flush(connection->get());
}

/// Its answer might be read together with another one, and would not be announced.
void ServerGrab::dropQuestion()
{
    if (question) {
        xcb_discard_reply(connection->get(), *question);
        question.reset();
    }
}

void ServerGrab::connectAgain()
{
    if (spare) {
        connection = std::move(spare);
        connection->watch([this] { takeInAnswer(); });
    }
}

} // namespace platform
