// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

/// Values that were measured one after another, all of the same thing.
class Sample
{
public:
    void add(double value) { values.insert(position(value), value); }
    size_t size() const { return values.size(); }

    /// The value that this share of all stays below: 0.5 is the median. 0 when nothing was
    /// measured.
    double atShare(double share) const
    {
        if (values.empty()) {
            return 0;
        }
        const auto index = static_cast<size_t>(share * static_cast<double>(values.size()));
        return values[std::min(index, values.size() - 1)];
    }
    double median() const { return atShare(0.5); }
    double largest() const { return atShare(1); }

private:
    std::vector<double>::const_iterator position(double value) const
    {
        return std::upper_bound(values.begin(), values.end(), value);
    }

    std::vector<double> values; ///< In rising order.
};
