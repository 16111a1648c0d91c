// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/ServerAdapters.h"

#include "platform/SessionHost.h"

#include <utility>

ServerAdapters ServerAdapters::ofHost(Pairing::Question question)
{
    return {platform::makeEventServices(),
            platform::makeScriptingBridge(),
            platform::makeClipboard(),
            platform::makeScreens(),
            DnsSd(),
            platform::watchAdvertisementDaemon,
            std::move(question),
            Opener(),
            platform::runtimeDirectory()};
}
