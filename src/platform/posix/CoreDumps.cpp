// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/CoreDumps.h"

#include <sys/resource.h>

namespace platform {

void forbidCoreDumps()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_CORE, &limit) == 0) {
        limit.rlim_cur = 0;
        setrlimit(RLIMIT_CORE, &limit);
    }
}

} // namespace platform
