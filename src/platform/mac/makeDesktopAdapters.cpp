// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/DesktopAdapters.h"

namespace platform {

// There is nothing that they could share.
DesktopAdapters makeDesktopAdapters()
{
    return {makeClipboard(), makeEventServices(), makeScreens()};
}

} // namespace platform
