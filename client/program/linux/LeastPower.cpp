// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/LeastPower.h"

#include <sys/prctl.h>
#include <sys/resource.h>

namespace quillmote {

void takeLeastPower()
{
    // One byte instead of none: nothing fits into it either, and only with a limit of one byte the
    // kernel does not hand the memory to a program that collects dumps. A hard limit of none cannot
    // be raised.
    constexpr rlimit oneByte{1, 1};
    constexpr rlimit none{0, 0};
    if (setrlimit(RLIMIT_CORE, &oneByte) != 0) {
        setrlimit(RLIMIT_CORE, &none);
    }
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
}

} // namespace quillmote
