// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/NullEventServices.h"

#include "messages/Messages.h"

#include <utility>

namespace platform {

NullEventServices::NullEventServices(const QString &userReason) : reason(userReason) {}

void NullEventServices::postKeyboard(const KeyboardEvent & /*event*/)
{
    warnOnce();
}

void NullEventServices::postMouse(std::optional<SourceState> /*source*/,
                                  std::span<const MouseEvent> events, EventTap /*tap*/)
{
    if (!events.empty()) {
        warnOnce();
    }
}

void NullEventServices::warnOnce()
{
    if (!std::exchange(hasWarned, true)) {
        Messages::warning({reason});
    }
}

} // namespace platform
