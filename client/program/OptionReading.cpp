// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/OptionReading.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// The toolkit's parser takes -10 for two short options; here it is a value. A word of a command
/// line cannot hold a NUL, so one in front keeps the parser from seeing the dash.
constexpr QChar guard = QChar::Null;

bool isNegativeNumber(QStringView word)
{
    if (!word.startsWith(u'-') || word.count(u'.') > 1 || word.endsWith(u'.')) {
        return false;
    }
    return word.size() > 1 && std::all_of(word.begin() + 1, word.end(), [](QChar sign) {
               return sign.isDigit() || sign == u'.';
           });
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

QStringList namesOf(const Option &option)
{
    QStringList names{option.name};
    if (option.letter != QLatin1Char('\0')) {
        names.prepend(QString(option.letter));
    }
    return names;
}

/// Whether the word gives the option of that name, which has no dashes.
bool isOptionWord(const QString &word, const QString &name)
{
    return word.section(u'=', 0, 0) == "--"_L1 + name ||
           (name.size() == 1 && word.startsWith(u'-' + name));
}

} // namespace

OptionReading::OptionReading(const QStringList &commandLine, const Options &options)
    : words(withNumbersGuarded(commandLine))
{
    for (const Option *option : options) {
        parser.addOption(QCommandLineOption(namesOf(*option), {}, option->valueName));
    }
    isWellFormed = parser.parse(words);
}

QString OptionReading::value(QLatin1StringView option) const
{
    return withoutGuard(parser.value(option));
}

QStringList OptionReading::values() const
{
    QStringList values = parser.positionalArguments();
    std::transform(values.begin(), values.end(), values.begin(), withoutGuard);
    return values;
}

qsizetype OptionReading::placeOfUnknownOption() const
{
    const QStringList unknown = parser.unknownOptionNames();
    const auto found = std::find_if(words.begin(), words.end(), [&](const QString &word) {
        return std::any_of(unknown.begin(), unknown.end(),
                           [&](const QString &name) { return isOptionWord(word, name); });
    });
    return found == words.end() ? -1 : found - words.begin();
}

} // namespace quillmote
