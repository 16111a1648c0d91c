// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalPointer.h"

#include "platform/linux/applications/XdgDirectories.h"
#include "platform/linux/input/ButtonCodes.h"
#include "platform/linux/input/PlaceOnScreens.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

bool isFinite(const Location &place)
{
    return std::isfinite(place.x) && std::isfinite(place.y);
}

} // namespace

Location PortalPointer::location()
{
    if (!place) {
        const QList<Screen> all = screens.all();
        const QPoint middle = all.isEmpty() ? QPoint() : all.constFirst().place.center();
        place = Location{double(middle.x()), double(middle.y())};
    }
    return *place;
}

void PortalPointer::moveBy(double dx, double dy)
{
    const Location from = location();
    const Location wanted{from.x + dx, from.y + dy};
    if (!isFinite(wanted) || (dx == 0 && dy == 0)) {
        return;
    }
    if (outbox.add(PortalEvent::motion(dx, dy))) {
        place = placeOnScreens(screens.all(), from, wanted, ScreenEdge::OfItsScreen);
    }
}

void PortalPointer::moveTo(const Location &position)
{
    const Location from = location();
    if (isFinite(position)) {
        const Location to = placeOnScreens(screens.all(), from, position, ScreenEdge::OfItsScreen);
        moveBy(to.x - from.x, to.y - from.y);
    }
}

void PortalPointer::press(PointerButton button)
{
    release(button);
    if (outbox.add(PortalEvent::button(codeOf(button), true))) {
        held.push_back(button);
    }
}

void PortalPointer::release(PointerButton button)
{
    if (std::erase(held, button) != 0) {
        outbox.add(PortalEvent::button(codeOf(button), false));
    }
}

PortalPointer::WheelStep PortalPointer::wheelStepOfDesktop()
{
    const QStringList names = XdgDirectories::fromEnvironment().desktops;
    return names.contains("KDE"_L1) ? WheelStep::Pixel : WheelStep::Notch;
}

void PortalPointer::scroll(int dx, int dy)
{
    if (wheelStep == WheelStep::Pixel) {
        stepsRight.add(dx);
        stepsDown.add(dy);
        turn(stepsRight.take(), stepsDown.take());
    } else {
        turn(dx / notch, dy / notch);
        scrollRest(dx % notch, dy % notch);
    }
}

void PortalPointer::turn(int right, int down)
{
    if (down != 0) {
        outbox.add(PortalEvent::wheel(PortalEvent::Kind::VerticalWheel, down));
    }
    if (right != 0) {
        outbox.add(PortalEvent::wheel(PortalEvent::Kind::HorizontalWheel, right));
    }
}

void PortalPointer::scrollRest(int right, int down)
{
    constexpr double pixels = double(pixelsOfNotch) / notch;
    if (right != 0 || down != 0) {
        outbox.add(PortalEvent::scroll(right * pixels, down * pixels));
    }
}

} // namespace platform
