// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/Remainder.h"

#include <algorithm>
#include <cmath>

namespace platform {

void Remainder::add(double amount)
{
    if (!std::isfinite(amount)) {
        return;
    }
    const bool hasTurned = amount * owed < 0 && std::abs(owed) < step;
    const double most = step * limit;
    owed = std::clamp((hasTurned ? 0 : owed) + amount, -most, most);
}

int Remainder::take()
{
    constexpr double inexactness = 1e-6; // Ten times 0.1 is a little less than 1.
    const double steps = std::trunc(owed / step + std::copysign(inexactness, owed));
    owed -= steps * step;
    return static_cast<int>(steps);
}

} // namespace platform
