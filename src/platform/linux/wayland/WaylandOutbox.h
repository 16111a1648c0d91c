// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/wayland/WaylandConnection.h"

#include <QObject>

#include <cstddef>
#include <deque>
#include <functional>
#include <utility>

namespace platform {

/// Sends requests in their order, but never more than the compositor has room for: libwayland ends
/// a connection whose buffers are full. What a compositor that is stopped has no room for waits
/// here.
class WaylandOutbox : public QObject
{
    Q_OBJECT

public:
    explicit WaylandOutbox(WaylandConnection &openConnection);

    /// Calls `request`, which asks one thing of the compositor, now or once there is room.
    template <typename Request> void send(Request request)
    {
        // A group of requests may begin whenever there is room.
        if (waiting.empty() && isRoomOnWire(longestGroup)) {
            ++unflushed;
            request();
        } else {
            waiting.emplace_back(std::move(request));
        }
    }
    /// To be called after every group of requests.
    void flush();
    /// The same at the end of this turn of the event loop, together with what follows until then.
    void flushLater() { isFlushDue = true; }

    /// Whether a request would be sent at once. progressed() tells when there is room again.
    bool hasRoom() const { return waiting.empty() && isRoomOnWire(); }
    /// Whether so much is waiting that no more should be asked for. What ends something, such as
    /// the release of a key, may be sent nevertheless.
    bool isClogged() const { return waiting.size() >= mostWaiting; }
    /// Forgets everything: the objects of the requests are gone.
    void clear();

signals:
    void progressed();

private:
    /// Of the requests here each has some 24 bytes; buffers hold more than 200 KiB, but the system
    /// counts a small write as a kilobyte.
    static constexpr int mostRequests = 1024;
    static constexpr int longestGroup = 32;
    static constexpr int mostFlushes = 48;
    static constexpr int requestsPerQuestion = 32;
    static constexpr int flushesPerQuestion = 8;
    static constexpr std::size_t mostWaiting = 1000;

    bool isRoomOnWire(int more = 0) const
    {
        return unanswered + unflushed < mostRequests + more && flushes < mostFlushes;
    }
    void ask();
    void onAnswer(int requests, int writes);

    WaylandConnection &connection;
    std::deque<std::function<void()>> waiting;
    int unflushed = 0;
    int unanswered = 0; ///< Requests that the compositor may not have read.
    int flushes = 0;    ///< The writes of those.
    bool isAsking = false;
    bool isFlushDue = false; ///< At the end of this turn.
    int life = 0;            ///< What was asked before the last clear() is not answered.
};

} // namespace platform
