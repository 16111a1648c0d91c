// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <functional>
#include <memory>

class QSystemTrayIcon;

namespace platform {

/// The program of the desktop to which the toolkit passes balloons. It may be slow, suspended or
/// replaced, and it may read the text as markup. Used on the thread of the event loop only.
class NotificationDaemon
{
public:
    virtual ~NotificationDaemon() = default;

    /// Whether it can take a balloon now. If not, the `ready` function of the watch is called
    /// later.
    virtual bool takesOneMore() = 0;
    /// The text to pass on, so that the daemon shows `text` as it is written.
    virtual QString asPlainText(const QString &text) const = 0;
    /// To be called after each balloon that was passed on.
    virtual void hasOneMore() = 0;
};

/// Null if the toolkit or the system shows that icon's balloons as they are written; the icon must
/// be visible. `ready` is called from the event loop when the daemon can take balloons again.
std::unique_ptr<NotificationDaemon> watchNotificationDaemon(const QSystemTrayIcon &icon,
                                                            std::function<void()> ready);

} // namespace platform
