// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/DisplayAccess.h"

namespace platform {

// The window server has no name that could be wrong, so the toolkit's own message has to do.
QString displayProblem(const DisplayChoice & /*choice*/)
{
    return {};
}

void adoptDisplay(const DisplayChoice & /*choice*/) {}

} // namespace platform
