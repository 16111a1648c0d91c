// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <vector>

namespace quillmote {

struct Arguments;

/// All that the parser and the help know about one option.
struct Option
{
    QLatin1StringView name;        ///< without its dashes
    QLatin1StringView valueName;   ///< for the help; empty for an option without a value
    QLatin1StringView description; ///< one line of the help
    QLatin1StringView commands;    ///< the commands that take it, separated by blanks; empty: all
    /// Stores the value. Returns a sentence for the user if the value is wrong, else nothing. Null
    /// for an option that prints a text and exits.
    QString (*read)(const QString &value, Arguments &arguments);
    /// A second name of one letter; null if there is none.
    QLatin1Char letter = QLatin1Char('\0');
};

using Options = std::vector<const Option *>;

Options allOptions();
/// The options of every command.
Options commonOptions();
/// The options of this command that are not common to all; none if there is no such command.
Options ownOptions(const QString &command);
/// The command's own options, then the common ones.
Options optionsOf(const QString &command);

} // namespace quillmote
