// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Arguments.h"

#include "program/CommandTable.h"

#include <QCommandLineParser>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

QCommandLineOption option(const QString &name, const QString &help, const QString &value = {})
{
    return {name, help, value};
}

void addOptions(QCommandLineParser &parser, const QString &command)
{
    parser.addOption({{u"h"_s, u"help"_s}, u"Show this help."_s});
    parser.addOption(option(u"version"_s, u"Show the version."_s));
    parser.addOption(option(u"server"_s, u"Use the server of that name."_s, u"NAME"_s));
    parser.addOption(option(u"host"_s, u"Use the server at that address."_s, u"HOST"_s));
    parser.addOption(option(u"port"_s, u"The server's port, with --host."_s, u"PORT"_s));
    parser.addOption(option(u"timeout"_s, u"How long to wait, 10 if not given."_s, u"SECONDS"_s));
    parser.addOption(option(u"json"_s, u"Print results as JSON."_s));
    if (command == "discover"_L1) {
        parser.addOption(option(u"watch"_s, u"Go on, and tell what comes and goes."_s));
    }
    if (command == "pair"_L1) {
        parser.addOption(option(u"name"_s, u"What this device is called."_s, u"NAME"_s));
    }
    if (command == "key"_L1) {
        parser.addOption(option(u"repeat"_s, u"Type them all so many times."_s, u"COUNT"_s));
    }
}

QString problemWithNumbers(const QCommandLineParser &parser, Arguments &arguments)
{
    bool isNumber = true;
    if (parser.isSet(u"port"_s)) {
        arguments.port = parser.value(u"port"_s).toUShort(&isNumber);
        if (!isNumber || arguments.port == 0) {
            return u"--port takes a number from 1 to 65535."_s;
        }
    }
    if (parser.isSet(u"timeout"_s)) {
        const double seconds = parser.value(u"timeout"_s).toDouble(&isNumber);
        if (!isNumber || !(seconds > 0 && seconds <= 86'400)) {
            return u"--timeout takes seconds, more than 0 and up to 86400."_s;
        }
        arguments.isTimeoutGiven = true;
        arguments.timeout = std::chrono::milliseconds(std::lround(std::ceil(seconds * 1000)));
    }
    if (parser.isSet(u"host"_s) != parser.isSet(u"port"_s)) {
        return u"--host and --port go together; give both."_s;
    }
    if (parser.isSet(u"host"_s) && parser.isSet(u"server"_s)) {
        return u"--server and --host exclude each other."_s;
    }
    return {};
}

QString problemWithCommandOptions(const QCommandLineParser &parser, Arguments &arguments)
{
    arguments.isWatch = arguments.command == "discover"_L1 && parser.isSet(u"watch"_s);
    if (arguments.command == "pair"_L1) {
        arguments.deviceName = parser.value(u"name"_s);
    }
    if (arguments.command == "key"_L1 && parser.isSet(u"repeat"_s)) {
        bool isNumber = false;
        arguments.repeat = parser.value(u"repeat"_s).toInt(&isNumber);
        if (!isNumber || arguments.repeat < 1) {
            return u"--repeat takes a number from 1."_s;
        }
    }
    return {};
}

QString help(const QCommandLineParser &parser, const CommandEntry *entry)
{
    if (entry == nullptr) {
        return commandOverview();
    }
    // The parser's text without its usage line, which does not know of commands.
    const QString options = parser.helpText().section(u"Options:"_s, 1);
    return u"Usage: quillmote %1 %2\n\n%3\n\nOptions:%4\nExamples:\n%5\n"_s.arg(
        entry->name, entry->usage, entry->description, options, entry->examples);
}

ParsedArguments problem(const QString &text)
{
    return {std::nullopt, {}, text};
}

/// The first word that is no option, or the value of one.
QString commandIn(const QStringList &words)
{
    static const QStringList takingValues = {u"--server"_s,  u"--host"_s, u"--port"_s,
                                             u"--timeout"_s, u"--name"_s, u"--repeat"_s};
    for (qsizetype index = 1; index < words.size(); ++index) {
        if (takingValues.contains(words[index])) {
            ++index;
        } else if (!words[index].startsWith(u'-')) {
            return words[index];
        }
    }
    return {};
}

/// A negative number is a value and no option; the parser sees it with a sign that is no character.
constexpr QChar hiddenMinus(0xfdd0);

bool isNumberBehind(QChar minus, QStringView word)
{
    return word.size() > 1 && word[0] == minus &&
           std::all_of(word.begin() + 1, word.end(), [](QChar digit) { return digit.isDigit(); });
}

QStringList withMinusReplaced(QStringList words, QChar before, QChar after)
{
    for (QString &word : words) {
        if (isNumberBehind(before, word)) {
            word[0] = after;
        }
    }
    return words;
}

} // namespace

ParsedArguments parseArguments(const QStringList &words)
{
    const QStringList commandLine = withMinusReplaced(words, u'-', hiddenMinus);
    Arguments arguments;
    arguments.command = commandIn(commandLine);
    const CommandEntry *entry = findCommand(arguments.command);
    QCommandLineParser parser;
    addOptions(parser, arguments.command);
    const bool isWellFormed = parser.parse(commandLine);
    if (parser.isSet(u"version"_s)) {
        return {std::nullopt, u"quillmote 1.0\n"_s, {}};
    }
    if (parser.isSet(u"help"_s) || arguments.command == "help"_L1) {
        return {std::nullopt, help(parser, entry), {}};
    }
    if (arguments.command.isEmpty()) {
        return problem(u"A command is missing; quillmote --help lists them."_s);
    }
    if (entry == nullptr) {
        return problem(
            u"There is no command \"%1\"; quillmote --help lists them."_s.arg(arguments.command));
    }
    if (!isWellFormed) {
        return problem(parser.errorText() + u" See quillmote %1 --help."_s.arg(arguments.command));
    }
    arguments.values = withMinusReplaced(parser.positionalArguments().mid(1), hiddenMinus, u'-');
    arguments.server = parser.value(u"server"_s);
    arguments.host = parser.value(u"host"_s);
    arguments.wantsJson = parser.isSet(u"json"_s);
    QString wrong = problemWithNumbers(parser, arguments);
    if (wrong.isEmpty()) {
        wrong = problemWithCommandOptions(parser, arguments);
    }
    if (!wrong.isEmpty()) {
        return problem(wrong);
    }
    const auto count = arguments.values.size();
    if (count < entry->leastValues || count > entry->mostValues) {
        return problem(u"Usage: quillmote %1 %2"_s.arg(entry->name, entry->usage));
    }
    return {arguments, {}, {}};
}
