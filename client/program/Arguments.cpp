// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Arguments.h"

#include "program/CommandTable.h"
#include "program/Help.h"
#include "program/OptionTable.h"
#include "program/ShellWord.h"
#include "program/Suggestion.h"

#include <QCommandLineParser>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// The toolkit's parser takes -10 for two short options; here it is a value. A word of a command
/// line cannot hold a NUL, so one in front keeps the parser from seeing the dash.
constexpr QChar guard = QChar::Null;

bool isNegativeNumber(QStringView word)
{
    return word.size() > 1 && word[0] == u'-' &&
           std::all_of(word.begin() + 1, word.end(), [](QChar digit) { return digit.isDigit(); });
}

QStringList withNumbersGuarded(QStringList words)
{
    for (QString &word : words) {
        if (isNegativeNumber(word)) {
            word.prepend(guard);
        }
    }
    return words;
}

QString withoutGuard(QString word)
{
    return word.remove(guard);
}

/// The toolkit's parser, after it has read the words with these options.
class Reading
{
public:
    Reading(const QStringList &commandLine, const Options &options)
        : words(withNumbersGuarded(commandLine))
    {
        for (const Option *option : options) {
            parser.addOption(QCommandLineOption(namesOf(*option), {}, option->valueName));
        }
        isWellFormed = parser.parse(words);
    }

    bool isGiven(QLatin1StringView option) const { return parser.isSet(option); }
    QString value(QLatin1StringView option) const { return withoutGuard(parser.value(option)); }
    QStringList values() const
    {
        QStringList values = parser.positionalArguments();
        std::transform(values.begin(), values.end(), values.begin(), withoutGuard);
        return values;
    }

    /// A value that is missing, or one too many; nothing if every option is complete.
    QString problem() const { return isWellFormed ? QString() : parser.errorText(); }

    /// The position of the first option that is not one of these; -1 if there is none.
    qsizetype placeOfUnknownOption() const
    {
        const QStringList unknown = parser.unknownOptionNames();
        const auto found = std::find_if(words.begin(), words.end(), [&](const QString &word) {
            return std::any_of(unknown.begin(), unknown.end(),
                               [&](const QString &name) { return isOptionWord(word, name); });
        });
        return found == words.end() ? -1 : found - words.begin();
    }

private:
    static QStringList namesOf(const Option &option)
    {
        QStringList names{option.name};
        if (option.letter != QLatin1Char('\0')) {
            names.prepend(QString(option.letter));
        }
        return names;
    }

    static bool isOptionWord(const QString &word, const QString &name)
    {
        return word.section(u'=', 0, 0) == "--"_L1 + name ||
               (name.size() == 1 && word.startsWith(u'-' + name));
    }

    QCommandLineParser parser;
    QStringList words;
    bool isWellFormed = false;
};

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
    const qsizetype place = Reading(words, allOptions()).placeOfUnknownOption();
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

QString problemWithServer(const Reading &reading)
{
    if (reading.isGiven("host"_L1) != reading.isGiven("port"_L1)) {
        return u"--host and --port go together; give both."_s;
    }
    return reading.isGiven("host"_L1) && reading.isGiven("server"_L1)
               ? u"--server and --host exclude each other."_s
               : QString();
}

/// Stores the values of those that are given; returns the first problem.
QString readOptions(const Options &options, const Reading &reading, Arguments &arguments)
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

ParsedArguments parseCommand(const CommandEntry &entry, const Reading &reading)
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
    const QString command = Reading(words, allOptions()).values().value(0);
    const Reading reading(words, optionsOf(command));
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
