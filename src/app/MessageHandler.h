// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QPointer>
#include <QSystemTrayIcon>

/// Shows the application's warnings as balloons of the tray icon and keeps every other message of
/// the toolkit's channel to itself. Earlier handlers are not called while it is installed.
class MessageHandler
{
public:
    static MessageHandler *instance();

    /// Takes over the message channel, after giving back an earlier installation.
    void installMessageHandler(QSystemTrayIcon *trayIcon);
    /// Gives the channel back to the handler that had it before.
    void shutdown();

    QSystemTrayIcon *trayIcon() const { return trayIconRef; }

private:
    MessageHandler() = default;

    QPointer<QSystemTrayIcon> trayIconRef;
    QtMessageHandler previousHandler = nullptr;
};

/// The handler that is installed. A message of another thread is shown when the tray icon's thread
/// comes to it.
void MessageHandlerOutput(QtMsgType type, const QMessageLogContext &context, const QString &text);
