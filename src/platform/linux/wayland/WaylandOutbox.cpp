// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/wayland/WaylandOutbox.h"

#include <QAbstractEventDispatcher>

namespace platform {

/// What is due is not sent by a posted event, which costs another round of the event loop. The
/// second signal is for loops that do not sleep.
WaylandOutbox::WaylandOutbox(WaylandConnection &openConnection) : connection(openConnection)
{
    using Dispatcher = QAbstractEventDispatcher;
    for (const auto turnEnds : {&Dispatcher::aboutToBlock, &Dispatcher::awake}) {
        connect(Dispatcher::instance(), turnEnds, this, [this] {
            if (isFlushDue) {
                flush();
            }
        });
    }
}

void WaylandOutbox::flush()
{
    isFlushDue = false;
    if (unflushed == 0) {
        return;
    }
    unanswered += std::exchange(unflushed, 0);
    ++flushes;
    const bool isQuestionDue =
        unanswered >= requestsPerQuestion || flushes >= flushesPerQuestion || !waiting.empty();
    if (!isAsking && isQuestionDue) {
        ask();
    } else {
        connection.flush();
    }
}

void WaylandOutbox::ask()
{
    isAsking = true;
    connection.afterEverything([this, asked = life, requests = unanswered, writes = flushes] {
        if (asked == life) {
            onAnswer(requests, writes);
        }
    });
}

void WaylandOutbox::onAnswer(int requests, int writes)
{
    isAsking = false;
    unanswered -= requests;
    flushes -= writes;
    while (!waiting.empty() && isRoomOnWire()) {
        const auto request = std::move(waiting.front());
        waiting.pop_front();
        ++unflushed;
        request();
    }
    flush();
    emit progressed();
}

void WaylandOutbox::clear()
{
    ++life;
    waiting.clear();
    unflushed = 0;
    unanswered = 0;
    flushes = 0;
    isAsking = false;
}

} // namespace platform
