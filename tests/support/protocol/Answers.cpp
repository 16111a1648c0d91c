// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/protocol/Answers.h"

#include "support/protocol/Tokens.h"

using namespace Qt::StringLiterals;

namespace {

/// Reads `("a", "b" );` or `();`, the brackets being taken off already.
QStringList readItems(QStringView text)
{
    QStringList items;
    for (const QStringView item : text.split(QStringView(u"\", \""))) {
        items.append(item.trimmed().toString().remove(QLatin1Char('"')));
    }
    return text.isEmpty() ? QStringList() : items;
}

/// Takes one entry off the front of the text.
std::optional<TokenEntry> takeEntry(QStringView &text)
{
    const qsizetype equals = text.indexOf(" ="_L1);
    if (equals < 0) {
        return std::nullopt;
    }
    const QString key = text.left(equals).toString();
    const QStringView rest = text.mid(equals + 2).trimmed();
    const bool isList = rest.startsWith(QLatin1Char('('));
    const QString ending = isList ? u");"_s : u"\";"_s;
    const qsizetype end = rest.indexOf(ending, 1);
    if (end < 0) {
        return std::nullopt;
    }
    const QStringView value = rest.mid(1, end - 1);
    text = rest.mid(end + 2);
    return TokenEntry(key, isList ? QVariant(readItems(value)) : QVariant(value.toString()));
}

} // namespace

std::optional<QVariantMap> readAnswer(const QByteArray &text)
{
    const QString all = QString::fromLatin1(text);
    if (!all.startsWith(QLatin1Char('{')) || !all.endsWith(QLatin1Char('}'))) {
        return std::nullopt;
    }
    QStringView rest = QStringView(all).sliced(1).chopped(1);
    QVariantMap answer;
    while (!rest.isEmpty()) {
        const auto entry = takeEntry(rest);
        if (!entry) {
            return std::nullopt;
        }
        answer.insert(entry->first, entry->second);
    }
    return answer;
}

QString response(const std::optional<QVariantMap> &answer)
{
    return answer ? answer->value(u"serverResponse"_s).toString() : u"no answer"_s;
}

QStringList parameters(const std::optional<QVariantMap> &answer)
{
    return answer ? answer->value(u"cmdParameters"_s).toStringList() : QStringList();
}
