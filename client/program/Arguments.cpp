// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Arguments.h"

#include "program/CommandTable.h"
#include "program/Help.h"
#include "program/OptionReading.h"
#include "program/OptionTable.h"
#include "program/ShellWord.h"
#include "program/Suggestion.h"

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

ParsedArguments problem(const QString &text, const char *code = "usage")
{
    return {std::nullopt, {}, text, code};
}

ParsedArguments text(const QString &output)
{
    return {std::nullopt, output, {}};
}

ParsedArguments problemWithOption(const QString &word, const QString &command)
{
    QStringList known;
    for (const Option *option : optionsOf(command)) {
        known += "--"_L1 + option->name;
    }
    const QString name = word.section(u'=', 0, 0);
    const QString where = command.isEmpty() ? QString() : command + u' ';
    return problem(u"Unknown option \"%1\".%2 See quillmote %3--help."_s.arg(
                       name, didYouMean(name, known), where),
                   "unknown-option");
}

/// No command is given, or one that does not exist.
ParsedArguments problemWithCommand(const QStringList &words, const QString &command)
{
    // The value of a mistyped option looks like the command.
    const qsizetype place = OptionReading(words, allOptions()).placeOfUnknownOption();
    if (place != -1 && (command.isEmpty() || place < words.indexOf(command))) {
        return problemWithOption(words[place], {});
    }
    if (command.isEmpty()) {
        return problem(u"A command is missing; quillmote --help lists them."_s);
    }
    const QString suggestion = didYouMean(command, commandNames());
    const QString advice =
        suggestion.isEmpty() ? u"; quillmote --help lists them."_s : u'.' + suggestion;
    return problem(u"There is no command \"%1\"%2"_s.arg(command, advice), "unknown-command");
}

ParsedArguments helpAbout(const QStringList &words, const QString &command)
{
    if (command.isEmpty()) {
        return text(Help::overview());
    }
    const CommandEntry *entry = findCommand(command);
    return entry != nullptr ? text(Help::of(*entry)) : problemWithCommand(words, command);
}

QString problemWithServer(const OptionReading &reading)
{
    if (reading.isGiven("host"_L1) != reading.isGiven("port"_L1)) {
        return u"--host and --port go together; give both."_s;
    }
    if (reading.isGiven("local"_L1) &&
        (reading.isGiven("host"_L1) || reading.isGiven("server"_L1))) {
        return u"--local excludes --host and --server."_s;
    }
    return reading.isGiven("host"_L1) && reading.isGiven("server"_L1)
               ? u"--server and --host exclude each other."_s
               : QString();
}

/// Stores the values of those that are given; returns the first problem.
QString readOptions(const Options &options, const OptionReading &reading, Arguments &arguments)
{
    for (const Option *option : options) {
        if (option->read != nullptr && reading.isGiven(option->name)) {
            const QString wrong = option->read(reading.value(option->name), arguments);
            if (!wrong.isEmpty()) {
                return wrong;
            }
        }
    }
    return {};
}

QString problemWithCount(const CommandEntry &entry, const QStringList &values)
{
    if (values.size() >= entry.fewestValues && values.size() <= entry.mostValues) {
        return {};
    }
    const bool isUnquotedText = values.size() > 1 && entry.values.contains("TEXT"_L1);
    return isUnquotedText ? u"%1 takes one text; quote the text: quillmote %1 %2"_s.arg(
                                entry.name, quotedForShell(values.join(u' ')))
                          : Help::usage(entry);
}

ParsedArguments parseCommand(const CommandEntry &entry, const OptionReading &reading)
{
    Arguments arguments;
    arguments.command = entry.name;
    arguments.values = reading.values().mid(1);
    QString wrong = readOptions(commonOptions(), reading, arguments);
    if (wrong.isEmpty()) {
        wrong = problemWithServer(reading);
    }
    if (wrong.isEmpty()) {
        wrong = readOptions(ownOptions(entry.name), reading, arguments);
    }
    if (wrong.isEmpty()) {
        wrong = problemWithCount(entry, arguments.values);
    }
    return wrong.isEmpty() ? ParsedArguments{arguments, {}, {}} : problem(wrong);
}

ParsedArguments parse(const QStringList &words)
{
    // With all options, so that no value of an option is taken for the command.
    const QString command = OptionReading(words, allOptions()).values().value(0);
    const OptionReading reading(words, optionsOf(command));
    if (reading.isGiven("version"_L1)) {
        return text(u"quillmote 1.0\n"_s);
    }
    if (command == "help"_L1) {
        return helpAbout(words, reading.values().value(1));
    }
    if (reading.isGiven("help"_L1)) {
        return helpAbout(words, command);
    }
    const CommandEntry *entry = findCommand(command);
    if (entry == nullptr) {
        return problemWithCommand(words, command);
    }
    const qsizetype unknown = reading.placeOfUnknownOption();
    if (unknown != -1) {
        return problemWithOption(words[unknown], command);
    }
    if (!reading.problem().isEmpty()) {
        return problem(reading.problem() + u" See quillmote %1 --help."_s.arg(command));
    }
    return parseCommand(*entry, reading);
}

/// Known before the command line can be read, so that problems with it are JSON too.
bool isJsonAskedFor(const QStringList &words)
{
    return words.mid(0, words.indexOf(u"--"_s)).contains(u"--json"_s);
}

} // namespace

ParsedArguments parseArguments(const QStringList &words)
{
    ParsedArguments parsed = parse(words);
    parsed.wantsJson = isJsonAskedFor(words);
    return parsed;
}

} // namespace quillmote
