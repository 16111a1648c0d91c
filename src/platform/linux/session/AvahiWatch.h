// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/AdvertisementDaemon.h"

#include <QDBusServiceWatcher>

namespace platform {

/// Avahi owns its name on the system bus while it serves.
class AvahiWatch final : public AdvertisementDaemonWatch
{
public:
    explicit AvahiWatch(std::function<void()> appeared);

private:
    QDBusServiceWatcher watcher;
};

} // namespace platform
