// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/CoreDumps.h"

#include <sys/resource.h>

#include <algorithm>

namespace platform {

/// One byte, not none: nothing fits into it either, and Linux hands the memory to a program that
/// collects dumps unless the limit is one.
void forbidCoreDumps()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_CORE, &limit) == 0) {
        limit.rlim_cur = std::min<rlim_t>(1, limit.rlim_max);
        setrlimit(RLIMIT_CORE, &limit);
    }
}

} // namespace platform
