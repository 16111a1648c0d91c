// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace platform {

/// Adds up amounts and hands out whole steps; what is left over counts next time. After a change of
/// direction the rest of the other direction is dropped.
class Remainder
{
public:
    /// More than `limit` steps are never owed.
    Remainder(double amountPerStep, int mostSteps) : step(amountPerStep), limit(mostSteps) {}

    /// What is not a finite number is ignored.
    void add(double amount);
    /// The whole steps, which are then no longer owed.
    int take();
    void clear() { owed = 0; }

private:
    double step;
    int limit;
    double owed = 0;
};

} // namespace platform
