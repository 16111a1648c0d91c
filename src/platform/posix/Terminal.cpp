// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/Terminal.h"

#include <unistd.h>

namespace platform {

bool isErrorOutputRead()
{
    return isatty(STDERR_FILENO) == 1;
}

} // namespace platform
