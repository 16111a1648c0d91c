// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Arguments.h"

#include "program/CommandTable.h"
#include "program/Suggestion.h"

#include <QCommandLineParser>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

QCommandLineOption option(const QString &name, const QString &help, const QString &value = {})
{
    return {name, help, value};
}

void addSendOptions(QCommandLineParser &parser)
{
    parser.addOption(option(u"as"_s, u"Save the file there under that name."_s, u"NAME"_s));
    parser.addOption(option(u"force"_s, u"Send files that arrive damaged, too."_s));
}

void addTypingOptions(QCommandLineParser &parser)
{
    parser.addOption(option(u"paste"_s, u"Type by the clipboard only."_s));
    parser.addOption(option(u"us-keyboard"_s, u"Type signs as on a US keyboard."_s));
    parser.addOption(option(u"paste-wait"_s,
                            u"How long a program there may take to paste, %1 if not given."_s.arg(
                                defaultPasteWait.count()),
                            u"MILLISECONDS"_s));
}

void addOptions(QCommandLineParser &parser, const QString &command)
{
    parser.addOption({{u"h"_s, u"help"_s}, u"Show this help."_s});
    parser.addOption(option(u"version"_s, u"Show the version."_s));
    parser.addOption(option(u"server"_s, u"Use the server of that name."_s, u"NAME"_s));
    parser.addOption(option(u"host"_s, u"Use the server at that address."_s, u"HOST"_s));
    parser.addOption(option(u"port"_s, u"The server's port, with --host."_s, u"PORT"_s));
    parser.addOption(option(u"timeout"_s, u"How long to wait, 10 if not given."_s, u"SECONDS"_s));
    parser.addOption(option(u"json"_s, u"Print results and errors as JSON."_s));
    if (command == "discover"_L1) {
        parser.addOption(option(u"watch"_s, u"Go on, and tell what comes and goes."_s));
    }
    if (command == "copy"_L1) {
        parser.addOption(option(u"lossy"_s, u"Replace what cannot be sent."_s));
    }
    if (command == "pair"_L1) {
        parser.addOption(option(u"name"_s, u"What this device is called."_s, u"NAME"_s));
    }
    if (command == "key"_L1) {
        parser.addOption(option(u"repeat"_s, u"Type them all so many times."_s, u"COUNT"_s));
    }
    if (command == "click"_L1) {
        parser.addOption(option(u"repeat"_s, u"Click so many times."_s, u"COUNT"_s));
    }
    if (command == "send"_L1) {
        addSendOptions(parser);
    }
    if (command == "type"_L1 || command == "remote"_L1) {
        addTypingOptions(parser);
    }
    if (command == "type"_L1) {
        parser.addOption(option(u"restore"_s, u"Put the clipboard's old text back in the end."_s));
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

/// False also for an option that the command does not know.
bool isGiven(const QCommandLineParser &parser, const QString &name)
{
    return parser.optionNames().contains(name);
}

void readSendOptions(const QCommandLineParser &parser, Arguments &arguments)
{
    arguments.isForced = isGiven(parser, u"force"_s);
    if (isGiven(parser, u"as"_s)) {
        arguments.saveAs = parser.value(u"as"_s);
    }
}

QString problemWithTypingOptions(const QCommandLineParser &parser, Arguments &arguments)
{
    arguments.pastesAll = isGiven(parser, u"paste"_s);
    arguments.isUsKeyboard = isGiven(parser, u"us-keyboard"_s);
    arguments.restoresClipboard = isGiven(parser, u"restore"_s);
    if (isGiven(parser, u"paste-wait"_s)) {
        bool isNumber = false;
        const int wait = parser.value(u"paste-wait"_s).toInt(&isNumber);
        if (!isNumber || wait < 0 || wait > 60'000) {
            return u"--paste-wait takes milliseconds, from 0 to 60000."_s;
        }
        arguments.pasteWait = std::chrono::milliseconds(wait);
    }
    return {};
}

QString problemWithCommandOptions(const QCommandLineParser &parser, Arguments &arguments)
{
    arguments.isWatch = arguments.command == "discover"_L1 && parser.isSet(u"watch"_s);
    arguments.isLossy = arguments.command == "copy"_L1 && parser.isSet(u"lossy"_s);
    if (arguments.command == "pair"_L1) {
        arguments.deviceName = parser.value(u"name"_s);
    }
    if (isGiven(parser, u"repeat"_s)) {
        bool isNumber = false;
        arguments.repeat = parser.value(u"repeat"_s).toInt(&isNumber);
        if (!isNumber || arguments.repeat < 1) {
            return u"--repeat takes a number from 1."_s;
        }
    }
    readSendOptions(parser, arguments);
    return problemWithTypingOptions(parser, arguments);
}

QString help(const CommandEntry *entry)
{
    if (entry == nullptr) {
        return commandOverview();
    }
    QCommandLineParser parser;
    addOptions(parser, entry->name);
    // The parser's text without its usage line, which does not know of commands.
    const QString options = parser.helpText().section(u"Options:"_s, 1);
    return u"Usage: quillmote %1 %2\n\n%3\n\nOptions:%4\nExamples:\n%5\n"_s.arg(
        entry->name, entry->usage, entry->description, options, entry->examples);
}

ParsedArguments problem(const QString &text)
{
    return {std::nullopt, {}, text};
}

ParsedArguments problem(const char *code, const QString &text)
{
    return {std::nullopt, {}, text, code};
}

/// The first word that is no option, or the value of one.
QString commandIn(const QStringList &words)
{
    static const QStringList takingValues = {u"--server"_s,  u"--host"_s,      u"--port"_s,
                                             u"--timeout"_s, u"--name"_s,      u"--repeat"_s,
                                             u"--as"_s,      u"--paste-wait"_s};
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

bool isOptionWord(const QString &word, const QString &name)
{
    const QString text = word.section(u'=', 0, 0);
    return text == "--"_L1 + name || (name.size() == 1 && word.startsWith(u'-' + name));
}

/// Where the first option stands that the command does not know; -1 when it knows them all.
qsizetype placeOfUnknownOption(const QStringList &words, const QString &command)
{
    QCommandLineParser parser;
    addOptions(parser, command);
    parser.parse(words);
    const QStringList unknown = parser.unknownOptionNames();
    const auto found = std::find_if(words.begin(), words.end(), [&](const QString &word) {
        return std::any_of(unknown.begin(), unknown.end(),
                           [&](const QString &name) { return isOptionWord(word, name); });
    });
    return found == words.end() ? -1 : found - words.begin();
}

/// The same for an option that no command knows.
qsizetype placeOfOptionUnknownToAll(const QStringList &words)
{
    qsizetype place = -1;
    for (const QString &command : commandNames()) {
        place = placeOfUnknownOption(words, command);
        if (place == -1) {
            break;
        }
    }
    return place;
}

QStringList optionsOf(const QString &command)
{
    QCommandLineParser parser;
    addOptions(parser, command);
    static const QRegularExpression name(u"--[a-z]+"_s);
    QStringList options;
    for (auto match = name.globalMatch(parser.helpText()); match.hasNext();) {
        options += match.next().captured();
    }
    return options;
}

ParsedArguments problemWithOption(const QString &word, const QString &command)
{
    const QString option = word.section(u'=', 0, 0);
    const QString where = command.isEmpty() ? QString() : command + u' ';
    return problem("unknown-option", u"Unknown option \"%1\".%2 See quillmote %3--help."_s.arg(
                                         option, didYouMean(option, optionsOf(command)), where));
}

/// No command was given, or one that does not exist.
ParsedArguments problemWithCommand(const QStringList &words, const QString &command)
{
    // The value of a mistyped option looks like the command.
    const qsizetype place = placeOfOptionUnknownToAll(words);
    if (place != -1 && (command.isEmpty() || place < words.indexOf(command))) {
        return problemWithOption(words[place], {});
    }
    if (command.isEmpty()) {
        return problem(u"A command is missing; quillmote --help lists them."_s);
    }
    const QString suggestion = didYouMean(command, commandNames());
    const QString advice =
        suggestion.isEmpty() ? u"; quillmote --help lists them."_s : u'.' + suggestion;
    return problem("unknown-command", u"There is no command \"%1\"%2"_s.arg(command, advice));
}

/// As a shell takes it for one word.
QString quotedForShell(QString text)
{
    return u'\'' + text.replace(u'\'', "'\\''"_L1) + u'\'';
}

ParsedArguments problemWithCount(const CommandEntry &entry, const QStringList &values)
{
    const bool isUnquotedText = values.size() > 1 && entry.usage.contains("TEXT"_L1);
    if (isUnquotedText) {
        return problem(u"%1 takes one text; quote the text: quillmote %1 %2"_s.arg(
            entry.name, quotedForShell(values.join(u' '))));
    }
    return problem(u"Usage: quillmote %1 %2"_s.arg(entry.name, entry.usage));
}

/// Known before the command line can be read, so that what is wrong with it is JSON too.
bool isJsonAskedFor(const QStringList &words)
{
    return words.mid(0, words.indexOf(u"--"_s)).contains(u"--json"_s);
}

/// The command that a help is wanted for.
QString subjectOfHelp(const QCommandLineParser &parser, const QString &command)
{
    return command == "help"_L1 ? parser.positionalArguments().value(1) : command;
}

ParsedArguments parse(const QStringList &words)
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
        const QString subject = subjectOfHelp(parser, arguments.command);
        entry = findCommand(subject);
        return subject.isEmpty() || entry != nullptr
                   ? ParsedArguments{std::nullopt, help(entry), {}}
                   : problemWithCommand(commandLine, subject);
    }
    if (entry == nullptr) {
        return problemWithCommand(commandLine, arguments.command);
    }
    const qsizetype unknown = placeOfUnknownOption(commandLine, arguments.command);
    if (unknown != -1) {
        return problemWithOption(commandLine[unknown], arguments.command);
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
        return problemWithCount(*entry, arguments.values);
    }
    return {arguments, {}, {}};
}

} // namespace

ParsedArguments parseArguments(const QStringList &words)
{
    ParsedArguments parsed = parse(words);
    parsed.problem.replace(hiddenMinus, u'-');
    parsed.wantsJson = isJsonAskedFor(words);
    return parsed;
}

} // namespace quillmote
