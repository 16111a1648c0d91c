// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/RemoteDesktopPortal.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QRandomGenerator>
#include <QThread>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace platform {

namespace {

constexpr uint keyboardType = 1;
constexpr uint pointerType = 2;
/// The first version that can remember the user's consent.
constexpr uint rememberingVersion = 2;
/// Until it is taken back.
constexpr uint untilRevoked = 2;

constexpr std::chrono::milliseconds callLimit = 10s;
constexpr auto patienceWithPortal = 30s;
/// A portal that has a token that it knows answers much faster.
constexpr auto patienceWithUser = 500ms;
constexpr auto patienceAfterClosing = 1s;
constexpr std::chrono::milliseconds longestPause = 60s;
constexpr std::chrono::milliseconds limitAtEnd = 500ms;

QString interface()
{
    return u"org.freedesktop.portal.RemoteDesktop"_s;
}

QString sessionInterface()
{
    return u"org.freedesktop.portal.Session"_s;
}

QDBusMessage busCall(const QString &method, const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s, u"org.freedesktop.DBus"_s, method);
    call.setArguments(arguments);
    return call;
}

bool isError(const QDBusMessage &reply)
{
    return reply.type() == QDBusMessage::ErrorMessage || reply.arguments().isEmpty();
}

/// It is sent as a text, though it is an object path.
QString pathOf(const QVariant &value)
{
    return value.canConvert<QDBusObjectPath>() ? value.value<QDBusObjectPath>().path()
                                               : value.toString();
}

} // namespace

