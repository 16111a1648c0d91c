// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/HeldInput.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace platform {

/// Keeps the shared memory true: knows which releases have been sent and not yet been dealt with.
///
/// Requests have rising sequence numbers, in 32 bits that start again at 0; an answer of the X
/// server tells up to which one it has come. The ledger never grows beyond 512 entries.
class ReleaseLedger
{
public:
    enum class Kind { Key, Button };

    /// The memory must outlive the ledger.
    explicit ReleaseLedger(HeldInput &sharedMemory) : memory(sharedMemory) {}

    /// To be called before the press is sent.
    void press(Kind kind, std::uint8_t number);
    /// Request `sequence` releases it. What press() has not named is the user's, and is not noted.
    void release(Kind kind, std::uint8_t number, std::uint32_t sequence);

    /// The X server has dealt with that request and all before it.
    void confirm(std::uint32_t sequence);

    /// Whether there are releases that nothing has confirmed yet.
    bool isAnyUnconfirmed() const { return !unconfirmed.empty(); }

private:
    struct Release
    {
        Kind kind = Kind::Key;
        std::uint8_t number = 0;
        std::uint32_t sequence = 0;
    };

    std::atomic<bool> &flag(Kind kind, std::uint8_t number);
    void forget(Kind kind, std::uint8_t number);

    HeldInput &memory;
    std::vector<Release> unconfirmed; ///< A key or button at most once.
};

} // namespace platform
