// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/ServerAdapters.h"

#include "platform/SessionHost.h"

#include <utility>

ServerAdapters ServerAdapters::ofHost(Pairing::Question question)
{
    auto clipboard = platform::makeClipboard();
    auto events = platform::makeEventServices(clipboard.get());
    return {std::move(clipboard),    std::move(events), platform::makeScriptingBridge(),
            platform::makeScreens(), DnsSd(),           platform::watchAdvertisementDaemon,
            std::move(question),     Opener(),          platform::runtimeDirectory()};
}
