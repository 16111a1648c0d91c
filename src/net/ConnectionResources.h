// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "loop/Turns.h"
#include "net/DescriptorBudget.h"
#include "net/MemoryBudget.h"
#include "net/TokenText.h"

/// What all connections of a server share: the event loop's time, memory and descriptors.
struct ConnectionResources
{
    /// \param memoryLimit in bytes
    explicit ConnectionResources(qint64 memoryLimit = MemoryBudget::defaultLimit)
        : memory(memoryLimit)
    {
    }

    /// Frees what a connection has stored, in steps: freeing millions of texts takes long.
    void dispose(TokenMap map);

    /// Whose work needs memory until it is done.
    static constexpr size_t mostAtWork = 16;

    Turns readingTurns{mostAtWork};
    Turns writingTurns{mostAtWork};
    Turns disposalTurns{mostAtWork};
    MemoryBudget memory;
    DescriptorBudget descriptors;
};
