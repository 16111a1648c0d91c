// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/wayland/WaylandOutbox.h"

namespace platform {

WaylandOutbox::WaylandOutbox(WaylandConnection &openConnection) : connection(openConnection) {}

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

void WaylandOutbox::flushLater()
{
    if (isFlushDue) {
        return;
    }
    isFlushDue = true;
    const auto flushIfStillDue = [this] {
        if (isFlushDue) {
            flush();
        }
    };
    QMetaObject::invokeMethod(this, flushIfStillDue, Qt::QueuedConnection);
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
