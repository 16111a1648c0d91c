// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QSystemTrayIcon>
#include <QTimer>

#include <chrono>

/// Reports when the tray has placed the icon. Before that a balloon would point at the corner of
/// the screen, where the icon's window is at first.
class TrayPlacement : public QObject
{
    Q_OBJECT

public:
    /// Whether the icon, which has just been shown, is a window of this process that has no place
    /// yet. An icon that the desktop draws itself has no geometry; do not wait for it.
    static bool isOpen(const QSystemTrayIcon &icon);

    /// Watches the icon, which is its parent, until it has its place or the time is up.
    explicit TrayPlacement(QSystemTrayIcon *trayIcon,
                           std::chrono::milliseconds longest = std::chrono::seconds(1));

    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    /// Emitted once: the icon has its place, or has not got one in time.
    void settled();

private:
    void settle();

    const QSystemTrayIcon *icon;
    QTimer limit;
    QTimer calm;
};
