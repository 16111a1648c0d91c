// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/AdvertisementDaemon.h"

namespace platform {

// The system starts its daemon on demand and offers no way to watch it.
std::unique_ptr<AdvertisementDaemonWatch>
watchAdvertisementDaemon(std::function<void()> /*appeared*/)
{
    return std::make_unique<AdvertisementDaemonWatch>();
}

} // namespace platform
