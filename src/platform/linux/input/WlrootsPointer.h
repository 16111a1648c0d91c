// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"
#include "platform/EventServices.h"
#include "platform/linux/input/HeldInput.h"
#include "platform/linux/wayland/WaylandConnection.h"
#include "platform/linux/wayland/WaylandHandles.h"
#include "platform/linux/wayland/WaylandOutbox.h"
#include "platform/linux/wayland/WaylandOutputs.h"

#include <cstdint>
#include <optional>
#include <vector>

#include <wlr-virtual-pointer-unstable-v1-client.h>

namespace platform {

/// Moves the pointer of a Wayland compositor and presses its buttons by a virtual pointer. Nothing
/// happens without a device. Places are those of the outputs.
///
/// No compositor tells where its pointer is: location() is where it is if nobody else moves it.
/// Everything is flushed at once.
class WlrootsPointer
{
public:
    /// All must outlive the pointer. `heldInput` gets the buttons that are down, or may be, from
    /// BTN_LEFT on.
    WlrootsPointer(WaylandConnection &openConnection, WaylandOutbox &outboxOfConnection,
                   const WaylandOutputs &outputsOfConnection, HeldInput &heldInput);

    /// From now on the pointer is that device, which it owns then.
    void begin(zwlr_virtual_pointer_v1 *made);
    /// Releases what is down and destroys the device.
    void end();
    /// The device is gone.
    void drop();

    /// On an output; the middle of the main one before anything has been posted. (0, 0) without
    /// outputs.
    Location location() const;

    /// What the compositor has no room for is added to the next move.
    void moveBy(double dx, double dy);
    void moveTo(const Location &position);
    /// Goes there from location() by a relative move: if somebody else has moved the pointer, it
    /// does not jump back first.
    void moveFromHereTo(const Location &position);
    void press(PointerButton button);
    /// Nothing if it is not down.
    void release(PointerButton button);
    /// 120 is one notch, right and down. Less than a notch is sent as such.
    void scroll(int dx, int dy);

    /// There is room again: sends what had to wait for it.
    void sendOwed();

private:
    struct Amount
    {
        double right = 0;
        double down = 0;

        void add(double toTheRight, double further, double most);
        bool isNone() const { return right == 0 && down == 0; }
    };

    void sendMotion();
    void sendWheel();
    void turn(std::uint32_t axis, double units);
    void setButton(PointerButton button, bool isDown);
    Location onOutputs(const Location &place) const;
    void confirmRelease(PointerButton button);
    void endGroup();

    WaylandConnection &connection;
    WaylandOutbox &outbox;
    const WaylandOutputs &outputs;
    WaylandMember<zwlr_virtual_pointer_v1> device;
    std::optional<Location> last; ///< Where the last move has led.
    Amount owedMotion;            ///< Pixels.
    Amount owedWheel;             ///< 120 is a notch.
    std::vector<PointerButton> heldButtons;
    HeldInput &held;
};

} // namespace platform
