// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Help.h"

#include "program/CommandTable.h"
#include "program/OptionTable.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillmote::Help {
namespace {

/// "--name VALUE", with the letter in front if there is one.
QString synopsis(const Option &option)
{
    const QString letter =
        option.letter != QLatin1Char('\0') ? u"-%1, "_s.arg(QChar(option.letter)) : QString();
    return (letter + "--"_L1 + option.name + u' ' + option.valueName).trimmed();
}

/// One line each; the descriptions stand below each other.
QString listed(const Options &options)
{
    qsizetype width = 0;
    for (const Option *option : options) {
        width = std::max(width, synopsis(*option).size());
    }
    QString lines;
    for (const Option *option : options) {
        lines += u"  %1  %2\n"_s.arg(synopsis(*option).leftJustified(width), option->description);
    }
    return lines;
}

} // namespace

QString overview()
{
    QString commands;
    for (const QString &name : commandNames()) {
        commands += u"  %1  %2\n"_s.arg(name.leftJustified(8), findCommand(name)->summary);
    }
    return u"Usage: quillmote COMMAND [OPTIONS]\n\n"
           "Controls a desktop that runs VornaServer.\n\nCommands:\n%1\nOptions:\n%2\n"
           "If several servers are found, pick one with --server NAME, or with\n"
           "QUILLMOTE_SERVER in the environment. By default the server used last is used, or\n"
           "else the one of this desktop, or else the only one on the network. The server of\n"
           "this desktop is reached without the network and can do more: any key, any text,\n"
           "the wheel, dragging, any file.\n\n"
           "Exit status: 0 done, 1 the server refused or answered ERROR, 2 wrong usage, 3 no "
           "server or\n"
           "connection lost.\n"_s.arg(commands, listed(commonOptions()));
}

QString of(const CommandEntry &command)
{
    return u"%1\n\n%2\n\nOptions:\n%3\nExamples:\n%4\n"_s.arg(
        usage(command), command.description, listed(optionsOf(command.name)), command.examples);
}

QString usage(const CommandEntry &command)
{
    const QString values = command.values.isEmpty() ? QString() : command.values + u' ';
    return u"Usage: quillmote %1 %2[OPTIONS]"_s.arg(command.name, values);
}

} // namespace quillmote::Help
