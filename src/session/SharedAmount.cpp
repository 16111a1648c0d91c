// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SharedAmount.h"

SharedAmount::Share::~Share()
{
    whole.used -= held;
}

bool SharedAmount::Share::resize(qint64 amount)
{
    const qint64 after = whole.used - held + amount;
    // Less is always possible.
    if (amount > held && after > whole.limit) {
        return false;
    }
    whole.used = after;
    held = amount;
    return true;
}
