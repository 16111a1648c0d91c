// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "net/DnsSd.h"
#include "platform/Clipboard.h"
#include "platform/EventServices.h"
#include "platform/Screens.h"
#include "platform/ScriptingBridge.h"
#include "server/Advertisement.h"
#include "server/Opener.h"
#include "server/Pairing.h"

#include <memory>

/// What a server needs of its host and of its user. All of it is required, except for the question.
struct ServerAdapters
{
    /// Those of the running session. Without a question the user is not asked: what needs the
    /// user's word is refused.
    static ServerAdapters ofHost(Pairing::Question question = {});

    std::unique_ptr<platform::EventServices> events;
    std::unique_ptr<platform::ScriptingBridge> applications;
    std::unique_ptr<platform::Clipboard> clipboard;
    std::unique_ptr<platform::Screens> screens;
    DnsSd dnsSd;
    Advertisement::DaemonWatcher watchAdvertisementDaemon;
    Pairing::Question question;
    Opener opener;
};
