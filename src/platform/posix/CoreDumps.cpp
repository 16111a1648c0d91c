// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/CoreDumps.h"

#include <sys/resource.h>

#include <algorithm>

namespace platform {

/// A limit of one byte, not of none: nothing fits into it either, and only with exactly one byte
/// does Linux not give the memory to a program that collects dumps.
void forbidCoreDumps()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_CORE, &limit) == 0) {
        limit.rlim_cur = std::min<rlim_t>(1, limit.rlim_max);
        setrlimit(RLIMIT_CORE, &limit);
    }
}

} // namespace platform
