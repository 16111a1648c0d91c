// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/DescriptorBudget.h"

#include "platform/DescriptorLimit.h"

#include <utility>

DescriptorBudget::Lease::Lease(DescriptorBudget &lender) : budget(&lender)
{
    ++budget->leases;
}

DescriptorBudget::Lease::~Lease()
{
    if (budget != nullptr) {
        --budget->leases;
    }
}

DescriptorBudget::Lease::Lease(Lease &&other) noexcept
    : budget(std::exchange(other.budget, nullptr))
{
}

DescriptorBudget::Lease &DescriptorBudget::Lease::operator=(Lease &&other) noexcept
{
    std::swap(budget, other.budget);
    return *this;
}

void DescriptorBudget::countOthers()
{
    others = platform::countOpenDescriptors() - leases;
}

int DescriptorBudget::left() const
{
    return platform::descriptorLimit() - others - leases;
}
