// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QRect>
#include <QStringList>
#include <QSystemTrayIcon>

#include <vector>

/// The balloons that a test linked with RecordedBalloons.cpp has shown so far: there the toolkit's
/// operation records them instead of showing them, since without a tray it would show nothing.
struct RecordedBalloon
{
    const QSystemTrayIcon *trayIcon = nullptr;
    QString title;
    QString text;
    QSystemTrayIcon::MessageIcon icon = QSystemTrayIcon::NoIcon;
    int milliseconds = 0;
};

std::vector<RecordedBalloon> &recordedBalloons();

/// The texts of the balloons in their order.
QStringList balloonTexts();

/// What the toolkit says of the tray icon's place in such a test; invalid, as where the desktop
/// draws the icon by itself, until a test sets it.
QRect &recordedIconPlace();
