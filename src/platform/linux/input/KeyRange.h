// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/SpareKeys.h"

#include <cstdint>
#include <optional>
#include <vector>

#include <xcb/xcb.h>

namespace platform {

/// Neighbouring keys of one keyboard with their keysyms, as the X server describes them. They are
/// read and set as a whole: each change of a key map makes every program read it anew, and window
/// managers grab their keys again.
class KeyRange
{
public:
    /// Sends the question for the keys from the first to the last; returns its number.
    static unsigned int ask(xcb_connection_t *connection, std::uint16_t keyboard,
                            std::uint8_t first, std::uint8_t last);
    /// The keys in the answer; nothing if it is none.
    static std::optional<KeyRange> read(const xcb_generic_reply_t *answer);

    /// Whether the key has that keysym and no other, as a key that we have bound.
    bool has(const SpareKeys::Binding &binding) const;
    /// The key produces that keysym whatever modifiers are held; nothing if it is 0.
    void set(const SpareKeys::Binding &binding);
    /// Sends all of them as one change.
    xcb_void_cookie_t send(xcb_connection_t *connection, std::uint16_t keyboard) const;

private:
    /// The words that the protocol has for a key: its types, its groups, the number of its keysyms,
    /// and the keysyms.
    using Words = std::vector<std::uint32_t>;

    bool contains(std::uint8_t keycode) const;

    std::uint8_t lowest = 0; ///< Key code that the keyboard may have.
    std::uint8_t highest = 0;
    std::uint8_t first = 0;
    std::vector<Words> keys;
};

} // namespace platform
