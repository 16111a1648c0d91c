// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/DescriptorLimit.h"

#include <sys/resource.h>

#include <algorithm>

namespace platform {

void raiseDescriptorLimit()
{
    constexpr rlim_t enough = 8192;
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= enough) {
        return;
    }
    limit.rlim_cur = std::min(enough, limit.rlim_max);
    setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace platform
