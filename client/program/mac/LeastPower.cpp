// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/LeastPower.h"

#include <sys/resource.h>

namespace quillmote {

void takeLeastPower()
{
    constexpr rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
}

} // namespace quillmote
