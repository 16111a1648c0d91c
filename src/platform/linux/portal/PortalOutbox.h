// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/portal/PortalEvent.h"
#include "platform/linux/portal/RemoteDesktopPortal.h"

#include <QObject>

#include <cstddef>
#include <deque>
#include <functional>
#include <vector>

namespace platform {

/// Events on their way to the portal. One is sent at a time: the portal handles each call in a
/// thread of its own, so two that are on their way together may swap. Meanwhile moves add up.
class PortalOutbox
{
public:
    /// More than that are never kept; far more than anybody types ahead.
    static constexpr std::size_t mostWaiting = 100'000;
    /// While fewer wait there is room.
    static constexpr std::size_t fewWaiting = 64;

    explicit PortalOutbox(RemoteDesktopPortal &openPortal) : portal(openPortal) {}
    PortalOutbox(const PortalOutbox &) = delete;
    PortalOutbox &operator=(const PortalOutbox &) = delete;

    /// Whether there is room for what can wait. Releases are always taken.
    bool hasRoom() const { return waiting.size() < fewWaiting; }
    bool isEmpty() const { return waiting.empty() && !isUnderway; }

    /// Sends it after those before it. A press or a move is dropped if too many wait; false then.
    bool add(const PortalEvent &event);
    /// The session has ended, and with it everything that was down.
    void forget();
    /// Drops what waits, and releases what is down. Waits for a portal that answers, and a second
    /// for one that does not.
    void end();

    /// Called from the event loop after each event that was handled.
    std::function<void()> onProgress = [] {};

private:
    void sendNext();
    void noteDown(const PortalEvent &event);

    RemoteDesktopPortal &portal;
    std::deque<PortalEvent> waiting;
    bool isUnderway = false;
    std::vector<PortalEvent> down; ///< Presses that were sent and not released.
    QObject life;                  ///< The portal may live longer.
};

} // namespace platform
