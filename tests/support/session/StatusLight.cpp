// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/StatusLight.h"

#include "support/x11/Pictures.h"

using namespace Qt::StringLiterals;

extern int qInitResources_VornaServer();

namespace {

constexpr int LargestDistance = 40; ///< Scaling an image down to the tray blurs its colour a bit.

QString imageOf(StatusLight light)
{
    switch (light) {
    case StatusLight::Black:
        return u":/images/led_nero.png"_s;
    case StatusLight::Orange:
        return u":/images/led_arancio.png"_s;
    case StatusLight::Green:
        return u":/images/led_verde.png"_s;
    case StatusLight::Red:
        return u":/images/led_rosso.png"_s;
    }
    return {};
}

} // namespace

QColor colourOf(StatusLight light)
{
    qInitResources_VornaServer();
    return Pictures::middleColour(QImage(imageOf(light)));
}

std::optional<StatusLight> lightIn(const QImage &picture)
{
    const QColor seen = Pictures::middleColour(picture);
    std::optional<StatusLight> nearest;
    int nearestDistance = LargestDistance;
    for (const auto light :
         {StatusLight::Black, StatusLight::Orange, StatusLight::Green, StatusLight::Red}) {
        const int distance = Pictures::distance(seen, colourOf(light));
        if (distance < nearestDistance) {
            nearest = light;
            nearestDistance = distance;
        }
    }
    return nearest;
}
