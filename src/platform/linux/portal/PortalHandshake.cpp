// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalHandshake.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QRandomGenerator>

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

constexpr auto patienceWithPortal = 30s;
/// A portal that has a token that it knows answers much faster.
constexpr auto patienceWithUser = 500ms;
constexpr auto patienceAfterClosing = 1s;

QString remoteDesktop()
{
    return u"org.freedesktop.portal.RemoteDesktop"_s;
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

PortalHandshake::PortalHandshake(const QDBusConnection &sessionBus,
                                 const RestoreToken &restoreToken, bool isClipboardWanted)
    : portal{sessionBus, {}}
    , token(restoreToken)
    , wantsClipboard(isClipboardWanted)
{
    limit.setSingleShot(true);
    patience.setSingleShot(true);
    connect(&limit, &QTimer::timeout, this, [this] { finish(Outcome::Failed); });
    connect(&patience, &QTimer::timeout, this, &PortalHandshake::userIsAsked);
    limit.start(patienceWithPortal);
    startPortal();
}

PortalHandshake::~PortalHandshake()
{
    abandon();
}

void PortalHandshake::abandon()
{
    isOver = true;
    limit.stop();
    patience.stop();
    pending.reset();
    if (made) {
        made->end();
        destroyLater(made, this);
    }
}

/// Does nothing if it runs already.
void PortalHandshake::startPortal()
{
    ask(busCall(u"StartServiceByName"_s, {PortalBus::service(), 0U}),
        [this](const QDBusMessage & /*reply*/) { findOwner(); });
}

void PortalHandshake::findOwner()
{
    ask(busCall(u"GetNameOwner"_s, {PortalBus::service()}), [this](const QDBusMessage &reply) {
        if (isError(reply)) {
            finish(Outcome::Failed);
            return;
        }
        portal.owner = reply.arguments().constFirst().toString();
        registerProgram();
    });
}

/// The portal remembers the user's consent under the program's name. Older portals have no such
/// interface, and a toolkit may have registered the connection before.
void PortalHandshake::registerProgram()
{
    ask(portal.call(PortalBus::path(), u"org.freedesktop.host.portal.Registry"_s, u"Register"_s,
                    {u"vornaserver"_s, QVariantMap()}),
        [this](const QDBusMessage & /*reply*/) { askForAbilities(); });
}

void PortalHandshake::askForAbilities()
{
    ask(portal.call(PortalBus::path(), u"org.freedesktop.DBus.Properties"_s, u"GetAll"_s,
                    {remoteDesktop()}),
        [this](const QDBusMessage &reply) {
            if (reply.type() == QDBusMessage::ErrorMessage && !PortalBus::isLack(reply)) {
                finish(Outcome::Failed);
            } else {
                // An interface that the portal lacks has no devices.
                takeAbilities(isError(reply)
                                  ? QVariantMap()
                                  : qdbus_cast<QVariantMap>(reply.arguments().constFirst()));
            }
        });
}

void PortalHandshake::takeAbilities(const QVariantMap &properties)
{
    version = properties.value(u"version"_s).toUInt();
    available = properties.value(u"AvailableDeviceTypes"_s).toUInt() & (keyboardType | pointerType);
    if (available == 0) {
        finish(Outcome::Unusable);
    } else if (wantsClipboard) {
        askForClipboard();
    } else {
        createSession();
    }
}

void PortalHandshake::askForClipboard()
{
    ask(portal.clipboardVersionCall(), [this](const QDBusMessage &reply) {
        wantsClipboard = reply.type() == QDBusMessage::ReplyMessage;
        createSession();
    });
}

void PortalHandshake::createSession()
{
    const QString name = u"vornaserver%1"_s.arg(QRandomGenerator::global()->generate());
    request(u"CreateSession"_s, {}, {{u"session_handle_token"_s, name}},
            [this](const QVariantMap &results) { selectDevices(results); });
}

void PortalHandshake::selectDevices(const QVariantMap &results)
{
    const QString path = pathOf(results.value(u"session_handle"_s));
    if (!PortalSession::isPath(path)) {
        finish(Outcome::Failed);
        return;
    }
    made = std::make_unique<PortalSession>(portal, path);
    connect(made.get(), &PortalSession::closed, this, &PortalHandshake::endByDesktop);
    QVariantMap options{{u"types"_s, available}};
    if (version >= rememberingVersion) {
        options.insert(u"persist_mode"_s, untilRevoked);
        const QString remembered = token.read();
        if (!remembered.isEmpty()) {
            options.insert(u"restore_token"_s, remembered);
        }
    }
    request(u"SelectDevices"_s, {QVariant::fromValue(QDBusObjectPath(path))}, options,
            [this](const QVariantMap & /*results*/) {
                if (wantsClipboard) {
                    requestClipboard();
                } else {
                    start();
                }
            });
}

/// Whether the clipboard is granted is said by the start.
void PortalHandshake::requestClipboard()
{
    ask(made->call(PortalBus::clipboard(), u"RequestClipboard"_s, {QVariantMap()}),
        [this](const QDBusMessage & /*reply*/) { start(); });
}

/// The portal may ask the user now, who may take any time.
void PortalHandshake::start()
{
    limit.stop();
    patience.start(patienceWithUser);
    request(u"Start"_s, {QVariant::fromValue(QDBusObjectPath(made->path())), QString()}, {},
            [this](const QVariantMap &results) { takeStart(results); });
}

/// A token can be used once, so the old one is worth nothing now.
void PortalHandshake::takeStart(const QVariantMap &results)
{
    patience.stop();
    if (version >= rememberingVersion) {
        token.write(results.value(u"restore_token"_s).toString());
    }
    const uint devices = results.value(u"devices"_s).toUInt();
    granted = {(devices & keyboardType) != 0, (devices & pointerType) != 0,
               wantsClipboard && results.value(u"clipboard_enabled"_s).toBool()};
    finish(granted.hasKeyboard || granted.hasPointer ? Outcome::Open : Outcome::Refused);
}

void PortalHandshake::ask(const QDBusMessage &call,
                          std::function<void(const QDBusMessage &)> answered)
{
    callLater(portal.bus, call, PortalBus::callLimit, this,
              [this, answered = std::move(answered)](const QDBusMessage &reply) {
                  if (!isOver) {
                      answered(reply);
                  }
              });
}

void PortalHandshake::request(const QString &method, const QVariantList &arguments,
                              const QVariantMap &options,
                              std::function<void(const QVariantMap &)> done)
{
    pending = std::make_unique<PortalRequest>(
        portal, method, arguments, options,
        [this, done = std::move(done)](PortalRequest::Outcome outcome, const QVariantMap &results) {
            destroyLater(pending, this);
            if (outcome == PortalRequest::Outcome::Cancelled) {
                finish(Outcome::Refused);
            } else if (outcome != PortalRequest::Outcome::Done || isClosed) {
                finish(Outcome::Failed);
            } else {
                done(results);
            }
        });
}

/// A session that the user refuses may be closed before that is said.
void PortalHandshake::endByDesktop()
{
    isClosed = true;
    if (pending) {
        limit.start(patienceAfterClosing);
    } else {
        finish(Outcome::Failed);
    }
}

void PortalHandshake::finish(Outcome outcome)
{
    limit.stop();
    patience.stop();
    if (!std::exchange(isOver, true)) {
        emit finished(outcome);
    }
}

} // namespace platform
