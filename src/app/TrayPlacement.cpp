// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/TrayPlacement.h"

#include <QCoreApplication>
#include <QEvent>

namespace {

/// A tray that has embedded the icon still moves it while it makes room.
constexpr std::chrono::milliseconds calmTime(30);

bool showsAPlace(const QEvent &event)
{
    switch (event.type()) {
    case QEvent::Expose:
    case QEvent::Move:
    case QEvent::Resize:
    case QEvent::Show:
        return true;
    default:
        return false;
    }
}

} // namespace

bool TrayPlacement::isOpen(const QSystemTrayIcon &icon)
{
    const QRect place = icon.geometry();
    return place.isValid() && place.topLeft().isNull();
}

TrayPlacement::TrayPlacement(QSystemTrayIcon *trayIcon, std::chrono::milliseconds longest)
    : QObject(trayIcon)
    , icon(trayIcon)
{
    for (QTimer *timer : {&limit, &calm}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
    }
    connect(&limit, &QTimer::timeout, this, &TrayPlacement::settle);
    connect(&calm, &QTimer::timeout, this, [this] {
        if (!isOpen(*icon)) {
            settle();
        }
    });
    limit.start(longest);
    // The toolkit does not expose the icon's window, so this filter sees the events of all windows.
    QCoreApplication::instance()->installEventFilter(this);
}

bool TrayPlacement::eventFilter(QObject * /*watched*/, QEvent *event)
{
    if (showsAPlace(*event)) {
        calm.start(calmTime);
    }
    return false;
}

void TrayPlacement::settle()
{
    QCoreApplication::instance()->removeEventFilter(this);
    deleteLater(); // together with both timers, before either can fire again
    emit settled();
}
