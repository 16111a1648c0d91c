// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/KeyStroke.h"

#include "program/KeyNames.h"
#include "program/Suggestion.h"

#include <QHash>
#include <QRegularExpression>

#include <array>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

struct OtherName
{
    QLatin1StringView name; ///< in small letters
    QLatin1StringView key;
};

/// The W3C's names, blank by blank.
constexpr auto namedKeys =
    "Alt AltGraph CapsLock Control Meta NumLock ScrollLock Shift Enter Tab ArrowDown ArrowLeft "
    "ArrowRight ArrowUp End Home PageDown PageUp Backspace Clear Copy Cut Delete Insert Paste Redo "
    "Undo Cancel ContextMenu Escape Find Help Pause ZoomIn ZoomOut BrightnessDown BrightnessUp "
    "Eject "
    "Power PrintScreen Standby WakeUp F1 F2 F3 F4 F5 F6 F7 F8 F9 F10 F11 F12 F13 F14 F15 F16 F17 "
    "F18 "
    "F19 F20 F21 F22 F23 F24 AudioVolumeDown AudioVolumeMute AudioVolumeUp MicrophoneVolumeMute "
    "MediaFastForward MediaPause MediaPlay MediaPlayPause MediaRecord MediaRewind MediaStop "
    "MediaTrackNext MediaTrackPrevious Close New Open Print Save LaunchCalculator LaunchMail "
    "LaunchMediaPlayer LaunchWebBrowser BrowserBack BrowserFavorites BrowserForward BrowserHome "
    "BrowserRefresh BrowserSearch BrowserStop"_L1;

