// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

namespace platform {

/// A key by what it does, after the key values of the W3C's "UI Events KeyboardEvent key Values".
enum class NamedKey : quint8 {
    None,
    // Modifiers.
    Alt,
    AltGraph,
    CapsLock,
    Control,
    Meta,
    NumLock,
    ScrollLock,
    Shift,
    // Whitespace.
    Enter,
    Tab,
    // Navigation.
    ArrowDown,
    ArrowLeft,
    ArrowRight,
    ArrowUp,
    End,
    Home,
    PageDown,
    PageUp,
    // Editing.
    Backspace,
    Clear,
    Copy,
    Cut,
    Delete,
    Insert,
    Paste,
    Redo,
    Undo,
    // User interface.
    Cancel,
    ContextMenu,
    Escape,
    Find,
    Help,
    Pause,
    ZoomIn,
    ZoomOut,
    // Devices.
    BrightnessDown,
    BrightnessUp,
    Eject,
    Power,
    PrintScreen,
    Standby,
    WakeUp,
    // Function keys, in their order.
    F1,
    F2,
    F3,
    F4,
    F5,
    F6,
    F7,
    F8,
    F9,
    F10,
    F11,
    F12,
    F13,
    F14,
    F15,
    F16,
    F17,
    F18,
    F19,
    F20,
    F21,
    F22,
    F23,
    F24,
    // Media.
    AudioVolumeDown,
    AudioVolumeMute,
    AudioVolumeUp,
    MicrophoneVolumeMute,
    MediaFastForward,
    MediaPause,
    MediaPlay,
    MediaPlayPause,
    MediaRecord,
    MediaRewind,
    MediaStop,
    MediaTrackNext,
    MediaTrackPrevious,
    // Documents and programs.
    Close,
    New,
    Open,
    Print,
    Save,
    LaunchCalculator,
    LaunchMail,
    LaunchMediaPlayer,
    LaunchWebBrowser,
    // Browser.
    BrowserBack,
    BrowserFavorites,
    BrowserForward,
    BrowserHome,
    BrowserRefresh,
    BrowserSearch,
    BrowserStop,
};

/// A key: one that has a name, or the one that produces a character.
struct Key
{
    NamedKey name = NamedKey::None;
    char32_t character = 0; ///< Any Unicode character but controls; only without a name.

    bool operator==(const Key &) const = default;
};

/// Modifier keys that are down during a key.
struct KeyModifiers
{
    bool hasControl = false;
    bool hasShift = false;
    bool hasAlt = false;
    bool hasMeta = false;
    bool hasAltGraph = false;

    bool operator==(const KeyModifiers &) const = default;
};

} // namespace platform
