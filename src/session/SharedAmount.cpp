// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SharedAmount.h"

#include <algorithm>

/// All that wait are called, since the first one may need no room any more.
void SharedAmount::add(qint64 amount)
{
    used += amount;
    while (used < limit && !waiting.empty()) {
        const std::function<void()> wake = waiting.front()->wake; // which may destroy the share
        waiting.pop_front();
        wake();
    }
}

SharedAmount::Share::~Share()
{
    std::erase(whole.waiting, this);
    whole.add(-held);
}

bool SharedAmount::Share::resize(qint64 amount)
{
    const qint64 after = whole.used - held + amount;
    // Less is always possible.
    if (amount > held && after > whole.limit) {
        return false;
    }
    hold(amount);
    return true;
}

void SharedAmount::Share::hold(qint64 amount)
{
    const qint64 before = std::exchange(held, amount);
    whole.add(amount - before);
}

bool SharedAmount::Share::askForRoom()
{
    if (whole.used < whole.limit) {
        return true;
    }
    if (wake && std::ranges::find(whole.waiting, this) == whole.waiting.end()) {
        whole.waiting.push_back(this);
    }
    return false;
}
