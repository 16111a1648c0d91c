// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionKeyNames.h"

#include <QHash>

#include <array>

using namespace Qt::StringLiterals;

using platform::Key;
using platform::NamedKey;

namespace {

struct Row
{
    QLatin1StringView name;
    NamedKey key;
};

constexpr std::array rows = {
    Row{"Alt"_L1, NamedKey::Alt},
    Row{"AltGraph"_L1, NamedKey::AltGraph},
    Row{"CapsLock"_L1, NamedKey::CapsLock},
    Row{"Control"_L1, NamedKey::Control},
    Row{"Meta"_L1, NamedKey::Meta},
    Row{"NumLock"_L1, NamedKey::NumLock},
    Row{"ScrollLock"_L1, NamedKey::ScrollLock},
    Row{"Shift"_L1, NamedKey::Shift},
    Row{"Enter"_L1, NamedKey::Enter},
    Row{"Tab"_L1, NamedKey::Tab},
    Row{"ArrowDown"_L1, NamedKey::ArrowDown},
    Row{"ArrowLeft"_L1, NamedKey::ArrowLeft},
    Row{"ArrowRight"_L1, NamedKey::ArrowRight},
    Row{"ArrowUp"_L1, NamedKey::ArrowUp},
    Row{"End"_L1, NamedKey::End},
    Row{"Home"_L1, NamedKey::Home},
    Row{"PageDown"_L1, NamedKey::PageDown},
    Row{"PageUp"_L1, NamedKey::PageUp},
    Row{"Backspace"_L1, NamedKey::Backspace},
    Row{"Clear"_L1, NamedKey::Clear},
    Row{"Copy"_L1, NamedKey::Copy},
    Row{"Cut"_L1, NamedKey::Cut},
    Row{"Delete"_L1, NamedKey::Delete},
    Row{"Insert"_L1, NamedKey::Insert},
    Row{"Paste"_L1, NamedKey::Paste},
    Row{"Redo"_L1, NamedKey::Redo},
    Row{"Undo"_L1, NamedKey::Undo},
    Row{"Cancel"_L1, NamedKey::Cancel},
    Row{"ContextMenu"_L1, NamedKey::ContextMenu},
    Row{"Escape"_L1, NamedKey::Escape},
    Row{"Find"_L1, NamedKey::Find},
    Row{"Help"_L1, NamedKey::Help},
    Row{"Pause"_L1, NamedKey::Pause},
    Row{"ZoomIn"_L1, NamedKey::ZoomIn},
    Row{"ZoomOut"_L1, NamedKey::ZoomOut},
    Row{"BrightnessDown"_L1, NamedKey::BrightnessDown},
    Row{"BrightnessUp"_L1, NamedKey::BrightnessUp},
    Row{"Eject"_L1, NamedKey::Eject},
    Row{"Power"_L1, NamedKey::Power},
    Row{"PrintScreen"_L1, NamedKey::PrintScreen},
    Row{"Standby"_L1, NamedKey::Standby},
    Row{"WakeUp"_L1, NamedKey::WakeUp},
    Row{"F1"_L1, NamedKey::F1},
    Row{"F2"_L1, NamedKey::F2},
    Row{"F3"_L1, NamedKey::F3},
    Row{"F4"_L1, NamedKey::F4},
    Row{"F5"_L1, NamedKey::F5},
    Row{"F6"_L1, NamedKey::F6},
    Row{"F7"_L1, NamedKey::F7},
    Row{"F8"_L1, NamedKey::F8},
    Row{"F9"_L1, NamedKey::F9},
    Row{"F10"_L1, NamedKey::F10},
    Row{"F11"_L1, NamedKey::F11},
    Row{"F12"_L1, NamedKey::F12},
    Row{"F13"_L1, NamedKey::F13},
    Row{"F14"_L1, NamedKey::F14},
    Row{"F15"_L1, NamedKey::F15},
    Row{"F16"_L1, NamedKey::F16},
    Row{"F17"_L1, NamedKey::F17},
    Row{"F18"_L1, NamedKey::F18},
    Row{"F19"_L1, NamedKey::F19},
    Row{"F20"_L1, NamedKey::F20},
    Row{"F21"_L1, NamedKey::F21},
    Row{"F22"_L1, NamedKey::F22},
    Row{"F23"_L1, NamedKey::F23},
    Row{"F24"_L1, NamedKey::F24},
    Row{"AudioVolumeDown"_L1, NamedKey::AudioVolumeDown},
    Row{"AudioVolumeMute"_L1, NamedKey::AudioVolumeMute},
    Row{"AudioVolumeUp"_L1, NamedKey::AudioVolumeUp},
    Row{"MicrophoneVolumeMute"_L1, NamedKey::MicrophoneVolumeMute},
    Row{"MediaFastForward"_L1, NamedKey::MediaFastForward},
    Row{"MediaPause"_L1, NamedKey::MediaPause},
    Row{"MediaPlay"_L1, NamedKey::MediaPlay},
    Row{"MediaPlayPause"_L1, NamedKey::MediaPlayPause},
    Row{"MediaRecord"_L1, NamedKey::MediaRecord},
    Row{"MediaRewind"_L1, NamedKey::MediaRewind},
    Row{"MediaStop"_L1, NamedKey::MediaStop},
    Row{"MediaTrackNext"_L1, NamedKey::MediaTrackNext},
    Row{"MediaTrackPrevious"_L1, NamedKey::MediaTrackPrevious},
    Row{"Close"_L1, NamedKey::Close},
    Row{"New"_L1, NamedKey::New},
    Row{"Open"_L1, NamedKey::Open},
    Row{"Print"_L1, NamedKey::Print},
    Row{"Save"_L1, NamedKey::Save},
    Row{"LaunchCalculator"_L1, NamedKey::LaunchCalculator},
    Row{"LaunchMail"_L1, NamedKey::LaunchMail},
    Row{"LaunchMediaPlayer"_L1, NamedKey::LaunchMediaPlayer},
    Row{"LaunchWebBrowser"_L1, NamedKey::LaunchWebBrowser},
    Row{"BrowserBack"_L1, NamedKey::BrowserBack},
    Row{"BrowserFavorites"_L1, NamedKey::BrowserFavorites},
    Row{"BrowserForward"_L1, NamedKey::BrowserForward},
    Row{"BrowserHome"_L1, NamedKey::BrowserHome},
    Row{"BrowserRefresh"_L1, NamedKey::BrowserRefresh},
    Row{"BrowserSearch"_L1, NamedKey::BrowserSearch},
    Row{"BrowserStop"_L1, NamedKey::BrowserStop},
};

QHash<QString, NamedKey> keysByName()
{
    QHash<QString, NamedKey> keys;
    for (const Row &row : rows) {
        keys.insert(row.name, row.key);
    }
    return keys;
}

/// The Unicode character that is the whole text; none if it is none or several.
std::optional<char32_t> onlyCharacter(const QString &text)
{
    if (text.size() == 1 && !text[0].isSurrogate()) {
        return text[0].unicode();
    }
    const bool isPair = text.size() == 2 && text[0].isHighSurrogate() && text[1].isLowSurrogate();
    return isPair ? std::optional(QChar::surrogateToUcs4(text[0], text[1])) : std::nullopt;
}

} // namespace

std::optional<Key> SessionKeyNames::key(const QString &name)
{
    static const QHash<QString, NamedKey> named = keysByName();
    if (const auto found = named.constFind(name); found != named.constEnd()) {
        return Key{*found, 0};
    }
    const std::optional<char32_t> character = onlyCharacter(name);
    const bool isKey = character && QChar::category(*character) != QChar::Other_Control;
    return isKey ? std::optional(Key{NamedKey::None, *character}) : std::nullopt;
}

QString SessionKeyNames::name(NamedKey key)
{
    for (const Row &row : rows) {
        if (row.key == key) {
            return row.name;
        }
    }
    return {};
}
