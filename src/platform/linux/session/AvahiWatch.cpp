// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/AvahiWatch.h"

#include <QDBusConnection>

#include <utility>

using namespace Qt::StringLiterals;

namespace platform {

AvahiWatch::AvahiWatch(std::function<void()> appeared)
    : watcher(u"org.freedesktop.Avahi"_s, QDBusConnection::systemBus(),
              QDBusServiceWatcher::WatchForRegistration)
{
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceRegistered, &watcher,
                     [appeared = std::move(appeared)] { appeared(); });
}

} // namespace platform
