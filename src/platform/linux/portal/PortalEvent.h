// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QVariantList>

#include <cstdint>

namespace platform {

/// One call of the portal that posts input.
struct PortalEvent
{
    enum class Kind {
        Motion,        ///< By dx, dy pixels.
        Button,        ///< The code of linux/input-event-codes.h.
        Scroll,        ///< By dx, dy pixels, as on a touchpad.
        VerticalWheel, ///< By a number of steps.
        HorizontalWheel,
        Key,       ///< By its position: the code of linux/input-event-codes.h.
        Character, ///< The key that has the keysym, with the modifiers that it takes.
    };

    Kind kind = Kind::Motion;
    std::int32_t code = 0; ///< Or keysym, or steps right or down.
    bool isDown = false;
    double dx = 0;
    double dy = 0;

    bool operator==(const PortalEvent &) const = default;

    static PortalEvent motion(double dx, double dy) { return {Kind::Motion, 0, false, dx, dy}; }
    static PortalEvent scroll(double dx, double dy) { return {Kind::Scroll, 0, false, dx, dy}; }
    static PortalEvent wheel(Kind axis, int steps) { return {axis, steps, false, 0, 0}; }
    static PortalEvent button(int code, bool isDown) { return {Kind::Button, code, isDown, 0, 0}; }

    /// Adds the next one to this one if that makes no difference. It does for presses and releases,
    /// and for turns: the edge of the screen may lie between.
    bool takesIn(const PortalEvent &next);

    bool isOfKeyboard() const { return kind == Kind::Key || kind == Kind::Character; }

    /// The call's name, and what follows the session and the options.
    QString method() const;
    QVariantList arguments() const;
};

} // namespace platform
