// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QPointer>
#include <QStringList>
#include <QSystemTrayIcon>

/// Shows the application's warnings as balloons of the tray icon and keeps every other message of
/// the toolkit's channel to itself. Earlier handlers are not called while it is installed.
class MessageHandler
{
public:
    static MessageHandler *instance();

    /// Takes over the message channel, after giving back an earlier installation.
    void installMessageHandler(QSystemTrayIcon *trayIcon);
    /// Gives the channel back to the handler that had it before. Balloons that wait are dropped.
    void shutdown();

    /// Balloons wait from now on. Of more than `maximumWaiting` the oldest are dropped: a tray
    /// shows one at a time, so the last ones are those that a user gets to see.
    void holdBalloons();
    /// Shows those that wait, in their order; from now on each is shown at once.
    void releaseBalloons();

    QSystemTrayIcon *trayIcon() const { return trayIconRef; }

    static constexpr int maximumWaiting = 16;

private:
    MessageHandler() = default;
    friend void MessageHandlerOutput(QtMsgType type, const QMessageLogContext &context,
                                     const QString &text);
    void show(const QString &text);
    void forgetWaiting();

    QPointer<QSystemTrayIcon> trayIconRef;
    QtMessageHandler previousHandler = nullptr;
    bool isHolding = false;
    QStringList waiting; // texts, oldest first; used by the icon's thread only
};

/// The handler that is installed. A message of another thread is shown when the tray icon's thread
/// comes to it.
void MessageHandlerOutput(QtMsgType type, const QMessageLogContext &context, const QString &text);
