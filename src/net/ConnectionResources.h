// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "net/DescriptorBudget.h"
#include "net/MemoryBudget.h"
#include "net/TokenText.h"
#include "net/Turns.h"

/// What all connections of a server share: the event loop's time, memory and descriptors.
struct ConnectionResources
{
    /// With a limit of the memory, in bytes.
    explicit ConnectionResources(qint64 memoryLimit = MemoryBudget::defaultLimit)
        : memory(memoryLimit)
    {
    }

    /// Gives back what a connection has stored, in steps: millions of texts take their time.
    void dispose(TokenMap map);

    Turns readingTurns;
    Turns writingTurns;
    Turns disposalTurns;
    MemoryBudget memory;
    DescriptorBudget descriptors;
};
