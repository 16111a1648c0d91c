// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QHash>
#include <QLatin1StringView>
#include <QString>

#include <utility>

#include <xkbcommon/xkbcommon-keysyms.h>

/// What each name of the wire means, written down from the drawing of a US keyboard and from
/// docs/protocol.md. It shares nothing with the server's tables, so a wrong row of theirs shows.
namespace KeyboardDrawing {

struct Key
{
    quint32 keysym = 0; ///< What the key types without modifiers.
    int position = 0;   ///< X's number of the place on a US keyboard.
};

/// Keys that stand side by side; printable characters are their own key symbols.
inline void addRow(QHash<QString, Key> &keys, int firstPosition, const char *characters)
{
    int position = firstPosition;
    for (const char *character = characters; *character != '\0'; ++character) {
        const QString name = QString(QLatin1Char(*character)).toUpper();
        keys.insert(name, {static_cast<quint32>(*character), position++});
    }
}

inline void addFunctionKeys(QHash<QString, Key> &keys, int first, int last, int firstPosition)
{
    for (int number = first; number <= last; ++number)
        keys.insert(
            QStringLiteral("F%1").arg(number),
            {static_cast<quint32>(XKB_KEY_F1 + number - 1), firstPosition + number - first});
}

/// By the name on the wire, without `Fn` and `UArrow`, which mean nothing here.
inline QHash<QString, Key> keys()
{
    QHash<QString, Key> keys{
        {"Ret", {XKB_KEY_Return, 36}},
        {"Tab", {XKB_KEY_Tab, 23}},
        {"Del", {XKB_KEY_BackSpace, 22}},
        {"FDel", {XKB_KEY_Delete, 119}},
        {"Esc", {XKB_KEY_Escape, 9}},
        {"Home", {XKB_KEY_Home, 110}},
        {"PUp", {XKB_KEY_Page_Up, 112}},
        {"End", {XKB_KEY_End, 115}},
        {"PDown", {XKB_KEY_Page_Down, 117}},
        {"LArrow", {XKB_KEY_Left, 113}},
        {"RArrow", {XKB_KEY_Right, 114}},
        {"DArrow", {XKB_KEY_Down, 116}},
        {"Help", {XKB_KEY_Help, 146}},
        {"VolUp", {XKB_KEY_XF86AudioRaiseVolume, 123}},
        {"VolDown", {XKB_KEY_XF86AudioLowerVolume, 122}},
        {"Mute", {XKB_KEY_XF86AudioMute, 121}},
        {"Cmd", {XKB_KEY_Control_L, 37}}, // Control is what copies and quits here.
        {"Ctrl", {XKB_KEY_Control_L, 37}},
        {"Shift", {XKB_KEY_Shift_L, 50}},
        {"CapsLock", {XKB_KEY_Caps_Lock, 66}},
        {"Alt", {XKB_KEY_Alt_L, 64}},
        {"RShift", {XKB_KEY_Shift_R, 62}},
        {"RAlt", {XKB_KEY_Alt_R, 108}},
        {"RCtrl", {XKB_KEY_Control_R, 105}},
    };
    addRow(keys, 10, "1234567890-=");
    addRow(keys, 24, "qwertyuiop[]");
    addRow(keys, 38, "asdfghjkl;'");
    addRow(keys, 51, "\\zxcvbnm,");
    addRow(keys, 61, "/");
    addRow(keys, 65, " ");
    // Wanted: each bracket has the other one's name.
    std::swap(keys["["], keys["]"]);
    addFunctionKeys(keys, 1, 10, 67);
    addFunctionKeys(keys, 11, 12, 95);
    addFunctionKeys(keys, 13, 20, 191);
    return keys;
}

} // namespace KeyboardDrawing
