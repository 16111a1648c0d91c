// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/wayland/WaylandConnection.h"
#include "platform/linux/wayland/WaylandHandles.h"

#include <QByteArray>
#include <QObject>

#include <cstdint>

#include <wayland-client.h>

namespace platform {

/// The first seat of a compositor and the key maps of its keyboards, which every program is told
/// when another keyboard or another layout comes into use.
class SeatKeymap : public QObject
{
    Q_OBJECT

public:
    explicit SeatKeymap(WaylandConnection &openConnection);
    ~SeatKeymap() override;

    /// Asks for the seat, and then for its keyboard; false if there is none.
    bool begin();
    /// To be called when the connection is lost.
    void end();

    /// Null before begin() and after end().
    wl_seat *get() const { return seat.get(); }
    /// The number by which the compositor announced the seat.
    std::uint32_t globalName() const { return global; }

signals:
    /// A key map of the seat has come into use, which may be our own.
    void keymapUsed(const QByteArray &text);

private:
    struct Listeners;

    void takeCapabilities(std::uint32_t capabilities);

    WaylandConnection &connection;
    std::uint32_t global = 0;
    WaylandMember<wl_seat> seat;
    WaylandMember<wl_keyboard> keyboard;
};

} // namespace platform
