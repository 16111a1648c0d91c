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

#include <QString>

#include <memory>
#include <optional>

/// What a server needs from its host and its user. Everything but the question is required.
struct ServerAdapters
{
    /// The adapters of the running session. Without a question, devices that need the user's
    /// approval are refused.
    static ServerAdapters ofHost(Pairing::Question question = {});

    std::unique_ptr<platform::Clipboard> clipboard;
    std::unique_ptr<platform::EventServices> events; // may type by way of the clipboard
    std::unique_ptr<platform::ScriptingBridge> applications;
    std::unique_ptr<platform::Screens> screens;
    DnsSd dnsSd;
    Advertisement::DaemonWatcher watchAdvertisementDaemon;
    Pairing::Question question;
    Opener opener;
    /// The directory for the user's sockets, empty if the host has none; nothing: no session socket
    /// is wanted.
    std::optional<QString> runtimeDirectory;
};
