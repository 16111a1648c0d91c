// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/wayland/SeatKeymap.h"
#include "platform/linux/wayland/WaylandConnection.h"

#include <QByteArray>
#include <QObject>

#include <cstdint>
#include <optional>
#include <unordered_map>

namespace platform {

/// What the layouts of the user's keyboard can type. The portal drops the rest and does not say so,
/// and looks for exactly the keysym that a layout has: some characters have two.
///
/// Which of several layouts is active, the compositor tells only the program in front.
class PortalLayout : public QObject
{
    Q_OBJECT

public:
    PortalLayout();
    ~PortalLayout() override;

    /// The keysym by which a layout produces the character; a line feed is Enter, a tab is Tab.
    /// None if there is none. Without a known layout the usual one.
    std::optional<std::uint32_t> keysymOf(char32_t character) const;

    /// A key by its position, as linux/input-event-codes.h numbers it, and what is held with it.
    struct Place
    {
        std::int32_t code = 0;
        bool isShifted = false;
        bool isWithAltGraph = false;
    };
    /// Where the character is pressed if its keysym would not do. For a keysym desktops press the
    /// first key that has it, with Shift or AltGr at most, and if it takes both, with neither: then
    /// something else is typed.
    std::optional<Place> placeOf(char32_t character) const;

    /// Whether the compositor has told the layouts.
    bool isKnown() const { return !keysyms.empty(); }

    /// From now on the layouts are those of this key map, as the compositor tells it.
    void useKeymap(const QByteArray &text);

private:
    void begin();

    WaylandConnection connection;
    SeatKeymap seat{connection};
    std::unordered_map<char32_t, std::uint32_t> keysyms; ///< Empty while no layout is known.
    std::unordered_map<char32_t, Place> places;          ///< Only of those that need one.
};

} // namespace platform
