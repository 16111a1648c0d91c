// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <variant>
#include <vector>

/// The actions of a person at the terminal, read from its bytes.
namespace quillmote::TerminalInput {

struct Character
{
    QChar character;
    bool operator==(const Character &) const = default;
};
/// A letter with Ctrl.
struct ControlLetter
{
    QChar letter; ///< upper case
    bool operator==(const ControlLetter &) const = default;
};
/// An arrow key; dx and dy are -1, 0 or 1.
struct Arrow
{
    int dx = 0;
    int dy = 0;
    bool isFast = false; ///< with Shift
    bool operator==(const Arrow &) const = default;
};
struct FunctionKey
{
    int number = 1;
    bool operator==(const FunctionKey &) const = default;
};
/// The mouse is over this cell; the first one is 1, 1.
struct MouseMotion
{
    int column = 1;
    int row = 1;
    bool operator==(const MouseMotion &) const = default;
};
/// Button 0 is left, 1 middle, 2 right.
struct MousePress
{
    int button = 0;
    bool operator==(const MousePress &) const = default;
};
/// Any other key; servers cannot type it.
struct Other
{
    QString name;
    bool operator==(const Other &) const = default;
};
struct Leave
{
    bool operator==(const Leave &) const = default;
};

using Event = std::variant<Character, ControlLetter, Arrow, FunctionKey, MouseMotion, MousePress,
                           Other, Leave>;

/// Takes the events out of the bytes. An unfinished sequence is left in them.
std::vector<Event> take(QByteArray &bytes);

} // namespace quillmote::TerminalInput
