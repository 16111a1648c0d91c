// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>
#include <memory>

namespace platform {

/// Watches the host's DNS-SD daemon during its own life.
class AdvertisementDaemonWatch
{
public:
    virtual ~AdvertisementDaemonWatch() = default;
};

/// Calls back, from the event loop, each time the daemon appears: when it is started after this
/// program, or again after it had ended. Earlier registrations are lost then. Never null; if the
/// daemon of a host cannot be watched, it never calls.
std::unique_ptr<AdvertisementDaemonWatch> watchAdvertisementDaemon(std::function<void()> appeared);

} // namespace platform
