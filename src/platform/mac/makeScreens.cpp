// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/ToolkitScreens.h"

namespace platform {

// Events and the toolkit both count in points here.
std::unique_ptr<Screens> makeScreens()
{
    return std::make_unique<ToolkitScreens>();
}

} // namespace platform