/// Names that people bring along: from the X Window System, from keyboards and from the network's
/// shortcuts. A name of the W3C comes first, so Print is the command, and PrintScreen the key.
constexpr std::array otherNames = {
    OtherName{"cmd"_L1, "Control"_L1},
    OtherName{"command"_L1, "Control"_L1},
    OtherName{"ctrl"_L1, "Control"_L1},
    OtherName{"ctl"_L1, "Control"_L1},
    OtherName{"control_l"_L1, "Control"_L1},
    OtherName{"control_r"_L1, "Control"_L1},
    OtherName{"shift_l"_L1, "Shift"_L1},
    OtherName{"shift_r"_L1, "Shift"_L1},
    OtherName{"alt_l"_L1, "Alt"_L1},
    OtherName{"alt_r"_L1, "Alt"_L1},
    OtherName{"option"_L1, "Alt"_L1},
    OtherName{"super"_L1, "Meta"_L1},
    OtherName{"super_l"_L1, "Meta"_L1},
    OtherName{"super_r"_L1, "Meta"_L1},
    OtherName{"meta_l"_L1, "Meta"_L1},
    OtherName{"meta_r"_L1, "Meta"_L1},
    OtherName{"win"_L1, "Meta"_L1},
    OtherName{"windows"_L1, "Meta"_L1},
    OtherName{"altgr"_L1, "AltGraph"_L1},
    OtherName{"iso_level3_shift"_L1, "AltGraph"_L1},
    OtherName{"caps_lock"_L1, "CapsLock"_L1},
    OtherName{"num_lock"_L1, "NumLock"_L1},
    OtherName{"scroll_lock"_L1, "ScrollLock"_L1},
    OtherName{"return"_L1, "Enter"_L1},
    OtherName{"kp_enter"_L1, "Enter"_L1},
    OtherName{"down"_L1, "ArrowDown"_L1},
    OtherName{"left"_L1, "ArrowLeft"_L1},
    OtherName{"right"_L1, "ArrowRight"_L1},
    OtherName{"up"_L1, "ArrowUp"_L1},
    OtherName{"page_down"_L1, "PageDown"_L1},
    OtherName{"next"_L1, "PageDown"_L1},
    OtherName{"pgdn"_L1, "PageDown"_L1},
    OtherName{"page_up"_L1, "PageUp"_L1},
    OtherName{"prior"_L1, "PageUp"_L1},
    OtherName{"pgup"_L1, "PageUp"_L1},
    OtherName{"del"_L1, "Delete"_L1},
    OtherName{"ins"_L1, "Insert"_L1},
    OtherName{"esc"_L1, "Escape"_L1},
    OtherName{"menu"_L1, "ContextMenu"_L1},
    OtherName{"sys_req"_L1, "PrintScreen"_L1},
    OtherName{"prtsc"_L1, "PrintScreen"_L1},
    OtherName{"audiomute"_L1, "AudioVolumeMute"_L1},
    OtherName{"volumeup"_L1, "AudioVolumeUp"_L1},
    OtherName{"volumedown"_L1, "AudioVolumeDown"_L1},
    OtherName{"mute"_L1, "AudioVolumeMute"_L1},
    OtherName{"xf86audiomute"_L1, "AudioVolumeMute"_L1},
    OtherName{"xf86audioraisevolume"_L1, "AudioVolumeUp"_L1},
    OtherName{"xf86audiolowervolume"_L1, "AudioVolumeDown"_L1},
    OtherName{"xf86audiomicmute"_L1, "MicrophoneVolumeMute"_L1},
    OtherName{"xf86audioplay"_L1, "MediaPlayPause"_L1},
    OtherName{"xf86audiopause"_L1, "MediaPause"_L1},
    OtherName{"xf86audiostop"_L1, "MediaStop"_L1},
    OtherName{"xf86audionext"_L1, "MediaTrackNext"_L1},
    OtherName{"xf86audioprev"_L1, "MediaTrackPrevious"_L1},
    OtherName{"xf86audiorecord"_L1, "MediaRecord"_L1},
    OtherName{"xf86audiorewind"_L1, "MediaRewind"_L1},
    OtherName{"xf86audioforward"_L1, "MediaFastForward"_L1},
    OtherName{"xf86audiomedia"_L1, "LaunchMediaPlayer"_L1},
    OtherName{"xf86monbrightnessup"_L1, "BrightnessUp"_L1},
    OtherName{"xf86monbrightnessdown"_L1, "BrightnessDown"_L1},
    OtherName{"xf86eject"_L1, "Eject"_L1},
    OtherName{"xf86poweroff"_L1, "Power"_L1},
    OtherName{"xf86sleep"_L1, "Standby"_L1},
    OtherName{"xf86wakeup"_L1, "WakeUp"_L1},
    OtherName{"xf86calculator"_L1, "LaunchCalculator"_L1},
    OtherName{"xf86mail"_L1, "LaunchMail"_L1},
    OtherName{"xf86www"_L1, "LaunchWebBrowser"_L1},
    OtherName{"xf86back"_L1, "BrowserBack"_L1},
    OtherName{"xf86forward"_L1, "BrowserForward"_L1},
    OtherName{"xf86homepage"_L1, "BrowserHome"_L1},
    OtherName{"xf86refresh"_L1, "BrowserRefresh"_L1},
    OtherName{"xf86reload"_L1, "BrowserRefresh"_L1},
    OtherName{"xf86search"_L1, "BrowserSearch"_L1},
    OtherName{"xf86favorites"_L1, "BrowserFavorites"_L1},
    OtherName{"xf86stop"_L1, "BrowserStop"_L1},
    OtherName{"xf86zoomin"_L1, "ZoomIn"_L1},
    OtherName{"xf86zoomout"_L1, "ZoomOut"_L1},
    OtherName{"xf86copy"_L1, "Copy"_L1},
    OtherName{"xf86cut"_L1, "Cut"_L1},
    OtherName{"xf86paste"_L1, "Paste"_L1},
    OtherName{"xf86close"_L1, "Close"_L1},
    OtherName{"xf86new"_L1, "New"_L1},
    OtherName{"xf86open"_L1, "Open"_L1},
    OtherName{"xf86save"_L1, "Save"_L1},
    OtherName{"space"_L1, " "_L1},
    OtherName{"exclam"_L1, "!"_L1},
    OtherName{"quotedbl"_L1, "\""_L1},
    OtherName{"numbersign"_L1, "#"_L1},
    OtherName{"dollar"_L1, "$"_L1},
    OtherName{"percent"_L1, "%"_L1},
    OtherName{"ampersand"_L1, "&"_L1},
    OtherName{"apostrophe"_L1, "'"_L1},
    OtherName{"parenleft"_L1, "("_L1},
    OtherName{"parenright"_L1, ")"_L1},
    OtherName{"asterisk"_L1, "*"_L1},
    OtherName{"plus"_L1, "+"_L1},
    OtherName{"comma"_L1, ","_L1},
    OtherName{"minus"_L1, "-"_L1},
    OtherName{"period"_L1, "."_L1},
    OtherName{"slash"_L1, "/"_L1},
    OtherName{"colon"_L1, ":"_L1},
    OtherName{"semicolon"_L1, ";"_L1},
    OtherName{"less"_L1, "<"_L1},
    OtherName{"equal"_L1, "="_L1},
    OtherName{"greater"_L1, ">"_L1},
    OtherName{"question"_L1, "?"_L1},
    OtherName{"at"_L1, "@"_L1},
    OtherName{"bracketleft"_L1, "["_L1},
    OtherName{"backslash"_L1, "\\"_L1},
    OtherName{"bracketright"_L1, "]"_L1},
    OtherName{"asciicircum"_L1, "^"_L1},
    OtherName{"underscore"_L1, "_"_L1},
    OtherName{"grave"_L1, "`"_L1},
    OtherName{"braceleft"_L1, "{"_L1},
    OtherName{"bar"_L1, "|"_L1},
    OtherName{"braceright"_L1, "}"_L1},
    OtherName{"asciitilde"_L1, "~"_L1},
    OtherName{"kp_add"_L1, "+"_L1},
    OtherName{"kp_subtract"_L1, "-"_L1},
    OtherName{"kp_multiply"_L1, "*"_L1},
    OtherName{"kp_divide"_L1, "/"_L1},
};

