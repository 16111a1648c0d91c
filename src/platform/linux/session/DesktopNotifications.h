// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/NotificationDaemon.h"
#include "platform/linux/session/TrayAttention.h"

#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QPointer>

namespace platform {

/// The owner of org.freedesktop.Notifications on the session bus (Desktop Notifications
/// Specification). The toolkit sends its calls there without waiting for answers. So after each
/// call the daemon is asked for its capabilities: when that is answered, the calls before it have
/// been processed.
class DesktopNotifications final : public NotificationDaemon
{
public:
    /// The number of balloons that the daemon may leave unanswered.
    static constexpr int maximumOnTheWay = 16;

    explicit DesktopNotifications(std::function<void()> readyAgain);
    ~DesktopNotifications() override;

    /// False until the daemon, or its successor after it has ended, has reported its capabilities.
    bool takesOneMore() override;
    QString asPlainText(const QString &text) const override;
    void hasOneMore() override;

private:
    void ask();
    void takeAnswer(const QDBusPendingCall &answer, int handedBefore);
    void forget();

    std::function<void()> ready;
    QDBusServiceWatcher owners;
    QPointer<QDBusPendingCallWatcher> question; // The one without an answer.
    int onTheWay = 0;                           // Balloons without an answer.
    TrayAttention attention;
    bool isKnown = false;
    bool readsMarkup = true;
};

} // namespace platform
