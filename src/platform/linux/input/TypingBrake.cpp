// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/TypingBrake.h"

#include <algorithm>

namespace platform {

void TypingBrake::begin()
{
    atBegin.reset();
    heldSince.reset();
    if (areSomeSlow) {
        unseen = bytesPerLook;
    }
}

bool TypingBrake::holds(Clock::time_point now)
{
    const bool isDue = heldSince ? now - lastLook >= lookInterval
                                 : unseen >= (areSomeSlow ? bytesPerCloseLook : bytesPerLook);
    if (isDue) {
        lookAt(now);
    }
    return heldSince.has_value();
}

void TypingBrake::lookAt(Clock::time_point now)
{
    lastLook = now;
    unseen = 0;
    UnreadEvents slow = look().value_or(UnreadEvents());
    std::erase_if(slow, [](const auto &each) { return each.second <= muchUnread; });
    areSomeSlow = !slow.empty();
    if (!atBegin) {
        atBegin = slow;
    }
    std::erase_if(*atBegin, [&](const auto &each) { return !slow.contains(each.first); });
    const bool isAnyWaitedFor = std::ranges::any_of(slow, [this](const auto &each) {
        const auto before = atBegin->find(each.first);
        return before == atBegin->end() || each.second > before->second + moreUnread;
    });
    if (!isAnyWaitedFor) {
        heldSince.reset();
    } else if (!heldSince) {
        heldSince = now;
    }
}

} // namespace platform
