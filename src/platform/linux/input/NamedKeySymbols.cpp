// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/NamedKeySymbols.h"

#include <QList>

#include <algorithm>
#include <array>

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

namespace platform {

namespace {

struct Row
{
    NamedKey name = NamedKey::None;
    std::uint32_t keysym = XKB_KEY_NoSymbol;
    std::uint32_t other = XKB_KEY_NoSymbol; ///< Some layouts have this instead.
};

// Print is missing: the keysym of that name takes a picture of the screen.
constexpr std::array namedKeys = {
    Row{NamedKey::Alt, XKB_KEY_Alt_L, XKB_KEY_Alt_R},
    Row{NamedKey::AltGraph, XKB_KEY_ISO_Level3_Shift, XKB_KEY_Mode_switch},
    Row{NamedKey::CapsLock, XKB_KEY_Caps_Lock},
    Row{NamedKey::Control, XKB_KEY_Control_L, XKB_KEY_Control_R},
    Row{NamedKey::Meta, XKB_KEY_Super_L, XKB_KEY_Super_R},
    Row{NamedKey::NumLock, XKB_KEY_Num_Lock},
    Row{NamedKey::ScrollLock, XKB_KEY_Scroll_Lock},
    Row{NamedKey::Shift, XKB_KEY_Shift_L, XKB_KEY_Shift_R},
    Row{NamedKey::Enter, XKB_KEY_Return},
    Row{NamedKey::Tab, XKB_KEY_Tab},
    Row{NamedKey::ArrowDown, XKB_KEY_Down},
    Row{NamedKey::ArrowLeft, XKB_KEY_Left},
    Row{NamedKey::ArrowRight, XKB_KEY_Right},
    Row{NamedKey::ArrowUp, XKB_KEY_Up},
    Row{NamedKey::End, XKB_KEY_End},
    Row{NamedKey::Home, XKB_KEY_Home},
    Row{NamedKey::PageDown, XKB_KEY_Next},
    Row{NamedKey::PageUp, XKB_KEY_Prior},
    Row{NamedKey::Backspace, XKB_KEY_BackSpace},
    Row{NamedKey::Clear, XKB_KEY_Clear},
    Row{NamedKey::Copy, XKB_KEY_XF86Copy},
    Row{NamedKey::Cut, XKB_KEY_XF86Cut},
    Row{NamedKey::Delete, XKB_KEY_Delete},
    Row{NamedKey::Insert, XKB_KEY_Insert},
    Row{NamedKey::Paste, XKB_KEY_XF86Paste},
    Row{NamedKey::Redo, XKB_KEY_Redo},
    Row{NamedKey::Undo, XKB_KEY_Undo},
    Row{NamedKey::Cancel, XKB_KEY_Cancel},
    Row{NamedKey::ContextMenu, XKB_KEY_Menu},
    Row{NamedKey::Escape, XKB_KEY_Escape},
    Row{NamedKey::Find, XKB_KEY_Find},
    Row{NamedKey::Help, XKB_KEY_Help},
    Row{NamedKey::Pause, XKB_KEY_Pause},
    Row{NamedKey::ZoomIn, XKB_KEY_XF86ZoomIn},
    Row{NamedKey::ZoomOut, XKB_KEY_XF86ZoomOut},
    Row{NamedKey::BrightnessDown, XKB_KEY_XF86MonBrightnessDown},
    Row{NamedKey::BrightnessUp, XKB_KEY_XF86MonBrightnessUp},
    Row{NamedKey::Eject, XKB_KEY_XF86Eject},
    Row{NamedKey::Power, XKB_KEY_XF86PowerOff},
    Row{NamedKey::PrintScreen, XKB_KEY_Print},
    Row{NamedKey::Standby, XKB_KEY_XF86Sleep, XKB_KEY_XF86Standby},
    Row{NamedKey::WakeUp, XKB_KEY_XF86WakeUp},
    Row{NamedKey::AudioVolumeDown, XKB_KEY_XF86AudioLowerVolume},
    Row{NamedKey::AudioVolumeMute, XKB_KEY_XF86AudioMute},
    Row{NamedKey::AudioVolumeUp, XKB_KEY_XF86AudioRaiseVolume},
    Row{NamedKey::MicrophoneVolumeMute, XKB_KEY_XF86AudioMicMute},
    Row{NamedKey::MediaFastForward, XKB_KEY_XF86AudioForward},
    Row{NamedKey::MediaPause, XKB_KEY_XF86AudioPause},
    // Players take it as a toggle.
    Row{NamedKey::MediaPlay, XKB_KEY_XF86AudioPlay},
    Row{NamedKey::MediaPlayPause, XKB_KEY_XF86AudioPlay},
    Row{NamedKey::MediaRecord, XKB_KEY_XF86AudioRecord},
    Row{NamedKey::MediaRewind, XKB_KEY_XF86AudioRewind},
    Row{NamedKey::MediaStop, XKB_KEY_XF86AudioStop},
    Row{NamedKey::MediaTrackNext, XKB_KEY_XF86AudioNext},
    Row{NamedKey::MediaTrackPrevious, XKB_KEY_XF86AudioPrev},
    Row{NamedKey::Close, XKB_KEY_XF86Close},
    Row{NamedKey::New, XKB_KEY_XF86New},
    Row{NamedKey::Open, XKB_KEY_XF86Open},
    Row{NamedKey::Save, XKB_KEY_XF86Save},
    Row{NamedKey::LaunchCalculator, XKB_KEY_XF86Calculator},
    Row{NamedKey::LaunchMail, XKB_KEY_XF86Mail},
    Row{NamedKey::LaunchMediaPlayer, XKB_KEY_XF86AudioMedia},
    Row{NamedKey::LaunchWebBrowser, XKB_KEY_XF86WWW},
    Row{NamedKey::BrowserBack, XKB_KEY_XF86Back},
    Row{NamedKey::BrowserFavorites, XKB_KEY_XF86Favorites},
    Row{NamedKey::BrowserForward, XKB_KEY_XF86Forward},
    Row{NamedKey::BrowserHome, XKB_KEY_XF86HomePage},
    Row{NamedKey::BrowserRefresh, XKB_KEY_XF86Reload, XKB_KEY_XF86Refresh},
    Row{NamedKey::BrowserSearch, XKB_KEY_XF86Search},
    Row{NamedKey::BrowserStop, XKB_KEY_XF86Stop},
};

bool isFunctionKey(NamedKey name)
{
    return name >= NamedKey::F1 && name <= NamedKey::F24;
}

} // namespace

std::vector<std::uint32_t> keysymsOf(const Key &key)
{
    if (key.name != NamedKey::None) {
        return keysymsOf(key.name);
    }
    const std::uint32_t keysym = keysymOf(key.character);
    return keysym ? std::vector{keysym} : std::vector<std::uint32_t>{};
}

std::vector<std::uint32_t> keysymsOf(NamedKey name)
{
    if (isFunctionKey(name)) {
        return {XKB_KEY_F1 + static_cast<std::uint32_t>(name) -
                static_cast<std::uint32_t>(NamedKey::F1)};
    }
    const auto *const row = std::ranges::find(namedKeys, name, &Row::name);
    if (row == namedKeys.end()) {
        return {};
    }
    return row->other ? std::vector{row->keysym, row->other} : std::vector{row->keysym};
}

std::uint32_t keysymOf(char32_t character)
{
    if (character == U'\n') {
        return XKB_KEY_Return;
    }
    if (character == U'\t') {
        return XKB_KEY_Tab;
    }
    const bool isControl = character < U' ' || (character >= 0x7f && character <= 0x9f);
    const bool isSurrogate = character >= 0xd800 && character <= 0xdfff;
    if (isControl || isSurrogate || xkb_utf32_to_keysym(character) == XKB_KEY_NoSymbol) {
        return XKB_KEY_NoSymbol;
    }
    // Not the older keysym that some characters have as well: programs do not agree on them.
    // Chromium takes that of U+25AF for U+25A1, and does not know others.
    constexpr std::uint32_t unicodeKeysyms = 0x01000000;
    constexpr char32_t lastLatin1 = 0xff;
    return character <= lastLatin1 ? std::uint32_t{character} : unicodeKeysyms + character;
}

std::u32string printable(const QString &text)
{
    std::u32string characters;
    for (const uint codePoint : text.toUcs4()) {
        if (keysymOf(char32_t{codePoint})) {
            characters += char32_t{codePoint};
        }
    }
    return characters;
}

bool isModifier(NamedKey name)
{
    return name >= NamedKey::Alt && name <= NamedKey::Shift;
}

} // namespace platform
