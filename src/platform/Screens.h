// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QList>
#include <QRect>
#include <QSize>
#include <QString>

#include <functional>
#include <memory>

namespace platform {

struct Screen
{
    QString name;     ///< The connector's or the monitor's, for people.
    QRect place;      ///< In the unit of the pointer's moves.
    double scale = 1; ///< How many of these pixels are one of the desktop's own measure.

    bool operator==(const Screen &) const = default;
};

/// The screens of the running session, used on the thread of the event loop only.
class Screens
{
public:
    virtual ~Screens() = default;

    /// The current size of the desktop over all its screens, in the unit of the pointer's moves
    /// (EventServices), whatever scale the toolkit draws at. (0, 0) without a screen.
    virtual QSize desktopSize() = 0;

    /// Every screen at this moment, the main one first.
    virtual QList<Screen> all() = 0;
    /// From now on calls that when all() has changed, from the event loop. An empty function ends
    /// it.
    virtual void watch(std::function<void()> changed) = 0;
};

/// The screens of the running session; never null.
std::unique_ptr<Screens> makeScreens();

} // namespace platform
