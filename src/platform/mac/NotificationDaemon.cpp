// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/NotificationDaemon.h"

namespace platform {

// The system's notification centre shows plain text.
std::unique_ptr<NotificationDaemon> watchNotificationDaemon(const QSystemTrayIcon & /*icon*/,
                                                            std::function<void()> /*ready*/)
{
    return nullptr;
}

} // namespace platform
