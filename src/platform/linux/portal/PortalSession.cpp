// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalSession.h"

#include <QDBusObjectPath>

#include <utility>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

QString interface()
{
    return u"org.freedesktop.portal.Session"_s;
}

} // namespace

bool PortalSession::isPath(const QString &path)
{
    return path.startsWith("/org/freedesktop/portal/desktop/session/"_L1);
}

PortalSession::PortalSession(const PortalBus &portalOnBus, QString path)
    : bus(portalOnBus)
    , objectPath(std::move(path))
{
    watch(true);
}

PortalSession::~PortalSession()
{
    end();
}

void PortalSession::end()
{
    if (!std::exchange(isOver, true)) {
        watch(false);
        bus.bus.send(bus.call(objectPath, interface(), u"Close"_s, {}));
    }
}

QDBusMessage PortalSession::call(const QString &interface, const QString &method,
                                 const QVariantList &furtherArguments) const
{
    return bus.call(PortalBus::path(), interface, method,
                    QVariantList{QVariant::fromValue(QDBusObjectPath(objectPath))} +
                        furtherArguments);
}

void PortalSession::endByDesktop()
{
    if (!std::exchange(isOver, true)) {
        watch(false);
        emit closed();
    }
}

bool PortalSession::watch(bool isWatched)
{
    const QString signal = u"Closed"_s;
    const char *slot = SLOT(endByDesktop());
    return isWatched ? bus.bus.connect(bus.owner, objectPath, interface(), signal, this, slot)
                     : bus.bus.disconnect(bus.owner, objectPath, interface(), signal, this, slot);
}

} // namespace platform
