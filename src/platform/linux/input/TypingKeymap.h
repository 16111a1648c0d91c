// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

namespace platform {

/// A key map made for a piece of text: each of its keys produces one keysym in each of the four
/// groups, without any modifier. It is a value; nothing is asked of the desktop.
///
/// Only keys that type characters on every keyboard are used, since some programs go by the
/// position and would take a letter on the Escape key for Escape. Enter, Tab and the space bar are
/// where they always are.
class TypingKeymap
{
public:
    struct Place
    {
        std::uint8_t keycode = 0; ///< The kernel's key code plus 8.
        std::uint32_t group = 0;  ///< From 0.

        bool operator==(const Place &) const = default;
    };

    /// How many keysyms always fit.
    static const std::size_t capacity;

    /// Each keysym counts once, the first ones before the others; what does not fit is left out.
    /// Neighbours mostly share a group.
    explicit TypingKeymap(std::span<const std::uint32_t> wanted);

    /// Where a keysym is; nothing if it was left out.
    std::optional<Place> placeOf(std::uint32_t keysym) const;

    /// All but those of Enter, Tab and the space bar, in their order.
    std::vector<std::uint32_t> keysyms() const;

    /// The key map as libxkbcommon reads it.
    const QByteArray &text() const { return description; }

private:
    void place(std::uint32_t keysym);
    void describe();

    std::unordered_map<std::uint32_t, Place> places;
    std::vector<std::vector<std::uint32_t>> groups; ///< The keysyms in the order of the keys.
    QByteArray description;
};

} // namespace platform
