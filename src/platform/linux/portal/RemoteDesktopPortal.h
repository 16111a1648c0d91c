// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/portal/PortalEvent.h"
#include "platform/linux/portal/PortalHandshake.h"
#include "platform/linux/portal/PortalSession.h"
#include "platform/linux/portal/RestoreToken.h"

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QDeadlineTimer>
#include <QObject>

#include <chrono>
#include <functional>
#include <memory>

namespace platform {

/// The session in which the desktop lets this program type and point: one session of the portal
/// org.freedesktop.portal.RemoteDesktop at a time, made when it is wanted for the first time.
///
/// It ends when the desktop closes it, as it does when the screen is locked, or when the portal
/// goes away. It can be wanted again after a pause of one second, which doubles up to a minute
/// while sessions fail. After a refusal the user is not asked again.
///
/// Used on the thread of the event loop only, and never waits for the portal but at the end.
class RemoteDesktopPortal : public QObject
{
    Q_OBJECT

public:
    enum class State {
        Idle,     ///< There is no session, perhaps because it has just ended.
        Opening,  ///< The portal is being asked.
        Open,     ///< Input can be posted.
        Refused,  ///< By the user, for the rest of the run.
        Unusable, ///< This desktop's portal cannot type or point.
    };
    struct Devices
    {
        bool hasKeyboard = false;
        bool hasPointer = false;
    };

    RemoteDesktopPortal(const QDBusConnection &sessionBus, RestoreToken restoreToken);
    /// Closes the session.
    ~RemoteDesktopPortal() override;

    State state() const { return current; }
    /// What the user has allowed. Assumed to be everything before there is a session.
    Devices devices() const { return {granted.hasKeyboard, granted.hasPointer}; }

    /// From the next session on the clipboard is asked for too, if the portal has one.
    void includeClipboard() { wantsClipboard = true; }
    /// Whether the open session reaches it.
    bool hasClipboard() const { return current == State::Open && granted.hasClipboard; }
    /// The session that is open, or that is being made; null if there is none yet.
    const PortalSession *session() const { return handshake ? handshake->session() : opened.get(); }
    const QDBusConnection &connection() const { return bus; }

    /// Makes a session if there is none, and if it may be tried now.
    void want();

    /// Posts one event and calls back when the portal has handled it; not at all if the session
    /// or the context ends first. Only in an open session.
    void post(const PortalEvent &event, QObject *context, std::function<void()> handled);
    /// Posts it and waits until it has been handled, no longer than half a second; whether it has.
    /// Only at the end.
    bool postAndWait(const PortalEvent &event);
    /// Waits until the event that was posted last has been handled, no longer than half a second.
    /// Only at the end.
    void waitUntilHandled() const;

    /// The pause after the first failure; the shortest.
    std::chrono::milliseconds shortestPause = std::chrono::seconds(1);

signals:
    void stateChanged();
    /// The portal takes its time, so it has probably asked the user.
    void userIsAsked();
    /// The portal has not made a session.
    void failed();

private:
    void enter(State next);
    void takeOutcome(PortalHandshake::Outcome outcome);
    void open();
    void fail();
    void endAttempt();
    QDBusMessage callOf(const PortalEvent &event) const;

    QDBusConnection bus;
    RestoreToken token;
    QDBusServiceWatcher owners;
    State current = State::Idle;
    PortalHandshake::Grant granted{true, true, true};
    bool wantsClipboard = false;
    QDeadlineTimer again; ///< Until then nothing is tried.
    std::chrono::milliseconds pause{0};
    std::unique_ptr<PortalHandshake> handshake; ///< While opening.
    std::unique_ptr<PortalSession> opened;      ///< While open.
    std::unique_ptr<QObject> calls; ///< Context of the events on their way; its end forgets them.
    std::unique_ptr<QDBusPendingCall> posted; ///< The last event.
};

} // namespace platform
