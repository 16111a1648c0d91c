// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"
#include "platform/linux/input/InputGuard.h"
#include "platform/linux/input/SharedHeldInput.h"
#include "platform/linux/input/WlrootsDesktopInput.h"
#include "platform/linux/input/WlrootsKeyboard.h"
#include "platform/linux/input/WlrootsPointer.h"
#include "platform/linux/input/WlrootsTypist.h"
#include "platform/linux/wayland/CompositorPatience.h"
#include "platform/linux/wayland/SeatKeymap.h"
#include "platform/linux/wayland/WaylandConnection.h"
#include "platform/linux/wayland/WaylandOutbox.h"
#include "platform/linux/wayland/WaylandOutputs.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace platform {

/// The input of a Wayland session whose compositor lets programs make virtual keyboards and
/// pointers, as sway, labwc, Wayfire, Hyprland, niri and river do.
///
/// Keyboard and pointer live as long as the compositor, since the first keys of a new keyboard get
/// lost: programs do not listen to it yet. If the compositor ends, nothing is posted until it is
/// back. Of a killed server the compositor releases the keys, and our guard the buttons, see
/// startGuard().
///
/// Needs a running event loop on its thread. Taps and source states have no counterpart here.
class WlrootsEventServices final : public QObject, public EventServices
{
    Q_OBJECT

public:
    /// Connects to the compositor that WAYLAND_DISPLAY names, and waits until the keyboard is
    /// there, as long as there is patience.
    explicit WlrootsEventServices(CompositorPatience patience);
    /// Releases what is still down, and waits a second at most until the compositor has done so.
    ~WlrootsEventServices() override;

    /// From now on a separate process releases the buttons that a killed server has left down.
    void startGuard();

    Location pointerLocation() override { return pointer.location(); }
    void postKeyboard(const KeyboardEvent &event) override;
    /// A click happens where the pointer is; the positions of presses and releases are ignored.
    void postMouse(std::optional<SourceState> source, std::span<const MouseEvent> events,
                   EventTap tap) override;
    DesktopInput &input() override { return desktopInput; }

private:
    void begin();
    void makeDevices();
    void drop();
    void postMouse(const MouseEvent &event);

    WaylandConnection connection;
    WaylandOutputs outputs;
    WaylandOutbox outbox;
    SeatKeymap seat;
    SharedHeldInput held;
    WlrootsKeyboard keyboard;
    WlrootsPointer pointer;
    ProgramSockets programs;
    WlrootsTypist typist;
    WlrootsDesktopInput desktopInput;
    std::unique_ptr<InputGuard> guard;
};

} // namespace platform