/// Beyond Latin-1, and those whose capitals have a name of their own.
const QHash<QString, QString> &letterNames()
{
    static const QHash<QString, QString> names = {
        {u"EuroSign"_s, u"\u20ac"_s},   {u"sterling"_s, u"\u00a3"_s},
        {u"section"_s, u"\u00a7"_s},    {u"degree"_s, u"\u00b0"_s},
        {u"mu"_s, u"\u00b5"_s},         {u"adiaeresis"_s, u"\u00e4"_s},
        {u"odiaeresis"_s, u"\u00f6"_s}, {u"udiaeresis"_s, u"\u00fc"_s},
        {u"Adiaeresis"_s, u"\u00c4"_s}, {u"Odiaeresis"_s, u"\u00d6"_s},
        {u"Udiaeresis"_s, u"\u00dc"_s}, {u"ssharp"_s, u"\u00df"_s},
        {u"eacute"_s, u"\u00e9"_s},     {u"egrave"_s, u"\u00e8"_s},
        {u"agrave"_s, u"\u00e0"_s},     {u"ccedilla"_s, u"\u00e7"_s},
        {u"ntilde"_s, u"\u00f1"_s},     {u"aring"_s, u"\u00e5"_s},
        {u"oslash"_s, u"\u00f8"_s},     {u"ae"_s, u"\u00e6"_s}};
    return names;
}

const QHash<QString, QString> &keysByName()
{
    static const auto keys = [] {
        QHash<QString, QString> found;
        for (const OtherName &other : otherNames) {
            found.insert(other.name, other.key);
        }
        for (const QString &name : KeyStroke::names()) {
            found.insert(name.toLower(), name);
        }
        return found;
    }();
    return keys;
}

bool isOneCharacter(const QString &word)
{
    const auto characters = word.toUcs4();
    return characters.size() == 1 && QChar::category(characters[0]) != QChar::Other_Control;
}

/// "U20AC" or "U+20AC"; empty if it is none.
QString numberedCharacter(const QString &word)
{
    static const QRegularExpression form(u"\\AU([0-9A-Fa-f]{4,6})\\z"_s);
    const char32_t code = form.match(word).captured(1).toUInt(nullptr, 16);
    const bool isCharacter = code >= 0x20 && code <= 0x10ffff && !QChar::isSurrogate(code);
    return isCharacter ? QString::fromUcs4(&code, 1) : QString();
}

/// The key with that name; empty if there is none.
QString keyNamed(const QString &word)
{
    if (isOneCharacter(word)) {
        return word;
    }
    static const QRegularExpression keypadDigit(u"\\AKP_([0-9])\\z"_s);
    for (const QString &found : {letterNames().value(word), keysByName().value(word.toLower()),
                                 keypadDigit.match(word).captured(1)}) {
        if (!found.isEmpty()) {
            return found;
        }
    }
    return numberedCharacter(word);
}

bool isModifier(const QString &key)
{
    return key == "Control"_L1 || key == "Shift"_L1 || key == "Alt"_L1 || key == "Meta"_L1 ||
           key == "AltGraph"_L1;
}

/// The names between the plus signs; the last one may be a plus sign itself, or hold one as U+20AC
/// does.
QStringList split(QString words)
{
    static const QRegularExpression numbered(u"\\bU\\+(?=[0-9A-Fa-f]{4,6}\\z)"_s);
    words.replace(numbered, u"U"_s);
    const bool endsInPlus = words == "+"_L1 || words.endsWith("++"_L1);
    QStringList parts = (endsInPlus ? words.chopped(1) : words).split(u'+');
    if (endsInPlus) {
        parts.last() = u"+"_s;
    }
    return parts;
}

/// In a shortcut, as menus show it, a letter means its key: Ctrl+S is typed without Shift.
QString inShortcut(const QString &key)
{
    return isOneCharacter(key) && key.toLower().size() == key.size() ? key.toLower() : key;
}

} // namespace

std::optional<KeyStroke> KeyStroke::of(const QString &words)
{
    KeyStroke stroke;
    QStringList parts = split(words);
    stroke.key = keyNamed(parts.takeLast());
    for (const QString &part : parts) {
        const QString modifier = keyNamed(part);
        if (!isModifier(modifier)) {
            return std::nullopt;
        }
        if (!stroke.modifiers.contains(modifier)) {
            stroke.modifiers += modifier;
        }
    }
    if (stroke.key.isEmpty()) {
        return std::nullopt;
    }
    if (!stroke.modifiers.isEmpty()) {
        stroke.key = inShortcut(stroke.key);
    }
    return stroke;
}

QString KeyStroke::suggestionFor(const QString &words)
{
    return didYouMean(split(words).last(), names());
}

QStringList KeyStroke::names()
{
    return QString(namedKeys).split(u' ');
}

std::optional<QString> KeyStroke::onNetwork() const
{
    QString shortcut;
    for (const QString &modifier : modifiers) {
        shortcut += (modifier == "Control"_L1 ? u"Ctrl"_s : modifier) + u'+';
    }
    return KeyNames::forServer(shortcut + key);
}

} // namespace quillmote
