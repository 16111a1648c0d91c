// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalPresence.h"

#include "platform/linux/portal/PortalBus.h"

#include <QDBusReply>
#include <QStringList>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace platform {

namespace {

constexpr std::chrono::milliseconds busAnswerLimit = 500ms;

bool areNamed(const QDBusConnection &bus, const QString &method)
{
    const auto question = QDBusMessage::createMethodCall(
        u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s, u"org.freedesktop.DBus"_s, method);
    const QDBusReply<QStringList> names =
        bus.call(question, QDBus::Block, static_cast<int>(busAnswerLimit.count()));
    return names.isValid() && names.value().contains(PortalBus::service());
}

} // namespace

bool hasDesktopPortal()
{
    const auto bus = QDBusConnection::sessionBus();
    return bus.isConnected() &&
           (areNamed(bus, u"ListActivatableNames"_s) || areNamed(bus, u"ListNames"_s));
}

} // namespace platform
