// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalBus.h"

#include <QDBusPendingCallWatcher>

#include <utility>

using namespace Qt::StringLiterals;

namespace platform {

QString PortalBus::service()
{
    return u"org.freedesktop.portal.Desktop"_s;
}

QString PortalBus::path()
{
    return u"/org/freedesktop/portal/desktop"_s;
}

QString PortalBus::clipboard()
{
    return u"org.freedesktop.portal.Clipboard"_s;
}

QString PortalBus::sender() const
{
    return bus.baseService().mid(1).replace(u'.', u'_');
}

QDBusMessage PortalBus::call(const QString &path, const QString &interface, const QString &method,
                             const QVariantList &arguments) const
{
    QDBusMessage message = QDBusMessage::createMethodCall(owner, path, interface, method);
    message.setArguments(arguments);
    return message;
}

QDBusMessage PortalBus::clipboardVersionCall() const
{
    return call(path(), u"org.freedesktop.DBus.Properties"_s, u"Get"_s,
                {clipboard(), u"version"_s});
}

bool PortalBus::isLack(const QDBusMessage &reply)
{
    return reply.errorName() == "org.freedesktop.DBus.Error.InvalidArgs"_L1 ||
           reply.errorName() == "org.freedesktop.DBus.Error.UnknownInterface"_L1;
}

void callLater(const QDBusConnection &bus, const QDBusMessage &call,
               std::chrono::milliseconds limit, QObject *context,
               std::function<void(const QDBusMessage &)> answered)
{
    auto *watcher =
        new QDBusPendingCallWatcher(bus.asyncCall(call, static_cast<int>(limit.count())), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [answered = std::move(answered)](QDBusPendingCallWatcher *finished) {
                         const QDBusMessage reply = finished->reply();
                         finished->deleteLater();
                         answered(reply);
                     });
}

} // namespace platform
