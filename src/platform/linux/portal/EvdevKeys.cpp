// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/EvdevKeys.h"

#include "platform/linux/input/KeySymbols.h"
#include "platform/linux/input/NamedKeySymbols.h"
#include "platform/linux/input/XkbHandles.h"

#include <algorithm>

#include <linux/input-event-codes.h>
#include <xkbcommon/xkbcommon.h>

namespace platform {

namespace {

/// Key maps count from 8 on.
constexpr std::int32_t firstCode = 8;

/// The last keysym that is the character itself, which a layout may put elsewhere.
constexpr std::uint32_t lastLatin1 = 0xff;

PortalEvent pressOf(PortalEvent::Kind kind, std::int32_t code)
{
    return {kind, code, true, 0, 0};
}

} // namespace

/// From a standard keyboard: the places of keys with a name do not depend on the layout.
EvdevKeys::EvdevKeys(const PortalLayout &layoutOfDesktop) : layout(layoutOfDesktop)
{
    const xkb_rule_names standard{"evdev", "pc105", "us", "", ""};
    const XkbContext context(xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES));
    const XkbKeymap keymap(
        context ? xkb_keymap_new_from_names(context.get(), &standard, XKB_KEYMAP_COMPILE_NO_FLAGS)
                : nullptr);
    if (!keymap) {
        return;
    }
    const xkb_keycode_t last = xkb_keymap_max_keycode(keymap.get());
    for (xkb_keycode_t code = xkb_keymap_min_keycode(keymap.get()); code <= last; ++code) {
        const xkb_keysym_t *symbols = nullptr;
        if (xkb_keymap_key_get_syms_by_level(keymap.get(), code, 0, 0, &symbols) == 1) {
            places.try_emplace(symbols[0], static_cast<std::int32_t>(code) - firstCode);
        }
    }
}

std::optional<PortalEvent> EvdevKeys::press(const Key &key) const
{
    if (key.name == NamedKey::None) {
        const std::optional<std::uint32_t> keysym = layout.keysymOf(key.character);
        return keysym ? std::optional(pressOf(PortalEvent::Kind::Character,
                                              static_cast<std::int32_t>(*keysym)))
                      : std::nullopt;
    }
    // The standard keyboard has an Alt key there.
    if (key.name == NamedKey::AltGraph) {
        return pressOf(PortalEvent::Kind::Key, KEY_RIGHTALT);
    }
    for (const std::uint32_t keysym : keysymsOf(key.name)) {
        if (const auto place = places.find(keysym); place != places.end()) {
            return pressOf(PortalEvent::Kind::Key, place->second);
        }
    }
    return std::nullopt;
}

std::optional<PortalEvent> EvdevKeys::press(KeyCode code) const
{
    const auto known = keySymbols();
    const auto found = std::ranges::find(known, code, &KeySymbol::code);
    if (found == known.end()) {
        return std::nullopt;
    }
    const bool isCharacter = found->keysym <= lastLatin1;
    if (isCharacter && layout.keysymOf(found->keysym)) {
        return pressOf(PortalEvent::Kind::Character, static_cast<std::int32_t>(found->keysym));
    }
    return pressOf(PortalEvent::Kind::Key, static_cast<std::int32_t>(found->position) - firstCode);
}

} // namespace platform
