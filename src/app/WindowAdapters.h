// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "app/MessageHandler.h"
#include "server/ServerAdapters.h"
#include "startup/settingsManagerMac.h"

#include <functional>
#include <memory>

/// What the window and its server need from the host.
struct WindowAdapters
{
    /// The adapters of the running session, with a message box for the pairing question.
    static WindowAdapters ofHost();

    ServerAdapters server;
    std::function<std::unique_ptr<settingsManagerMac>()> makeSettingsManager;
    MessageHandler::DaemonWatcher watchNotificationDaemon;
};
