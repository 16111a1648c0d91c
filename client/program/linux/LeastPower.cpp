// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/LeastPower.h"

#include <sys/prctl.h>
#include <sys/resource.h>

void takeLeastPower()
{
    constexpr rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
}
