// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/TokenText.h"

#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace TokenText {
namespace {

constexpr QLatin1StringView openingBrace("{ ");
constexpr QLatin1StringView closingBrace(" }");
constexpr QLatin1StringView equalsSign(" = ");
constexpr QLatin1StringView itemSeparator(", ");
constexpr QLatin1StringView ignoreStartMarker("[[[IGNORE]]]");
constexpr QLatin1StringView ignoreEndMarker("[[[ENDIGNORE]]]");

QString collapsed(QByteArrayView chunk)
{
    const qsizetype nul = chunk.indexOf('\0');
    return QString::fromLatin1(nul < 0 ? chunk : chunk.first(nul)).simplified();
}

/// Where the token's own brace is looked for when something stands before it. Wanted: from
/// position 2 on, wherever the token opens, so a brace inside the token may be taken for it.
qsizetype braceAfterPrefix(const QString &text)
{
    return text.indexOf(u'{', 2);
}

/// The entries between the braces, without quotes and without the last ';'. Wanted: the first, the
/// last and then again the last character go, whatever they are.
QString bodyOf(QString text)
{
    text.remove(u'"');
    QString body = text.mid(1, std::max<qsizetype>(text.size() - 2, 0)).trimmed();
    body.chop(1);
    return body;
}

/// The stretch in which ';' does not end an entry. Only the first pair of markers counts.
struct IgnoreStretch
{
    explicit IgnoreStretch(const QString &body)
        : start(body.indexOf(ignoreStartMarker))
        , end(body.indexOf(ignoreEndMarker))
    {
    }

    bool contains(qsizetype position) const
    {
        return start != -1 && start <= position && position <= end;
    }

    bool hasMarkers() const { return start != -1 || end != -1; }

    qsizetype start;
    qsizetype end;
};

/// A value that opens a bracket is a list, closed or not. Wanted: its last character goes whatever
/// it is.
QVariant valueOf(QStringView text)
{
    if (!text.startsWith(u'(')) {
        return text.toString();
    }
    text.chop(1);
    return text.mid(1).trimmed().toString().split(itemSeparator);
}

void visitSegment(QStringView segment, const EntryVisitor &visit)
{
    const qsizetype equals = segment.indexOf(equalsSign);
    // Wanted: without an equals sign the whole segment is the key, and the value starts at its
    // third character.
    const QStringView key = equals < 0 ? segment : segment.left(equals);
    const qsizetype valueStart = std::min(equals + equalsSign.size(), segment.size());
    visit(key.trimmed().toString(), valueOf(segment.mid(valueStart).trimmed()));
}

QString withoutMarkers(QStringView segment)
{
    return segment.toString().remove(ignoreStartMarker).remove(ignoreEndMarker);
}

void visitSegments(const QString &body, const EntryVisitor &visit)
{
    const IgnoreStretch ignored(body);
    const auto visitOne = [&](QStringView segment) {
        if (ignored.hasMarkers()) {
            visitSegment(withoutMarkers(segment), visit);
        } else {
            visitSegment(segment, visit);
        }
    };
    const QStringView text(body);
    qsizetype begin = 0;
    // Wanted: a ';' in front of everything never splits.
    for (qsizetype end = body.indexOf(u';', 1); end != -1; end = body.indexOf(u';', end + 1)) {
        if (!ignored.contains(end)) {
            visitOne(text.mid(begin, end - begin));
            begin = end + 1;
        }
    }
    visitOne(text.mid(begin));
}

void appendList(QString &text, const QStringList &items)
{
    text += u'(';
    for (const QString &item : items) {
        text += u'"';
        text += item;
        text += "\", "_L1;
    }
    // Wanted: what goes is the last but one character of the whole text. That is the comma behind
    // the last item, and with no item the blank in front of the bracket.
    text.remove(text.size() - 2, 1);
    text += ");"_L1;
}

} // namespace

Reading read(QByteArrayView chunk, const EntryVisitor &visit)
{
    const QString text = collapsed(chunk);
    const qsizetype open = text.indexOf(openingBrace);
    const qsizetype close = text.lastIndexOf(closingBrace);
    if (open == -1 || close == -1) {
        return {ReadResult::NotAToken, text};
    }
    if (open > close) {
        return {ReadResult::Reversed, text};
    }
    const qsizetype brace = open == 0 ? close : braceAfterPrefix(text);
    if (close <= brace) {
        visitSegments(bodyOf(text), visit);
        return {ReadResult::Token, text};
    }
    const qsizetype begin = std::max<qsizetype>(brace, 0);
    visitSegments(bodyOf(text.mid(begin, close + closingBrace.size() - begin)), visit);
    return {ReadResult::TokenWithPrefix, text};
}

QString write(const TokenMap &token)
{
    QString text = u"{"_s;
    for (auto entry = token.cbegin(); entry != token.cend(); ++entry) {
        text += entry.key() + equalsSign;
        if (entry->typeId() == QMetaType::QStringList) {
            appendList(text, entry->toStringList());
        } else {
            text += u'"';
            text += entry->toString();
            text += "\";"_L1;
        }
    }
    text += u'}';
    return text;
}

} // namespace TokenText
