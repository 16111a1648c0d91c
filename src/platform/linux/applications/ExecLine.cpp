// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/applications/ExecLine.h"

#include "platform/linux/applications/GLibHandles.h"

using namespace Qt::StringLiterals;

namespace platform::ExecLine {
namespace {

/// Nothing for an unknown code.
std::optional<QString> fieldValue(QChar code, const FieldValues &values)
{
    switch (code.unicode()) {
    case u'%':
        return u"%"_s;
    case u'c':
        return values.name;
    case u'k':
        return values.fileName;
    // Files and addresses first, then the deprecated ones.
    case u'f':
    case u'F':
    case u'u':
    case u'U':
    case u'i':
    case u'd':
    case u'D':
    case u'n':
    case u'N':
    case u'v':
    case u'm':
        return QString();
    default:
        return std::nullopt;
    }
}

std::optional<QString> expandOne(const QString &argument, const FieldValues &values)
{
    QString text;
    for (qsizetype at = 0; at < argument.size(); ++at) {
        if (argument[at] != u'%') {
            text += argument[at];
            continue;
        }
        ++at;
        const auto value =
            at < argument.size() ? fieldValue(argument[at], values) : std::optional<QString>();
        if (!value.has_value()) {
            return std::nullopt;
        }
        text += *value;
    }
    return text;
}

} // namespace

std::optional<QStringList> split(const QString &line)
{
    gchar **rawWords = nullptr;
    GError *rawError = nullptr;
    g_shell_parse_argv(line.toUtf8().constData(), nullptr, &rawWords, &rawError);
    const GLibWords words(rawWords);
    const GLibError error(rawError);
    if (g_error_matches(error.get(), G_SHELL_ERROR, G_SHELL_ERROR_EMPTY_STRING)) {
        return QStringList();
    }
    if (error) {
        return std::nullopt;
    }
    QStringList arguments;
    for (gchar **word = words.get(); *word != nullptr; ++word) {
        arguments.append(QString::fromUtf8(*word));
    }
    return arguments;
}

std::optional<QStringList> expand(const QStringList &arguments, const FieldValues &values)
{
    QStringList expanded;
    for (const QString &argument : arguments) {
        if (argument == "%i"_L1) {
            expanded +=
                values.icon.isEmpty() ? QStringList() : QStringList{u"--icon"_s, values.icon};
            continue;
        }
        const auto text = expandOne(argument, values);
        if (!text.has_value()) {
            return std::nullopt;
        }
        // An argument that consists only of codes for files is dropped.
        if (!text->isEmpty() || argument.isEmpty()) {
            expanded.append(*text);
        }
    }
    return expanded;
}

QString quoted(const QString &argument)
{
    QString text = u"\""_s;
    for (const QChar character : argument) {
        if ("\"`$\\"_L1.contains(character)) {
            text += u'\\';
        } else if (character == u'%') {
            text += u'%';
        }
        text += character;
    }
    return text + u'"';
}

} // namespace platform::ExecLine
