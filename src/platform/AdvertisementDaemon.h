// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>
#include <memory>

namespace platform {

/// Watches the host's DNS-SD daemon for as long as it lives.
class AdvertisementDaemonWatch
{
public:
    virtual ~AdvertisementDaemonWatch() = default;
};

/// Calls back, from the event loop, each time the daemon appears: started after this program, or
/// again after it had ended. What was registered with the daemon before is void then. Never null;
/// on hosts whose daemon cannot be watched it never calls.
std::unique_ptr<AdvertisementDaemonWatch> watchAdvertisementDaemon(std::function<void()> appeared);

} // namespace platform
