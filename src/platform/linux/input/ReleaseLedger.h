// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/HeldInput.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace platform {

/// Keeps the shared memory correct: knows which releases have been sent but not yet processed.
///
/// Requests have rising sequence numbers of 32 bits that wrap around; an answer of the X server
/// shows the last request that it has processed. The ledger never has more than 512 entries.
class ReleaseLedger
{
public:
    enum class Kind { Key, Button };

    /// The memory must outlive the ledger.
    explicit ReleaseLedger(HeldInput &sharedMemory) : memory(sharedMemory) {}

    /// To be called before the press is sent.
    void press(Kind kind, std::uint8_t number);
    /// Request `sequence` releases it. A key or button that press() has not named was pressed by
    /// the user and is not recorded.
    void release(Kind kind, std::uint8_t number, std::uint32_t sequence);

    /// The X server has processed that request and all before it.
    void confirm(std::uint32_t sequence);

    /// Whether there are releases that are not confirmed yet.
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
