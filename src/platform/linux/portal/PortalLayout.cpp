// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalLayout.h"

#include "platform/linux/applications/XdgDirectories.h"
#include "platform/linux/input/NamedKeySymbols.h"
#include "platform/linux/input/XkbHandles.h"

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

/// Desktops know no modifiers for the levels beyond.
constexpr xkb_level_index_t lastLevelOfKeysyms = 2;

/// A place of a character in a key map.
struct Entry
{
    char32_t character = 0;
    xkb_keysym_t keysym = 0;
    xkb_keycode_t code = 0;
    xkb_layout_index_t layout = 0;
    xkb_level_index_t level = 0;
};

void addLevels(std::vector<Entry> &entries, xkb_keymap *keymap, xkb_keycode_t code,
               xkb_layout_index_t layout)
{
    const xkb_level_index_t levels = xkb_keymap_num_levels_for_key(keymap, code, layout);
    for (xkb_level_index_t level = 0; level < levels; ++level) {
        const xkb_keysym_t *symbols = nullptr;
        const int count = xkb_keymap_key_get_syms_by_level(keymap, code, layout, level, &symbols);
        const char32_t character = count == 1 ? xkb_keysym_to_utf32(symbols[0]) : 0;
        const bool isOfKeypad =
            count == 1 && symbols[0] >= XKB_KEY_KP_Space && symbols[0] <= XKB_KEY_KP_Equal;
        if (character >= U' ' && character != 0x7f && !isOfKeypad) {
            entries.push_back({character, symbols[0], code, layout, level});
        }
    }
}

/// How many are the user's. GNOME adds one of the language that it speaks, which is never active.
xkb_layout_index_t layoutsOfUser(xkb_keymap *keymap)
{
    const bool isGnome = XdgDirectories::fromEnvironment().desktops.contains("GNOME"_L1);
    const xkb_layout_index_t layouts = xkb_keymap_num_layouts(keymap);
    return isGnome && layouts > 1 ? layouts - 1 : layouts;
}

/// In the order in which desktops look through it.
std::vector<Entry> entriesOf(xkb_keymap *keymap)
{
    const xkb_layout_index_t layoutsToKnow = layoutsOfUser(keymap);
    std::vector<Entry> entries;
    const xkb_keycode_t last = xkb_keymap_max_keycode(keymap);
    for (xkb_keycode_t code = xkb_keymap_min_keycode(keymap); code <= last; ++code) {
        const xkb_layout_index_t layouts =
            std::min(layoutsToKnow, xkb_keymap_num_layouts_for_key(keymap, code));
        for (xkb_layout_index_t layout = 0; layout < layouts; ++layout) {
            addLevels(entries, keymap, code, layout);
        }
    }
    return entries;
}

/// The characters whose first place in a layout their keysym does not reach.
std::set<char32_t> charactersOutOfReach(const std::vector<Entry> &entries)
{
    std::set<std::pair<xkb_layout_index_t, xkb_keysym_t>> seen;
    std::set<char32_t> found;
    for (const Entry &entry : entries) {
        const bool isFirst = seen.emplace(entry.layout, entry.keysym).second;
        if (isFirst && entry.level > lastLevelOfKeysyms) {
            found.insert(entry.character);
        }
    }
    return found;
}

/// None if it takes other modifiers than Shift and AltGr.
std::optional<PortalLayout::Place> placeOf(xkb_keymap *keymap, const Entry &entry)
{
    constexpr xkb_keycode_t firstCode = 8;
    const xkb_mod_mask_t shift = 1U << xkb_keymap_mod_get_index(keymap, XKB_MOD_NAME_SHIFT);
    const xkb_mod_mask_t altGraph = 1U << xkb_keymap_mod_get_index(keymap, "Mod5");
    std::vector<xkb_mod_mask_t> masks(16);
    masks.resize(xkb_keymap_key_get_mods_for_level(keymap, entry.code, entry.layout, entry.level,
                                                   masks.data(), masks.size()));
    const auto mask = std::ranges::find_if(
        masks, [&](xkb_mod_mask_t candidate) { return (candidate & ~(shift | altGraph)) == 0; });
    if (mask == masks.end()) {
        return std::nullopt;
    }
    return PortalLayout::Place{static_cast<std::int32_t>(entry.code - firstCode),
                               (*mask & shift) != 0, (*mask & altGraph) != 0};
}

/// None where there are several layouts: which one is active, nobody tells.
std::optional<PortalLayout::Place>
reachablePlace(xkb_keymap *keymap, const std::vector<Entry> &entries, char32_t character)
{
    std::optional<PortalLayout::Place> place;
    for (const Entry &entry : entries) {
        if (!place && entry.character == character && layoutsOfUser(keymap) == 1) {
            place = placeOf(keymap, entry);
        }
    }
    return place;
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
    places.clear();
    const XkbContext context(xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES));
    const XkbKeymap keymap(
        context ? xkb_keymap_new_from_buffer(context.get(), text.constData(),
                                             static_cast<std::size_t>(text.size()),
                                             XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS)
                : nullptr);
    if (!keymap) {
        return;
    }
    const std::vector<Entry> entries = entriesOf(keymap.get());
    for (const Entry &entry : entries) {
        keysyms.try_emplace(entry.character, entry.keysym);
    }
    for (const char32_t character : charactersOutOfReach(entries)) {
        if (const auto place = reachablePlace(keymap.get(), entries, character)) {
            places.emplace(character, *place);
        } else {
            keysyms.erase(character);
        }
    }
}

std::optional<PortalLayout::Place> PortalLayout::placeOf(char32_t character) const
{
    const auto found = places.find(character);
    return found == places.end() ? std::nullopt : std::optional(found->second);
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
