// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"

#include <linux/input-event-codes.h>

namespace platform {

/// The kernel's number of a button, which compositors and portals use, too.
constexpr int codeOf(PointerButton button)
{
    switch (button) {
    case PointerButton::Left:
        return BTN_LEFT;
    case PointerButton::Middle:
        return BTN_MIDDLE;
    case PointerButton::Right:
        return BTN_RIGHT;
    case PointerButton::Back:
        return BTN_SIDE;
    case PointerButton::Forward:
        return BTN_EXTRA;
    }
    return BTN_LEFT;
}

} // namespace platform
