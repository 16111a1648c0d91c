// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QHash>
#include <QLatin1StringView>
#include <QString>

#include <utility>

#include <xkbcommon/xkbcommon-keysyms.h>

using namespace Qt::StringLiterals;

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
    for (int number = first; number <= last; ++number) {
        keys.insert(u"F%1"_s.arg(number), {static_cast<quint32>(XKB_KEY_F1 + number - 1),
                                           firstPosition + number - first});
    }
}

/// By the name on the wire, without `Fn` and `UArrow`, which mean nothing here.
inline QHash<QString, Key> keys()
{
    QHash<QString, Key> keys{
        {u"Ret"_s, {XKB_KEY_Return, 36}},
        {u"Tab"_s, {XKB_KEY_Tab, 23}},
        {u"Del"_s, {XKB_KEY_BackSpace, 22}},
        {u"FDel"_s, {XKB_KEY_Delete, 119}},
        {u"Esc"_s, {XKB_KEY_Escape, 9}},
        {u"Home"_s, {XKB_KEY_Home, 110}},
        {u"PUp"_s, {XKB_KEY_Page_Up, 112}},
        {u"End"_s, {XKB_KEY_End, 115}},
        {u"PDown"_s, {XKB_KEY_Page_Down, 117}},
        {u"LArrow"_s, {XKB_KEY_Left, 113}},
        {u"RArrow"_s, {XKB_KEY_Right, 114}},
        {u"DArrow"_s, {XKB_KEY_Down, 116}},
        {u"Help"_s, {XKB_KEY_Help, 146}},
        {u"VolUp"_s, {XKB_KEY_XF86AudioRaiseVolume, 123}},
        {u"VolDown"_s, {XKB_KEY_XF86AudioLowerVolume, 122}},
        {u"Mute"_s, {XKB_KEY_XF86AudioMute, 121}},
        {u"Cmd"_s, {XKB_KEY_Control_L, 37}}, // Control is what copies and quits here.
        {u"Ctrl"_s, {XKB_KEY_Control_L, 37}},
        {u"Shift"_s, {XKB_KEY_Shift_L, 50}},
        {u"CapsLock"_s, {XKB_KEY_Caps_Lock, 66}},
        {u"Alt"_s, {XKB_KEY_Alt_L, 64}},
        {u"RShift"_s, {XKB_KEY_Shift_R, 62}},
        {u"RAlt"_s, {XKB_KEY_Alt_R, 108}},
        {u"RCtrl"_s, {XKB_KEY_Control_R, 105}},
    };
    addRow(keys, 10, "1234567890-=");
    addRow(keys, 24, "qwertyuiop[]");
    addRow(keys, 38, "asdfghjkl;'");
    addRow(keys, 51, "\\zxcvbnm,");
    addRow(keys, 61, "/");
    addRow(keys, 65, " ");
    // By design: each bracket has the other one's name.
    std::swap(keys[u"["_s], keys[u"]"_s]);
    addFunctionKeys(keys, 1, 10, 67);
    addFunctionKeys(keys, 11, 12, 95);
    addFunctionKeys(keys, 13, 20, 191);
    return keys;
}

} // namespace KeyboardDrawing
