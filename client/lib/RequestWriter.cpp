// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/RequestWriter.h"

#include "lib/PrintableText.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

constexpr QLatin1StringView ignoreStart("[[[IGNORE]]]");
constexpr QLatin1StringView ignoreEnd("[[[ENDIGNORE]]]");

/// A value may hold any character of Latin-1 except these.
QString reasonAgainstCharacter(const QString &value, qsizetype index)
{
    const QChar character = value[index];
    if (character == u'"') {
        return u"a double quote, which the server removes"_s;
    }
    if (character == u'\n' || character == u'\r') {
        return u"a line break, which the server turns into a blank"_s;
    }
    if (character.isNull()) {
        return u"a NUL character, at which the server stops reading"_s;
    }
    if (character == u'\t') {
        return u"a tab, white space that the server turns into a blank"_s;
    }
    if (character.unicode() > 0xff) {
        return u"the character %1, which is outside Latin-1"_s.arg(shownCharacter(value, index));
    }
    if (character.isSpace() && character != u' ') {
        return u"%1, white space that the server turns into a blank"_s.arg(
            shownCharacter(value, index));
    }
    return {};
}

QString forbiddenCharacter(const QString &value)
{
    for (qsizetype index = 0; index < value.size(); ++index) {
        const QString reason = reasonAgainstCharacter(value, index);
        if (!reason.isEmpty()) {
            return reason;
        }
    }
    return {};
}

QString reasonAgainst(const QString &value)
{
    const QString character = forbiddenCharacter(value);
    if (!character.isEmpty()) {
        return character;
    }
    if (value.contains("  "_L1)) {
        return u"a run of blanks, which the server makes one blank"_s;
    }
    if (value.startsWith(u' ') || value.endsWith(u' ')) {
        return u"a blank at its start or end, which the server removes"_s;
    }
    if (value.contains(ignoreStart) || value.contains(ignoreEnd)) {
        return u"an ignore marker, which the server removes"_s;
    }
    return {};
}

/// The server takes a text that begins with a bracket for a list, and a list of one item for a
/// text.
bool isSentAsList(const QString &text)
{
    return text.startsWith(u'(');
}

QString reasonAgainstText(const QString &text)
{
    return isSentAsList(text) && text.contains(", "_L1)
               ? u"a bracket at its start, which makes it a list, and a comma with a blank"_s
               : reasonAgainst(text);
}

QString reasonAgainstItem(const QString &item)
{
    return item.contains(", "_L1) ? u"a comma with a blank, which separates list items"_s
                                  : reasonAgainst(item);
}

/// The beginning, long enough to recognise the value.
QString excerpt(const QString &value)
{
    constexpr qsizetype shown = 40;
    if (value.size() <= shown) {
        return printable(value);
    }
    const bool splitsPair = value[shown - 1].isHighSurrogate();
    return printable(value.left(splitsPair ? shown - 1 : shown)) + u'…';
}

QString refusal(const QString &what, const QString &value, const QString &reason)
{
    return u"The %1 \"%2\" cannot be sent: it holds %3."_s.arg(what, excerpt(value), reason);
}

QString refusalOfList(const QStringList &items)
{
    for (const QString &item : items) {
        const QString reason = reasonAgainstItem(item);
        if (!reason.isEmpty()) {
            return refusal(u"parameter"_s, item, reason);
        }
    }
    if (items.size() > 1 && items.last().isEmpty()) {
        return u"The last parameter cannot be sent: it is empty, and the server drops it."_s;
    }
    return {};
}

QString refusalOf(const Request &request)
{
    const QString list = refusalOfList(request.parameters.value_or(QStringList()));
    if (!list.isEmpty()) {
        return list;
    }
    const QString text = request.function.value_or(QString());
    const QString reason = reasonAgainstText(text);
    if (!reason.isEmpty()) {
        return refusal(u"text"_s, text, reason);
    }
    const bool needsTwoStretches =
        text.contains(u';') && request.parameters && request.parameters->join(u' ').contains(u';');
    return needsTwoStretches
               ? u"Two values hold a semicolon; the server takes it in one value only."_s
               : QString();
}

/// A semicolon would end the entry.
QString guarded(const QString &text)
{
    return text.contains(u';') ? ignoreStart + text + ignoreEnd : text;
}

QString listText(const QStringList &items)
{
    QStringList quoted;
    std::transform(items.begin(), items.end(), std::back_inserter(quoted),
                   [](const QString &item) { return u'"' + item + u'"'; });
    return u"( "_s + guarded(quoted.join(", "_L1)) + u" )"_s;
}

QString entry(const QString &key, const QString &value)
{
    return key + " = "_L1 + value + "; "_L1;
}

} // namespace

QString tagKey()
{
    return u"quillmote"_s;
}

QString questionKey()
{
    return u"question"_s;
}

QString keyBehindAnotherToken(const QString &key)
{
    return u"}{ "_s + key;
}

WrittenRequest writeRequest(const Request &request, quint64 tag)
{
    const QString reason = refusalOf(request);
    if (!reason.isEmpty()) {
        return {{}, reason};
    }
    QString text = u"{ "_s + entry(tagKey(), QString::number(tag));
    text += entry(u"cmdType"_s, request.command);
    if (request.parameters) {
        text += entry(u"cmdParameters"_s, listText(*request.parameters));
    }
    if (request.function) {
        text += entry(u"fncCommand"_s, isSentAsList(*request.function)
                                           ? listText({*request.function})
                                           : u'"' + guarded(*request.function) + u'"');
    }
    return {(text + u'}').toLatin1(), {}};
}

QByteArray writeQuestion(quint64 tag)
{
    return "{ question = " + QByteArray::number(tag) + "; cmdType = SERVER_INFO; }";
}

} // namespace quillmote
