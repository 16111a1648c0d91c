// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/portal/PortalBus.h"
#include "platform/linux/portal/PortalEvent.h"
#include "platform/linux/portal/PortalRequest.h"
#include "platform/linux/portal/RestoreToken.h"

#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QDeadlineTimer>
#include <QObject>
#include <QTimer>
#include <QVariantMap>

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
    Devices devices() const { return allowed; }

    /// Makes a session if there is none, and if it may be tried now.
    void want();

    /// Posts one event and calls back when the portal has handled it; not at all if the session
    /// ends first. Only in an open session.
    void post(const PortalEvent &event, std::function<void()> handled);
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

private slots:
    void closedByDesktop(const QDBusMessage &signal);

private:
    void enter(State next);
    void startPortal();
    void findOwner();
    void registerProgram();
    void askForAbilities();
    void takeAbilities(const QVariantMap &properties);
    void createSession();
    void selectDevices(const QVariantMap &session);
    void start();
    void takeStart(const QVariantMap &results);
    void request(const QString &method, const QVariantList &arguments, const QVariantMap &options,
                 std::function<void(const QVariantMap &)> done);
    void handleFailure(PortalRequest::Outcome outcome);
    void fail();
    void endAttempt();
    void forgetCalls();
    void watchClosed(bool isWatched);
    QDBusMessage callOf(const PortalEvent &event) const;

    PortalBus portal;
    RestoreToken token;
    QDBusServiceWatcher owners;
    State current = State::Idle;
    Devices allowed{true, true};
    uint version = 0;
    uint available = 0;    ///< Bits of device types that can be asked for.
    bool isClosed = false; ///< The desktop has closed the session that is being made.
    QString session;       ///< Its object path; empty without one.
    QDeadlineTimer again;  ///< Until then nothing is tried.
    std::chrono::milliseconds pause{0};
    QTimer limit;    ///< For everything that the user has no part in.
    QTimer patience; ///< When the user has probably been asked.
    /// Context of all calls of this attempt; its end forgets them.
    std::unique_ptr<QObject> attempt;
    std::unique_ptr<PortalRequest> pending;
    std::unique_ptr<QDBusPendingCall> posted; ///< The last event.
};

} // namespace platform
