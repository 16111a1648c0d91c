// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/NotificationDaemon.h"

#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QPointer>

namespace platform {

/// The owner of org.freedesktop.Notifications on the session bus (Desktop Notifications
/// Specification). The toolkit sends its calls there without waiting for their answers, so the
/// daemon is asked for its capabilities behind them: while that has no answer, they have none.
class DesktopNotifications final : public NotificationDaemon
{
public:
    /// Balloons that the daemon may leave without an answer.
    static constexpr int maximumOnTheWay = 16;

    explicit DesktopNotifications(std::function<void()> readyAgain);
    ~DesktopNotifications() override;

    /// False until the daemon, and after its end the next one, has told what it can.
    bool takesOneMore() override;
    QString asPlainText(const QString &text) const override;
    void hasOneMore() override;

private:
    void ask();
    void takeAnswer(const QDBusPendingCall &answer, int handedBefore);
    void forget();

    std::function<void()> ready;
    QDBusServiceWatcher owners;
    QPointer<QDBusPendingCallWatcher> question; // the one that is open
    int onTheWay = 0;                           // balloons without an answer
    bool isKnown = false;
    bool readsMarkup = true;
};

} // namespace platform
