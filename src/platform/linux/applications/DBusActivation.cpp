// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/applications/DBusActivation.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QVariantMap>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace platform::DBusActivation {
namespace {

constexpr auto busAnswerLimit = 500ms;

/// The path that the standard derives from the name: "org.example.My-Player" is at
/// "/org/example/My_Player".
QString objectPath(const QString &busName)
{
    QString path = u'/' + busName;
    return path.replace(u'.', u'/').replace(u'-', u'_');
}

QDBusMessage activation(const QString &busName)
{
    auto message = QDBusMessage::createMethodCall(busName, objectPath(busName),
                                                  u"org.freedesktop.Application"_s, u"Activate"_s);
    // No startup notification: there is no click whose time could be passed on.
    message << QVariantMap();
    return message;
}

int milliseconds(std::chrono::milliseconds duration)
{
    return static_cast<int>(duration.count());
}

/// A late answer is no failure: the program may be starting, and would then run twice.
bool hasFailed(const QDBusPendingCall &call)
{
    return call.isError() && call.error().type() != QDBusError::NoReply &&
           call.error().type() != QDBusError::Timeout;
}

} // namespace

bool isRunning(const QString &busName)
{
    const auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return false;
    }
    auto question =
        QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                       u"org.freedesktop.DBus"_s, u"NameHasOwner"_s);
    question << busName;
    const QDBusReply<bool> answer = bus.call(question, QDBus::Block, milliseconds(busAnswerLimit));
    return answer.isValid() && answer.value();
}

void activate(const QString &busName, std::chrono::milliseconds limit)
{
    const auto bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        bus.call(activation(busName), QDBus::Block, milliseconds(limit));
    }
}

void start(const QString &busName, std::function<void()> otherwise)
{
    const auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        otherwise();
        return;
    }
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(activation(busName)),
                                                QCoreApplication::instance());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished,
                     [otherwise = std::move(otherwise)](QDBusPendingCallWatcher *call) {
                         call->deleteLater();
                         if (hasFailed(*call)) {
                             otherwise();
                         }
                     });
}

} // namespace platform::DBusActivation
