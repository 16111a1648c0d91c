// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/ToolkitScreens.h"

#include <QGuiApplication>
#include <QScreen>

#include <utility>

namespace platform {

QSize ToolkitScreens::desktopSize()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    return screen == nullptr ? QSize(0, 0) : screen->virtualSize();
}

QList<Screen> ToolkitScreens::all()
{
    QList<Screen> screens;
    const QScreen *primary = QGuiApplication::primaryScreen();
    for (const QScreen *screen : QGuiApplication::screens()) {
        // The unit of moves is the desktop's own measure here.
        const Screen described{screen->name(), screen->geometry(), 1};
        screens.insert(screen == primary ? 0 : screens.size(), described);
    }
    return screens;
}

void ToolkitScreens::watch(std::function<void()> changed)
{
    report = std::move(changed);
    watching.reset();
    if (!report) {
        return;
    }
    latest = all();
    watching = std::make_unique<QObject>();
    // Queued: the list changes after some of these signals.
    const auto later = [this] { compare(); };
    QObject::connect(qGuiApp, &QGuiApplication::screenAdded, watching.get(),
                     [this](const QScreen *screen) { watchGeometry(screen); });
    QObject::connect(qGuiApp, &QGuiApplication::screenAdded, watching.get(), later,
                     Qt::QueuedConnection);
    QObject::connect(qGuiApp, &QGuiApplication::screenRemoved, watching.get(), later,
                     Qt::QueuedConnection);
    QObject::connect(qGuiApp, &QGuiApplication::primaryScreenChanged, watching.get(), later,
                     Qt::QueuedConnection);
    for (const QScreen *screen : QGuiApplication::screens()) {
        watchGeometry(screen);
    }
}

void ToolkitScreens::watchGeometry(const QScreen *screen)
{
    QObject::connect(
        screen, &QScreen::geometryChanged, watching.get(), [this] { compare(); },
        Qt::QueuedConnection);
}

/// One change may cause several signals.
void ToolkitScreens::compare()
{
    const QList<Screen> now = all();
    if (now != latest) {
        latest = now;
        // It may end the watch.
        const auto listener = report;
        listener();
    }
}

} // namespace platform
