// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/WlrootsPointer.h"

#include "platform/linux/input/ButtonCodes.h"
#include "platform/linux/input/PlaceOnScreens.h"
#include "platform/linux/input/VirtualKeyboard.h"

#include <algorithm>
#include <cmath>

#include <linux/input-event-codes.h>
#include <wayland-client.h>

namespace platform {

namespace {

/// What goes over the wire counts 256ths of a pixel.
constexpr double wireSteps = 256;
/// Further than the largest screens, in one step.
constexpr double mostPixels = 200'000;
constexpr double notch = 120;
constexpr double mostUnits = 200 * notch;

/// The part of an amount that can be sent; the rest stays owed.
wl_fixed_t takeSteps(double &owed)
{
    const double steps = std::trunc(owed * wireSteps);
    owed -= steps / wireSteps;
    return static_cast<wl_fixed_t>(steps);
}

/// The last place of a length from `start` on that belongs to it: compositors keep the pointer a
/// pixel away from the far edge.
double clampedTo(double place, int start, int length)
{
    return std::clamp(place, double(start), double(start + length - 1));
}

} // namespace

void WlrootsPointer::Amount::add(double toTheRight, double further, double most)
{
    if (std::isfinite(toTheRight) && std::isfinite(further)) {
        right = std::clamp(right + toTheRight, -most, most);
        down = std::clamp(down + further, -most, most);
    }
}

WlrootsPointer::WlrootsPointer(WaylandConnection &openConnection, WaylandOutbox &outboxOfConnection,
                               const WaylandOutputs &outputsOfConnection, HeldInput &heldInput)
    : connection(openConnection)
    , outbox(outboxOfConnection)
    , outputs(outputsOfConnection)
    , held(heldInput)
{
}

void WlrootsPointer::begin(zwlr_virtual_pointer_v1 *made)
{
    drop();
    device.reset(made);
}

void WlrootsPointer::end()
{
    while (!heldButtons.empty()) {
        release(heldButtons.back());
    }
    drop();
}

void WlrootsPointer::drop()
{
    heldButtons.clear();
    for (auto &isHeld : held.buttons) {
        isHeld = false;
    }
    owedMotion = {};
    owedWheel = {};
    last.reset();
    device.reset();
}

Location WlrootsPointer::location() const
{
    if (outputs.all().isEmpty()) {
        return {};
    }
    const QRectF main = outputs.all().first().place;
    return onOutputs(last.value_or(Location{main.center().x(), main.center().y()}));
}

Location WlrootsPointer::onOutputs(const Location &place) const
{
    return placeOnScreens(outputs.all(), place, place, ScreenEdge::OfAnyScreen);
}

void WlrootsPointer::moveBy(double dx, double dy)
{
    owedMotion.add(dx, dy, mostPixels);
    if (outbox.hasRoom()) {
        sendMotion();
    }
}

void WlrootsPointer::moveFromHereTo(const Location &position)
{
    const Location here = location();
    moveBy(position.x - here.x - owedMotion.right, position.y - here.y - owedMotion.down);
}

/// Nothing is closer to the place than the outputs, so it is sent in parts of the box around them.
void WlrootsPointer::moveTo(const Location &position)
{
    const QRect box = outputs.bounds();
    if (!device || box.isEmpty() || !std::isfinite(position.x) || !std::isfinite(position.y)) {
        return;
    }
    owedMotion = {};
    const auto steps = [](double place, int start, int length) {
        return static_cast<std::uint32_t>(
            std::lround((clampedTo(place, start, length) - start) * wireSteps));
    };
    const auto extent = [](int length) {
        return static_cast<std::uint32_t>(length) * static_cast<std::uint32_t>(wireSteps);
    };
    outbox.send([target = device.get(), x = steps(position.x, box.x(), box.width()),
                 y = steps(position.y, box.y(), box.height()), width = extent(box.width()),
                 height = extent(box.height())] {
        zwlr_virtual_pointer_v1_motion_absolute(target, eventTime(), x, y, width, height);
    });
    last = onOutputs(position);
    endGroup();
}

void WlrootsPointer::press(PointerButton button)
{
    release(button);
    if (device && !outbox.isClogged()) {
        heldButtons.push_back(button);
        held.buttons[codeOf(button) - BTN_LEFT] = true;
        setButton(button, true);
    }
}

void WlrootsPointer::release(PointerButton button)
{
    if (std::erase(heldButtons, button) > 0) {
        setButton(button, false);
    }
}

void WlrootsPointer::scroll(int dx, int dy)
{
    owedWheel.add(dx, dy, mostUnits);
    if (outbox.hasRoom()) {
        sendWheel();
    }
}

void WlrootsPointer::sendOwed()
{
    if (outbox.hasRoom()) {
        sendMotion();
        sendWheel();
    }
}

void WlrootsPointer::sendMotion()
{
    if (!device) {
        owedMotion = {};
        return;
    }
    const Location from = location();
    const wl_fixed_t right = takeSteps(owedMotion.right);
    const wl_fixed_t down = takeSteps(owedMotion.down);
    if (right == 0 && down == 0) {
        return;
    }
    outbox.send([target = device.get(), right, down] {
        zwlr_virtual_pointer_v1_motion(target, eventTime(), right, down);
    });
    last = onOutputs({from.x + right / wireSteps, from.y + down / wireSteps});
    endGroup();
}

void WlrootsPointer::sendWheel()
{
    const Amount amount = std::exchange(owedWheel, {});
    if (!device || amount.isNone()) {
        return;
    }
    turn(WL_POINTER_AXIS_HORIZONTAL_SCROLL, amount.right);
    turn(WL_POINTER_AXIS_VERTICAL_SCROLL, amount.down);
}

/// Whole notches as those of a wheel, and the rest as that of a device without notches. The source
/// comes last: wlroots takes it as that of the axis that was named before it.
void WlrootsPointer::turn(std::uint32_t axis, double units)
{
    // libinput reports a wheel in degrees; a notch of most has 15.
    constexpr double degreesPerNotch = 15;
    const auto notches = static_cast<std::int32_t>(units / notch);
    const double rest = units - notches * notch;
    if (notches != 0) {
        outbox.send([target = device.get(), axis, notches] {
            zwlr_virtual_pointer_v1_axis_discrete(target, eventTime(), axis,
                                                  wl_fixed_from_double(degreesPerNotch * notches),
                                                  notches);
            zwlr_virtual_pointer_v1_axis_source(target, WL_POINTER_AXIS_SOURCE_WHEEL);
        });
        endGroup();
    }
    if (rest != 0) {
        const wl_fixed_t value = wl_fixed_from_double(degreesPerNotch * rest / notch);
        outbox.send([target = device.get(), axis, value] {
            zwlr_virtual_pointer_v1_axis(target, eventTime(), axis, value);
            zwlr_virtual_pointer_v1_axis_source(target, WL_POINTER_AXIS_SOURCE_CONTINUOUS);
        });
        endGroup();
    }
}

/// After the moves that had to wait, so that it happens where it should.
void WlrootsPointer::setButton(PointerButton button, bool isDown)
{
    sendMotion();
    outbox.send([target = device.get(), code = static_cast<std::uint32_t>(codeOf(button)), isDown] {
        zwlr_virtual_pointer_v1_button(target, eventTime(), code,
                                       isDown ? WL_POINTER_BUTTON_STATE_PRESSED
                                              : WL_POINTER_BUTTON_STATE_RELEASED);
    });
    if (!isDown) {
        outbox.send([this, button] {
            connection.afterEverything([this, button] { confirmRelease(button); });
        });
    }
    endGroup();
}

/// Only now, since a compositor drops what it has not read when the server is killed.
void WlrootsPointer::confirmRelease(PointerButton button)
{
    if (std::ranges::find(heldButtons, button) == heldButtons.end()) {
        held.buttons[codeOf(button) - BTN_LEFT] = false;
    }
}

void WlrootsPointer::endGroup()
{
    outbox.send([target = device.get()] { zwlr_virtual_pointer_v1_frame(target); });
    outbox.flush();
}

} // namespace platform
