// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/resource.h>
#include <unistd.h>

/// While it lives, this process may open only so many more descriptors, counted from the lowest
/// free one.
class DescriptorLimit
{
public:
    explicit DescriptorLimit(int more)
    {
        const int lowestFree = dup(0);
        close(lowestFree);
        getrlimit(RLIMIT_NOFILE, &before);
        const rlimit lowered{static_cast<rlim_t>(lowestFree + more), before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &lowered);
    }
    ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &before); }
    DescriptorLimit(const DescriptorLimit &) = delete;
    DescriptorLimit &operator=(const DescriptorLimit &) = delete;

private:
    rlimit before{};
};
