// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <functional>
#include <memory>

class QSystemTrayIcon;

namespace platform {

/// The program of the desktop that the toolkit hands balloons to. It may be slow, halted or
/// replaced, and it may take what it is handed for markup. Used by the thread of the event loop.
class NotificationDaemon
{
public:
    virtual ~NotificationDaemon() = default;

    /// Whether it may be handed a balloon now. If not, what the watch was given is called later.
    virtual bool takesOneMore() = 0;
    /// The text to hand over, so that the daemon shows `text` as it is written.
    virtual QString asPlainText(const QString &text) const = 0;
    /// To be called after each balloon that was handed over.
    virtual void hasOneMore() = 0;
};

/// Null where the toolkit or the system shows the balloons of that icon, which must be visible, as
/// they are written. `ready` is called from the event loop, when the daemon takes balloons again.
std::unique_ptr<NotificationDaemon> watchNotificationDaemon(const QSystemTrayIcon &icon,
                                                            std::function<void()> ready);

} // namespace platform