RemoteDesktopPortal::RemoteDesktopPortal(const QDBusConnection &sessionBus,
                                         RestoreToken restoreToken)
    : portal{sessionBus, {}}
    , token(std::move(restoreToken))
    , owners(PortalBus::service(), sessionBus, QDBusServiceWatcher::WatchForOwnerChange)
{
    limit.setSingleShot(true);
    patience.setSingleShot(true);
    connect(&limit, &QTimer::timeout, this, &RemoteDesktopPortal::fail);
    connect(&patience, &QTimer::timeout, this, &RemoteDesktopPortal::userIsAsked);
    connect(&owners, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString & /*service*/, const QString &oldOwner) {
                if (!oldOwner.isEmpty() && oldOwner == portal.owner) {
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
    if (current == State::Idle && again.hasExpired() && portal.bus.isConnected()) {
        endAttempt();
        attempt = std::make_unique<QObject>();
        limit.start(patienceWithPortal);
        enter(State::Opening);
        startPortal();
    }
}

void RemoteDesktopPortal::enter(State next)
{
    if (std::exchange(current, next) != next) {
        emit stateChanged();
    }
}

/// Does nothing if it runs already.
void RemoteDesktopPortal::startPortal()
{
    callLater(portal.bus, busCall(u"StartServiceByName"_s, {PortalBus::service(), 0U}), callLimit,
              attempt.get(), [this](const QDBusMessage & /*reply*/) { findOwner(); });
}

void RemoteDesktopPortal::findOwner()
{
    callLater(portal.bus, busCall(u"GetNameOwner"_s, {PortalBus::service()}), callLimit,
              attempt.get(), [this](const QDBusMessage &reply) {
                  if (isError(reply)) {
                      fail();
                      return;
                  }
                  portal.owner = reply.arguments().constFirst().toString();
                  registerProgram();
              });
}

/// The portal remembers the user's consent under the program's name. Older portals have no such
/// interface, and a toolkit may have registered the connection before.
void RemoteDesktopPortal::registerProgram()
{
    const QDBusMessage call =
        portal.call(PortalBus::path(), u"org.freedesktop.host.portal.Registry"_s, u"Register"_s,
                    {u"vornaserver"_s, QVariantMap()});
    callLater(portal.bus, call, callLimit, attempt.get(),
              [this](const QDBusMessage & /*reply*/) { askForAbilities(); });
}

void RemoteDesktopPortal::askForAbilities()
{
    const QDBusMessage call = portal.call(PortalBus::path(), u"org.freedesktop.DBus.Properties"_s,
                                          u"GetAll"_s, {interface()});
    callLater(portal.bus, call, callLimit, attempt.get(), [this](const QDBusMessage &reply) {
        if (reply.type() == QDBusMessage::ErrorMessage &&
            reply.errorName() != "org.freedesktop.DBus.Error.InvalidArgs"_L1 &&
            reply.errorName() != "org.freedesktop.DBus.Error.UnknownInterface"_L1) {
            fail();
        } else {
            // An interface that the portal lacks has no devices.
            takeAbilities(isError(reply) ? QVariantMap()
                                         : qdbus_cast<QVariantMap>(reply.arguments().constFirst()));
        }
    });
}

void RemoteDesktopPortal::takeAbilities(const QVariantMap &properties)
{
    version = properties.value(u"version"_s).toUInt();
    available = properties.value(u"AvailableDeviceTypes"_s).toUInt() & (keyboardType | pointerType);
    if (available == 0) {
        allowed = {};
        endAttempt();
        enter(State::Unusable);
    } else {
        createSession();
    }
}

void RemoteDesktopPortal::createSession()
{
    const QString name = u"vornaserver%1"_s.arg(QRandomGenerator::global()->generate());
    request(u"CreateSession"_s, {}, {{u"session_handle_token"_s, name}},
            [this](const QVariantMap &results) { selectDevices(results); });
}

void RemoteDesktopPortal::selectDevices(const QVariantMap &results)
{
    session = pathOf(results.value(u"session_handle"_s));
    // A call for what is no path would not be sent, and never be answered.
    if (!session.startsWith("/org/freedesktop/portal/desktop/session/"_L1)) {
        session.clear();
        fail();
        return;
    }
    watchClosed(true);
    QVariantMap options{{u"types"_s, available}};
    if (version >= rememberingVersion) {
        options.insert(u"persist_mode"_s, untilRevoked);
        const QString remembered = token.read();
        if (!remembered.isEmpty()) {
            options.insert(u"restore_token"_s, remembered);
        }
    }
    request(u"SelectDevices"_s, {QVariant::fromValue(QDBusObjectPath(session))}, options,
            [this](const QVariantMap & /*results*/) { start(); });
}

/// The portal may ask the user now, who may take any time.
void RemoteDesktopPortal::start()
{
    limit.stop();
    patience.start(patienceWithUser);
    request(u"Start"_s, {QVariant::fromValue(QDBusObjectPath(session)), QString()}, {},
            [this](const QVariantMap &results) { takeStart(results); });
}

/// A token can be used once, so the old one is worth nothing now.
void RemoteDesktopPortal::takeStart(const QVariantMap &results)
{
    patience.stop();
    if (version >= rememberingVersion) {
        token.write(results.value(u"restore_token"_s).toString());
    }
    const uint devices = results.value(u"devices"_s).toUInt();
    allowed = {(devices & keyboardType) != 0, (devices & pointerType) != 0};
    if (!allowed.hasKeyboard && !allowed.hasPointer) {
        handleFailure(PortalRequest::Outcome::Cancelled);
    } else {
        enter(State::Open);
    }
}

void RemoteDesktopPortal::request(const QString &method, const QVariantList &arguments,
                                  const QVariantMap &options,
                                  std::function<void(const QVariantMap &)> done)
{
    pending = std::make_unique<PortalRequest>(
        portal, method, arguments, options,
        [this, done = std::move(done)](PortalRequest::Outcome outcome, const QVariantMap &results) {
            // It still runs.
            pending->setParent(this);
            pending.release()->deleteLater();
            if (outcome != PortalRequest::Outcome::Done) {
                handleFailure(outcome);
            } else if (isClosed) {
                fail();
            } else {
                done(results);
            }
        });
}

void RemoteDesktopPortal::handleFailure(PortalRequest::Outcome outcome)
{
    if (outcome == PortalRequest::Outcome::Cancelled) {
        endAttempt();
        enter(State::Refused);
    } else {
        fail();
    }
}

/// Signals of an earlier session may still be on their way.
void RemoteDesktopPortal::closedByDesktop(const QDBusMessage &signal)
{
    if (session.isEmpty() || signal.path() != session) {
        return;
    }
    // It needs no closing any more.
    watchClosed(false);
    session.clear();
    isClosed = true;
    // A session that the user refuses may be closed before that is said.
    if (pending) {
        limit.start(patienceAfterClosing);
    } else {
        fail();
    }
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

void RemoteDesktopPortal::endAttempt()
{
    limit.stop();
    patience.stop();
    pending.reset();
    posted.reset();
    forgetCalls();
    isClosed = false;
    if (!session.isEmpty()) {
        watchClosed(false);
        portal.bus.send(portal.call(session, sessionInterface(), u"Close"_s, {}));
        session.clear();
    }
    portal.owner.clear();
}

/// One of them may be the caller.
void RemoteDesktopPortal::forgetCalls()
{
    if (attempt) {
        for (QObject *call : attempt->children()) {
            call->disconnect();
        }
        attempt->setParent(this);
        attempt.release()->deleteLater();
    }
}

void RemoteDesktopPortal::watchClosed(bool isWatched)
{
    const QString signal = u"Closed"_s;
    const char *slot = SLOT(closedByDesktop(QDBusMessage));
    if (isWatched) {
        portal.bus.connect(portal.owner, session, sessionInterface(), signal, this, slot);
    } else if (!session.isEmpty()) {
        portal.bus.disconnect(portal.owner, session, sessionInterface(), signal, this, slot);
    }
}

QDBusMessage RemoteDesktopPortal::callOf(const PortalEvent &event) const
{
    return portal.call(PortalBus::path(), interface(), event.method(),
                       QVariantList{QVariant::fromValue(QDBusObjectPath(session)), QVariantMap()} +
                           event.arguments());
}

/// An event that the portal refuses is one that this desktop does not have; the session goes on. A
/// portal that no longer answers is lost.
void RemoteDesktopPortal::post(const PortalEvent &event, std::function<void()> handled)
{
    posted = std::make_unique<QDBusPendingCall>(
        portal.bus.asyncCall(callOf(event), static_cast<int>(callLimit.count())));
    auto *watcher = new QDBusPendingCallWatcher(*posted, attempt.get());
    connect(watcher, &QDBusPendingCallWatcher::finished, attempt.get(),
            [this, handled = std::move(handled)](QDBusPendingCallWatcher *finished) {
                finished->deleteLater();
                const QDBusError::ErrorType error = finished->error().type();
                if (error == QDBusError::NoReply || error == QDBusError::Timeout) {
                    fail();
                } else {
                    handled();
                }
            });
}

bool RemoteDesktopPortal::postAndWait(const PortalEvent &event)
{
    const QDBusMessage reply =
        portal.bus.call(callOf(event), QDBus::Block, static_cast<int>(limitAtEnd.count()));
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
