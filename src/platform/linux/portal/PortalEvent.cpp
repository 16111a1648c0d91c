// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalEvent.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace platform {

bool PortalEvent::takesIn(const PortalEvent &next)
{
    // The pointer goes no further than the largest desktop at once, the wheel no further than
    // anybody reads.
    constexpr double farthest = 200'000;
    constexpr std::int32_t mostSteps = 3'000;
    const bool isTurn = dx * next.dx < 0 || dy * next.dy < 0;
    if (next.kind != kind || kind == Kind::Button || isOfKeyboard() || isTurn) {
        return false;
    }
    dx = std::clamp(dx + next.dx, -farthest, farthest);
    dy = std::clamp(dy + next.dy, -farthest, farthest);
    code = std::clamp(code + next.code, -mostSteps, mostSteps);
    return true;
}

QString PortalEvent::method() const
{
    switch (kind) {
    case Kind::Motion:
        return u"NotifyPointerMotion"_s;
    case Kind::Button:
        return u"NotifyPointerButton"_s;
    case Kind::Scroll:
        return u"NotifyPointerAxis"_s;
    case Kind::VerticalWheel:
    case Kind::HorizontalWheel:
        return u"NotifyPointerAxisDiscrete"_s;
    case Kind::Key:
        return u"NotifyKeyboardKeycode"_s;
    case Kind::Character:
        return u"NotifyKeyboardKeysym"_s;
    }
    return {};
}

QVariantList PortalEvent::arguments() const
{
    switch (kind) {
    case Kind::Motion:
    case Kind::Scroll:
        return {dx, dy};
    case Kind::VerticalWheel:
        return {0U, code};
    case Kind::HorizontalWheel:
        return {1U, code};
    case Kind::Button:
    case Kind::Key:
    case Kind::Character:
        break;
    }
    return {code, isDown ? 1U : 0U};
}

} // namespace platform
