// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/PlaceOnScreens.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace platform {

namespace {

bool isOn(const QRect &screen, const Location &place)
{
    return place.x >= screen.x() && place.x < screen.x() + screen.width() &&
           place.y >= screen.y() && place.y < screen.y() + screen.height();
}

Location nearestOn(const QRect &screen, const Location &place)
{
    if (isOn(screen, place)) {
        return place;
    }
    return {std::clamp(place.x, double(screen.left()), double(screen.right())),
            std::clamp(place.y, double(screen.top()), double(screen.bottom()))};
}

Location nearestOn(const QList<Screen> &screens, const Location &place)
{
    Location nearest = place;
    double least = std::numeric_limits<double>::infinity();
    for (const Screen &screen : screens) {
        if (screen.place.isEmpty()) {
            continue;
        }
        const Location candidate = nearestOn(screen.place, place);
        const double distance = std::hypot(candidate.x - place.x, candidate.y - place.y);
        if (distance < least) {
            least = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

} // namespace

Location placeOnScreens(const QList<Screen> &screens, const Location &from, const Location &to,
                        ScreenEdge edge)
{
    const auto holds = [](const Location &place) {
        return [&place](const Screen &screen) { return isOn(screen.place, place); };
    };
    if (edge == ScreenEdge::OfItsScreen && std::ranges::none_of(screens, holds(to))) {
        const auto its = std::ranges::find_if(screens, holds(from));
        if (its != screens.end()) {
            return nearestOn(its->place, to);
        }
    }
    return nearestOn(screens, to);
}

} // namespace platform
