// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/RemoteDesktopPortal.h"

#include <QDBusPendingCallWatcher>
#include <QPointer>
#include <QThread>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace platform {

namespace {

constexpr std::chrono::milliseconds longestPause = 60s;
constexpr std::chrono::milliseconds limitAtEnd = 500ms;

} // namespace

RemoteDesktopPortal::RemoteDesktopPortal(const QDBusConnection &sessionBus,
                                         RestoreToken restoreToken)
    : bus(sessionBus)
    , token(std::move(restoreToken))
    , owners(PortalBus::service(), sessionBus, QDBusServiceWatcher::WatchForOwnerChange)
{
    connect(&owners, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString & /*service*/, const QString &oldOwner) {
                const QString owner = handshake ? handshake->owner()
                                      : opened  ? opened->portal().owner
                                                : QString();
                if (!oldOwner.isEmpty() && oldOwner == owner) {
                    fail();
                }
            });
}

RemoteDesktopPortal::~RemoteDesktopPortal()
{
    endAttempt();
}

void RemoteDesktopPortal::want()
{
    if (current == State::Idle && again.hasExpired() && bus.isConnected()) {
        handshake = std::make_unique<PortalHandshake>(bus, token, wantsClipboard);
        connect(handshake.get(), &PortalHandshake::userIsAsked, this,
                &RemoteDesktopPortal::userIsAsked);
        connect(handshake.get(), &PortalHandshake::finished, this,
                &RemoteDesktopPortal::takeOutcome);
        enter(State::Opening);
    }
}

void RemoteDesktopPortal::enter(State next)
{
    if (std::exchange(current, next) != next) {
        emit stateChanged();
    }
}

void RemoteDesktopPortal::takeOutcome(PortalHandshake::Outcome outcome)
{
    switch (outcome) {
    case PortalHandshake::Outcome::Open:
        open();
        break;
    case PortalHandshake::Outcome::Refused:
        granted = handshake->grant();
        endAttempt();
        enter(State::Refused);
        break;
    case PortalHandshake::Outcome::Unusable:
        granted = {};
        endAttempt();
        enter(State::Unusable);
        break;
    case PortalHandshake::Outcome::Failed:
        fail();
        break;
    }
}

void RemoteDesktopPortal::open()
{
    granted = handshake->grant();
    opened = handshake->takeSession();
    destroyLater(handshake, this);
    connect(opened.get(), &PortalSession::closed, this, &RemoteDesktopPortal::fail);
    calls = std::make_unique<QObject>();
    enter(State::Open);
}

/// A session that was open counts as a success, so a locked screen does not lengthen the pause.
void RemoteDesktopPortal::fail()
{
    const bool wasOpen = current == State::Open;
    pause = wasOpen ? shortestPause : std::clamp(pause * 2, shortestPause, longestPause);
    again.setRemainingTime(pause);
    endAttempt();
    enter(State::Idle);
    if (!wasOpen) {
        emit failed();
    }
}

/// Parts of it may be what calls.
void RemoteDesktopPortal::endAttempt()
{
    posted.reset();
    if (handshake) {
        handshake->abandon();
        destroyLater(handshake, this);
    }
    if (calls) {
        for (QObject *call : calls->children()) {
            call->disconnect();
        }
        destroyLater(calls, this);
    }
    if (opened) {
        opened->end();
        destroyLater(opened, this);
    }
}

QDBusMessage RemoteDesktopPortal::callOf(const PortalEvent &event) const
{
    return opened->call(u"org.freedesktop.portal.RemoteDesktop"_s, event.method(),
                        QVariantList{QVariantMap()} + event.arguments());
}

/// An event that the portal refuses is one that this desktop does not have; the session goes on. A
/// portal that no longer answers is lost.
void RemoteDesktopPortal::post(const PortalEvent &event, QObject *context,
                               std::function<void()> handled)
{
    posted = std::make_unique<QDBusPendingCall>(
        bus.asyncCall(callOf(event), static_cast<int>(PortalBus::callLimit.count())));
    auto *watcher = new QDBusPendingCallWatcher(*posted, calls.get());
    connect(watcher, &QDBusPendingCallWatcher::finished, calls.get(),
            [this, present = QPointer(context),
             handled = std::move(handled)](QDBusPendingCallWatcher *finished) {
                finished->deleteLater();
                const QDBusError::ErrorType error = finished->error().type();
                if (error == QDBusError::NoReply || error == QDBusError::Timeout) {
                    fail();
                } else if (!present.isNull()) {
                    handled();
                }
            });
}

bool RemoteDesktopPortal::postAndWait(const PortalEvent &event)
{
    const QDBusMessage reply =
        bus.call(callOf(event), QDBus::Block, static_cast<int>(limitAtEnd.count()));
    return reply.type() == QDBusMessage::ReplyMessage;
}

void RemoteDesktopPortal::waitUntilHandled() const
{
    const QDeadlineTimer end(limitAtEnd);
    while (posted && !posted->isFinished() && !end.hasExpired()) {
        QThread::msleep(1);
    }
}

} // namespace platform
