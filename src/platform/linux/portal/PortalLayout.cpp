// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalLayout.h"

#include "platform/linux/input/NamedKeySymbols.h"
#include "platform/linux/input/XkbHandles.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

namespace platform {

namespace {

using Keysyms = std::unordered_map<char32_t, std::uint32_t>;

/// The first layout that has a character counts.
void addLevels(Keysyms &keysyms, xkb_keymap *keymap, xkb_keycode_t code, xkb_layout_index_t layout)
{
    const xkb_level_index_t levels = xkb_keymap_num_levels_for_key(keymap, code, layout);
    for (xkb_level_index_t level = 0; level < levels; ++level) {
        const xkb_keysym_t *symbols = nullptr;
        const int count = xkb_keymap_key_get_syms_by_level(keymap, code, layout, level, &symbols);
        const char32_t character = count == 1 ? xkb_keysym_to_utf32(symbols[0]) : 0;
        const bool isOfKeypad =
            count == 1 && symbols[0] >= XKB_KEY_KP_Space && symbols[0] <= XKB_KEY_KP_Equal;
        if (character >= U' ' && character != 0x7f && !isOfKeypad) {
            keysyms.try_emplace(character, symbols[0]);
        }
    }
}

} // namespace

PortalLayout::PortalLayout()
{
    connect(&seat, &SeatKeymap::keymapUsed, this, &PortalLayout::useKeymap);
    connect(&connection, &WaylandConnection::globalAdded, this, &PortalLayout::begin);
    connect(&connection, &WaylandConnection::lost, &seat, &SeatKeymap::end);
    begin();
}

PortalLayout::~PortalLayout()
{
    connection.disconnect();
}

void PortalLayout::begin()
{
    if (connection.isOpen() && seat.get() == nullptr) {
        seat.begin();
    }
}

void PortalLayout::useKeymap(const QByteArray &text)
{
    keysyms.clear();
    const XkbContext context(xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES));
    const XkbKeymap keymap(
        context ? xkb_keymap_new_from_buffer(context.get(), text.constData(),
                                             static_cast<std::size_t>(text.size()),
                                             XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS)
                : nullptr);
    if (!keymap) {
        return;
    }
    const xkb_keycode_t last = xkb_keymap_max_keycode(keymap.get());
    for (xkb_keycode_t code = xkb_keymap_min_keycode(keymap.get()); code <= last; ++code) {
        const xkb_layout_index_t layouts = xkb_keymap_num_layouts_for_key(keymap.get(), code);
        for (xkb_layout_index_t layout = 0; layout < layouts; ++layout) {
            addLevels(keysyms, keymap.get(), code, layout);
        }
    }
}

std::optional<std::uint32_t> PortalLayout::keysymOf(char32_t character) const
{
    const std::uint32_t known = platform::keysymOf(character);
    if (known == XKB_KEY_NoSymbol) {
        return std::nullopt;
    }
    if (character < U' ') {
        return known;
    }
    if (keysyms.empty()) {
        return xkb_utf32_to_keysym(character);
    }
    const auto found = keysyms.find(character);
    return found == keysyms.end() ? std::nullopt : std::optional(found->second);
}

} // namespace platform
