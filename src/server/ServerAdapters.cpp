// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/ServerAdapters.h"

#include "platform/DesktopAdapters.h"
#include "platform/SessionHost.h"

#include <utility>

ServerAdapters ServerAdapters::ofHost(Pairing::Question question)
{
    auto desktop = platform::makeDesktopAdapters();
    return {std::move(desktop.clipboard),
            std::move(desktop.events),
            platform::makeScriptingBridge(),
            std::move(desktop.screens),
            DnsSd(),
            platform::watchAdvertisementDaemon,
            std::move(question),
            Opener(),
            platform::runtimeDirectory()};
}
