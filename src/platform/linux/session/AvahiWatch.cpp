// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/AdvertisementDaemon.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

/// Avahi owns its name on the system bus while it serves.
class AvahiWatch : public AdvertisementDaemonWatch
{
public:
    explicit AvahiWatch(std::function<void()> appeared)
        : watcher(u"org.freedesktop.Avahi"_s, QDBusConnection::systemBus(),
                  QDBusServiceWatcher::WatchForRegistration)
    {
        QObject::connect(&watcher, &QDBusServiceWatcher::serviceRegistered, &watcher,
                         [appeared = std::move(appeared)] { appeared(); });
    }

private:
    QDBusServiceWatcher watcher;
};

} // namespace

std::unique_ptr<AdvertisementDaemonWatch> watchAdvertisementDaemon(std::function<void()> appeared)
{
    return std::make_unique<AvahiWatch>(std::move(appeared));
}

} // namespace platform
