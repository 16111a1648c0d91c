// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/LayoutKeys.h"

#include "platform/linux/input/KeySymbols.h"
#include "platform/linux/input/NamedKeySymbols.h"
#include "platform/linux/input/OwnKeymap.h"
#include "platform/linux/input/XkbHandles.h"

#include <QChar>

#include <algorithm>
#include <cstdlib>

namespace platform {

namespace {

/// The modifier of Caps Lock has the same place in every key map.
constexpr ModifierMask capsLock = 0b10;

XkbContext makeContext()
{
    XkbContext context(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    if (context) {
        // A key map of somebody else may be wrong in any number of places.
        xkb_context_set_log_level(context.get(), XKB_LOG_LEVEL_CRITICAL);
    }
    return context;
}

QByteArray textOf(xkb_keymap *keymap)
{
    struct Free
    {
        void operator()(char *text) const { std::free(text); }
    };
    const std::unique_ptr<char, Free> text(
        xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1));
    return text.get();
}

std::uint32_t keysymOf(KeyCode code)
{
    const auto symbols = keySymbols();
    const auto found = std::ranges::find(symbols, code, &KeySymbol::code);
    return found == symbols.end() ? XKB_KEY_NoSymbol : found->keysym;
}

} // namespace

std::optional<LayoutKeys> LayoutKeys::fromText(const QByteArray &keymap)
{
    const XkbContext context = makeContext();
    const XkbKeymap parsed(context ? xkb_keymap_new_from_string(context.get(), keymap.constData(),
                                                                XKB_KEYMAP_FORMAT_TEXT_V1,
                                                                XKB_KEYMAP_COMPILE_NO_FLAGS)
                                   : nullptr);
    return parsed ? std::optional(LayoutKeys(parsed.get())) : std::nullopt;
}

std::optional<LayoutKeys> LayoutKeys::ofSystem()
{
    const XkbContext context = makeContext();
    const XkbKeymap named(
        context ? xkb_keymap_new_from_names(context.get(), nullptr, XKB_KEYMAP_COMPILE_NO_FLAGS)
                : nullptr);
    return named ? std::optional(LayoutKeys(named.get())) : std::nullopt;
}

LayoutKeys::LayoutKeys(xkb_keymap *keymap)
    : description(OwnKeymap::named(textOf(keymap)))
    , groupCount(std::max(xkb_keymap_num_layouts(keymap), 1U))
    , keys(keymap)
    , symbols(keymap, keys)
{
}

std::optional<LayoutKey> LayoutKeys::key(KeyCode code) const
{
    const std::uint32_t keysym = keysymOf(code);
    std::uint32_t group = 0;
    while (group < groupCount && !symbols.symbol(group, keysym)) {
        ++group;
    }
    group = group < groupCount ? group : 0;
    const auto found = keys.key(group, code);
    return found ? std::optional(LayoutKey{*found, group}) : std::nullopt;
}

std::optional<LayoutKey> LayoutKeys::key(const Key &key, const KeyModifiers &modifiers) const
{
    if (key.name == NamedKey::None) {
        const bool isShortcut = modifiers.hasControl || modifiers.hasAlt || modifiers.hasMeta;
        const auto found = character(key.character);
        return found || !isShortcut ? found : atPosition(key.character);
    }
    for (const std::uint32_t keysym : keysymsOf(key.name)) {
        if (const auto found = symbol(keysym)) {
            return found;
        }
    }
    return std::nullopt;
}

std::optional<LayoutKey> LayoutKeys::character(char32_t character) const
{
    if (character == U'\n' || character == U'\t') {
        return symbol(platform::keysymOf(character));
    }
    for (std::uint32_t group = 0; group < groupCount; ++group) {
        if (const auto found = symbols.character(group, character)) {
            return LayoutKey{*found, group};
        }
    }
    return std::nullopt;
}

std::optional<LayoutKey> LayoutKeys::symbol(std::uint32_t keysym) const
{
    for (std::uint32_t group = 0; group < groupCount; ++group) {
        if (const auto found = symbols.symbol(group, keysym)) {
            return LayoutKey{*found, group};
        }
    }
    return std::nullopt;
}

std::optional<LayoutKey> LayoutKeys::atPosition(char32_t character) const
{
    const char32_t lower = QChar::toLower(character);
    const auto codes = keySymbols();
    const auto code = std::ranges::find(codes, platform::keysymOf(lower), &KeySymbol::keysym);
    auto found = code == codes.end() ? std::nullopt : keys.key(0, code->code);
    if (found && lower != character) {
        found->modifiers |= keys.modifierMask(0, Modifier::Shift);
    }
    return found ? std::optional(LayoutKey{*found, 0}) : std::nullopt;
}

ModifierMask LayoutKeys::masksOf(std::uint32_t group, EventFlags flags) const
{
    return masksOf(group, KeyModifiers{.hasControl = (flags & (Flag::Command | Flag::Control)) != 0,
                                       .hasShift = (flags & Flag::Shift) != 0,
                                       .hasAlt = (flags & Flag::Alternate) != 0});
}

ModifierMask LayoutKeys::masksOf(std::uint32_t group, const KeyModifiers &modifiers) const
{
    const auto maskIf = [&](bool isWanted, Modifier modifier) {
        return isWanted ? keys.modifierMask(group, modifier) : 0;
    };
    return static_cast<ModifierMask>(maskIf(modifiers.hasControl, Modifier::Control) |
                                     maskIf(modifiers.hasAlt, Modifier::Alternate) |
                                     maskIf(modifiers.hasShift, Modifier::Shift) |
                                     maskIf(modifiers.hasMeta, Modifier::Meta) |
                                     maskIf(modifiers.hasAltGraph, Modifier::Level3));
}

ModifierMask LayoutKeys::heldModifiers(std::uint8_t keycode) const
{
    return static_cast<ModifierMask>(keys.modifiersSetBy(keycode) &
                                     ~(capsLock | keys.harmlessModifiers()));
}

} // namespace platform
