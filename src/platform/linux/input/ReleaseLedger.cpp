// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/ReleaseLedger.h"

namespace platform {

void ReleaseLedger::press(Kind kind, std::uint8_t number)
{
    forget(kind, number);
    flag(kind, number) = true;
}

void ReleaseLedger::release(Kind kind, std::uint8_t number, std::uint32_t sequence)
{
    if (flag(kind, number)) {
        forget(kind, number);
        unconfirmed.push_back({kind, number, sequence});
    }
}

void ReleaseLedger::confirm(std::uint32_t sequence)
{
    std::erase_if(unconfirmed, [&](const Release &release) {
        const bool isDone = static_cast<std::int32_t>(release.sequence - sequence) <= 0;
        if (isDone) {
            flag(release.kind, release.number) = false;
        }
        return isDone;
    });
}

std::atomic<bool> &ReleaseLedger::flag(Kind kind, std::uint8_t number)
{
    return kind == Kind::Key ? memory.keys[number] : memory.buttons[number];
}

/// A later press or release makes an earlier release irrelevant.
void ReleaseLedger::forget(Kind kind, std::uint8_t number)
{
    std::erase_if(unconfirmed, [&](const Release &release) {
        return release.kind == kind && release.number == number;
    });
}

} // namespace platform
