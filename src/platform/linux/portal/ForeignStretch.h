// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <functional>

namespace platform {

/// A part of a text that has no keys.
struct ForeignStretch
{
    qsizetype begin = 0;
    qsizetype end = 0;

    bool isEmpty() const { return begin == end; }
    bool operator==(const ForeignStretch &) const = default;
};

/// The stretch from the first to the last character of that line that no key has, together with
/// the letter that an accent at its beginning belongs to. A line ends before the first line feed or
/// tab, which are keys that do more than to write. Empty, and at the end of the line, if all have
/// keys. Halves of characters are not counted.
ForeignStretch foreignStretch(const QString &text, qsizetype from,
                              const std::function<bool(char32_t)> &hasKey);

} // namespace platform
