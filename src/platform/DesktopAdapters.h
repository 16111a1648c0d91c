// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Clipboard.h"
#include "platform/EventServices.h"
#include "platform/Screens.h"

#include <memory>

namespace platform {

/// The adapters that reach the desktop of the running session.
struct DesktopAdapters
{
    std::unique_ptr<Clipboard> clipboard;
    std::unique_ptr<EventServices> events; // may type by way of the clipboard
    std::unique_ptr<Screens> screens;
};

/// All of them at once, so that the desktop is asked only once what it offers.
DesktopAdapters makeDesktopAdapters();

} // namespace platform
