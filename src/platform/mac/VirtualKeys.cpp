// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/mac/VirtualKeys.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace platform {
namespace {

// The codes are Apple's kVK_... of HIToolbox.
constexpr std::array namedCodes = {
    std::pair{NamedKey::Enter, KeyCode{36}},        std::pair{NamedKey::Tab, KeyCode{48}},
    std::pair{NamedKey::Backspace, KeyCode{51}},    std::pair{NamedKey::Escape, KeyCode{53}},
    std::pair{NamedKey::Meta, KeyCode{55}},         std::pair{NamedKey::Shift, KeyCode{56}},
    std::pair{NamedKey::CapsLock, KeyCode{57}},     std::pair{NamedKey::Alt, KeyCode{58}},
    std::pair{NamedKey::Control, KeyCode{59}},      std::pair{NamedKey::AltGraph, KeyCode{61}},
    std::pair{NamedKey::F17, KeyCode{64}},          std::pair{NamedKey::Clear, KeyCode{71}},
    std::pair{NamedKey::F18, KeyCode{79}},          std::pair{NamedKey::F19, KeyCode{80}},
    std::pair{NamedKey::F20, KeyCode{90}},          std::pair{NamedKey::F5, KeyCode{96}},
    std::pair{NamedKey::F6, KeyCode{97}},           std::pair{NamedKey::F7, KeyCode{98}},
    std::pair{NamedKey::F3, KeyCode{99}},           std::pair{NamedKey::F8, KeyCode{100}},
    std::pair{NamedKey::F9, KeyCode{101}},          std::pair{NamedKey::F11, KeyCode{103}},
    std::pair{NamedKey::F13, KeyCode{105}},         std::pair{NamedKey::F16, KeyCode{106}},
    std::pair{NamedKey::F14, KeyCode{107}},         std::pair{NamedKey::F10, KeyCode{109}},
    std::pair{NamedKey::ContextMenu, KeyCode{110}}, std::pair{NamedKey::F12, KeyCode{111}},
    std::pair{NamedKey::F15, KeyCode{113}},         std::pair{NamedKey::Help, KeyCode{114}},
    std::pair{NamedKey::Home, KeyCode{115}},        std::pair{NamedKey::PageUp, KeyCode{116}},
    std::pair{NamedKey::Delete, KeyCode{117}},      std::pair{NamedKey::F4, KeyCode{118}},
    std::pair{NamedKey::End, KeyCode{119}},         std::pair{NamedKey::F2, KeyCode{120}},
    std::pair{NamedKey::PageDown, KeyCode{121}},    std::pair{NamedKey::F1, KeyCode{122}},
    std::pair{NamedKey::ArrowLeft, KeyCode{123}},   std::pair{NamedKey::ArrowRight, KeyCode{124}},
    std::pair{NamedKey::ArrowDown, KeyCode{125}},   std::pair{NamedKey::ArrowUp, KeyCode{126}},
};

/// The numbers are Apple's NX_KEYTYPE_... of IOKit. There are none for playing and for pausing
/// alone: the one key toggles.
constexpr std::array mediaNumbers = {
    std::pair{NamedKey::AudioVolumeUp, 0},       std::pair{NamedKey::AudioVolumeDown, 1},
    std::pair{NamedKey::BrightnessUp, 2},        std::pair{NamedKey::BrightnessDown, 3},
    std::pair{NamedKey::AudioVolumeMute, 7},     std::pair{NamedKey::Eject, 14},
    std::pair{NamedKey::MediaPlayPause, 16},     std::pair{NamedKey::MediaTrackNext, 17},
    std::pair{NamedKey::MediaTrackPrevious, 18}, std::pair{NamedKey::MediaFastForward, 19},
    std::pair{NamedKey::MediaRewind, 20},
};

/// The value of the key in a table.
template <typename Table>
std::optional<typename Table::value_type::second_type> valueIn(const Table &table, NamedKey key)
{
    const auto found = std::ranges::find(table, key, &Table::value_type::first);
    return found == table.end() ? std::nullopt : std::optional(found->second);
}

/// The characters of the codes from 0 on, without and with Shift; a blank where there is none.
constexpr std::u32string_view plainCharacters =
    U"asdfhgzxcv bqweryt123465=97-80]ou[ip lj'k;\\,/nm.  `";
constexpr std::u32string_view shiftedCharacters =
    U"ASDFHGZXCV BQWERYT!@#$^%+(&_*)}OU{IP LJ\"K:|<?NM>  ~";
constexpr KeyCode spaceBar = 49;

} // namespace

std::optional<KeyCode> virtualKeyCode(NamedKey key)
{
    return valueIn(namedCodes, key);
}

std::optional<int> mediaKeyNumber(NamedKey key)
{
    return valueIn(mediaNumbers, key);
}

KeyCode virtualKeyCode(char32_t character)
{
    if (character == U' ') {
        return spaceBar;
    }
    for (const auto characters : {plainCharacters, shiftedCharacters}) {
        const size_t place = characters.find(character);
        if (place != std::u32string_view::npos) {
            return static_cast<KeyCode>(place);
        }
    }
    return 0;
}

EventFlags flagOf(NamedKey key)
{
    switch (key) {
    case NamedKey::Shift:
        return Flag::Shift;
    case NamedKey::Control:
        return Flag::Control;
    case NamedKey::Alt:
    case NamedKey::AltGraph:
        return Flag::Alternate;
    case NamedKey::Meta:
        return Flag::Command;
    default:
        return 0;
    }
}

EventFlags flagsOf(const KeyModifiers &modifiers)
{
    return (modifiers.hasShift ? Flag::Shift : 0) | (modifiers.hasControl ? Flag::Control : 0) |
           (modifiers.hasAlt || modifiers.hasAltGraph ? Flag::Alternate : 0) |
           (modifiers.hasMeta ? Flag::Command : 0);
}

} // namespace platform
