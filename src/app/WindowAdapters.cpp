// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/WindowAdapters.h"

#include "app/PairingQuestion.h"
#include "platform/NotificationDaemon.h"

WindowAdapters WindowAdapters::ofHost()
{
    return {ServerAdapters::ofHost(askAboutPairing),
            [] { return std::make_unique<settingsManagerMac>(); },
            platform::watchNotificationDaemon};
}
