// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "program/KeyStroke.h"

#include <QByteArray>
#include <QString>

#include <variant>
#include <vector>

/// Everything that a terminal tells about its keyboard and mouse, read from its bytes: the
/// sequences of xterm, with its modifyOtherKeys and bracketed pastes, of the Linux console, and of
/// kitty's keyboard protocol.
namespace quillmote::TerminalKeys {

/// Characters that were typed without a modifier but Shift, or pasted. No control characters but
/// line breaks and tabs.
struct Text
{
    QString text;
    bool operator==(const Text &) const = default;
};
/// The mouse is over this cell; the first one is 1, 1.
struct Motion
{
    int column = 1;
    int row = 1;
    bool operator==(const Motion &) const = default;
};
/// left, middle, right, back or forward.
struct MouseButton
{
    QString button;
    bool isDown = false;
    bool operator==(const MouseButton &) const = default;
};
/// One notch; right and down are positive.
struct Wheel
{
    int right = 0;
    int down = 0;
    bool operator==(const Wheel &) const = default;
};
/// Ctrl+].
struct Leave
{
    bool operator==(const Leave &) const = default;
};
/// Ctrl+backslash.
struct SwitchMode
{
    bool operator==(const SwitchMode &) const = default;
};

using Event = std::variant<Text, KeyStroke, Motion, MouseButton, Wheel, Leave, SwitchMode>;

/// Takes the events out of the bytes. An unfinished sequence is left in them, and a single escape
/// character, which may begin one.
std::vector<Event> take(QByteArray &bytes);

/// The same when nothing has followed for a while: what is left is no sequence but the key Escape,
/// or Alt with a character.
std::vector<Event> takeUnfinished(QByteArray &bytes);

} // namespace quillmote::TerminalKeys
