// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QSystemTrayIcon>
#include <QTimer>

#include <chrono>

/// Reports when a tray has given the icon its place. Before that a balloon would point at the
/// corner of the screen, where the icon's window stands at first.
class TrayPlacement : public QObject
{
    Q_OBJECT

public:
    /// Whether the icon, which has just been shown, is a window of ours that has no place yet. An
    /// icon that the desktop draws by itself has no geometry, and nothing is to be waited for.
    static bool isOpen(const QSystemTrayIcon &icon);

    /// Watches the icon, which is its parent, until the place is settled or the time is over.
    explicit TrayPlacement(QSystemTrayIcon *trayIcon,
                           std::chrono::milliseconds longest = std::chrono::seconds(1));

    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    /// Once. The icon has its place, or gets none in time.
    void settled();

private:
    void settle();

    const QSystemTrayIcon *icon;
    QTimer limit;
    QTimer calm;
};
