// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/applications/ExecLine.h"

using namespace Qt::StringLiterals;

namespace platform::ExecLine {
namespace {

/// Takes a command line apart, sign by sign.
class Splitter
{
public:
    void take(QChar sign)
    {
        if (isEscaped) {
            takeEscaped(sign);
        } else if (sign == u'\\' && quote != u'\'') {
            isEscaped = true;
            isInArgument = true;
        } else if (!quote.isNull()) {
            takeQuoted(sign);
        } else {
            takeBare(sign);
        }
    }

    std::optional<QStringList> finish()
    {
        if (!quote.isNull() || isEscaped) {
            return std::nullopt;
        }
        endArgument();
        return arguments;
    }

private:
    /// Inside double quotes a backslash is one unless it stands before a sign that needs it.
    void takeEscaped(QChar sign)
    {
        if (!quote.isNull() && !"\"`$\\"_L1.contains(sign)) {
            argument += u'\\';
        }
        argument += sign;
        isEscaped = false;
    }

    void takeQuoted(QChar sign)
    {
        if (sign == quote) {
            quote = QChar();
        } else {
            argument += sign;
        }
    }

    void takeBare(QChar sign)
    {
        if (sign == u' ' || sign == u'\t' || sign == u'\n') {
            endArgument();
            return;
        }
        isInArgument = true;
        // The standard knows double quotes only; files in use have single ones too.
        if (sign == u'"' || sign == u'\'') {
            quote = sign;
        } else {
            argument += sign;
        }
    }

    void endArgument()
    {
        if (isInArgument) {
            arguments.append(argument);
        }
        argument.clear();
        isInArgument = false;
    }

    QStringList arguments;
    QString argument;
    /// Null outside of quotes.
    QChar quote;
    bool isEscaped = false;
    /// Tells an empty quoted argument from none.
    bool isInArgument = false;
};

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
    // For files and addresses, then those that are out of date.
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
    Splitter splitter;
    for (const QChar sign : line) {
        splitter.take(sign);
    }
    return splitter.finish();
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
        // An argument that was nothing but a code for files is none at all.
        if (!text->isEmpty() || argument.isEmpty()) {
            expanded.append(*text);
        }
    }
    return expanded;
}

QString quoted(const QString &argument)
{
    QString text = u"\""_s;
    for (const QChar sign : argument) {
        if ("\"`$\\"_L1.contains(sign)) {
            text += u'\\';
        } else if (sign == u'%') {
            text += u'%';
        }
        text += sign;
    }
    return text + u'"';
}

} // namespace platform::ExecLine
