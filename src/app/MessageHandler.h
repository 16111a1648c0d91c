// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "app/BalloonQueue.h"

#include <QPointer>
#include <QSystemTrayIcon>
#include <QTimer>

#include <functional>
#include <memory>

namespace platform {
class NotificationDaemon;
} // namespace platform

/// Shows the application's warnings as balloons of the tray icon and keeps every other message of
/// the toolkit's channel to itself. Earlier handlers are not called while it is installed.
class MessageHandler
{
public:
    /// As platform::watchNotificationDaemon().
    using DaemonWatcher = std::function<std::unique_ptr<platform::NotificationDaemon>(
        const QSystemTrayIcon &icon, std::function<void()> ready)>;

    static MessageHandler *instance();

    /// Takes over the message channel, after giving back an earlier installation.
    void installMessageHandler(QSystemTrayIcon *trayIcon);
    /// Gives the channel back to the handler that had it before. Balloons that wait are dropped.
    void shutdown();

    /// From now on balloons wait until the desktop's daemon takes them, if there is one. To be
    /// called once the icon is visible.
    void watchNotificationDaemon(const DaemonWatcher &watch);

    /// From now on balloons wait in the queue.
    void holdBalloons();
    /// Shows the waiting balloons in their order; from now on each one is shown at once.
    void releaseBalloons();

    QSystemTrayIcon *trayIcon() const { return trayIconRef; }

private:
    MessageHandler();
    ~MessageHandler();
    friend void MessageHandlerOutput(QtMsgType type, const QMessageLogContext &context,
                                     const QString &text);
    void show(const QString &text);
    void showNext();
    void showWhatIsDue();
    void forgetWaiting();

    QPointer<QSystemTrayIcon> trayIconRef;
    QtMessageHandler previousHandler = nullptr;
    // The members below are used by the icon's thread only.
    bool isHolding = false;
    BalloonQueue balloons;
    QPointer<QTimer> nextIsDue; // the icon's, since the handler outlives the application object
    std::unique_ptr<platform::NotificationDaemon> daemon; // null if there is none
};

/// The message handler that is installed. A message of another thread is queued for the thread of
/// the tray icon.
void MessageHandlerOutput(QtMsgType type, const QMessageLogContext &context, const QString &text);
