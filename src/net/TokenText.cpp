// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/TokenText.h"

#include "net/TextMemory.h"

#include <algorithm>
#include <limits>
#include <utility>

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

/// Where the token's own brace is looked for when something stands before it. By design: from
/// position 2 on, wherever the token opens, so a brace inside the token may be taken for it.
qsizetype braceAfterPrefix(const QString &text)
{
    return text.indexOf(u'{', 2);
}

/// The entries between the braces, without quotes and without the last ';'. By design: the first,
/// the last and then again the last character go, whatever they are.
QString bodyOf(QString text)
{
    text.remove(u'"');
    QString body = text.mid(1, std::max<qsizetype>(text.size() - 2, 0)).trimmed();
    body.chop(1);
    return body;
}

/// What an entry costs beyond its characters: it is a key and a value in memory, and one more in
/// the map.
constexpr qsizetype entryEffort = 64;

} // namespace

bool Reader::readSome(qsizetype effort, const EntryVisitor &visit)
{
    switch (step) {
    case Step::Collapse:
        found.text = collapsed(chunk);
        step = Step::Find;
        return true;
    case Step::Find:
        findToken();
        step = Step::Visit;
        break;
    case Step::Visit:
        visitSome(effort, visit);
        break;
    }
    return isInList || segmentBegin >= 0;
}

void Reader::findToken()
{
    const QString &text = found.text;
    const qsizetype open = text.indexOf(openingBrace);
    const qsizetype close = text.lastIndexOf(closingBrace);
    if (open == -1 || close == -1) {
        return;
    }
    if (open > close) {
        found.result = ReadResult::Reversed;
        return;
    }
    const qsizetype brace = open == 0 ? close : braceAfterPrefix(text);
    if (close <= brace) {
        found.result = ReadResult::Token;
        body = bodyOf(text);
    } else {
        found.result = ReadResult::TokenWithPrefix;
        const qsizetype begin = std::max<qsizetype>(brace, 0);
        body = bodyOf(text.mid(begin, close + closingBrace.size() - begin));
    }
    // Only the first pair of markers counts.
    ignored = {body.indexOf(ignoreStartMarker), body.indexOf(ignoreEndMarker)};
    segmentBegin = 0;
}

void Reader::visitSome(qsizetype effort, const EntryVisitor &visit)
{
    while (effort > 0 && (isInList || segmentBegin >= 0)) {
        effort -= entryEffort + (isInList ? takeItem(visit) : beginSegment(visit));
    }
}

/// Cuts the next entry off the body; `storage` holds it where markers had to be taken out. By
/// design:
/// a
/// ';' in front of everything never splits.
QStringView Reader::nextSegment(QString &storage)
{
    qsizetype end = body.indexOf(u';', std::max<qsizetype>(segmentBegin, 1));
    if (end != -1 && ignored->contains(end)) {
        end = body.indexOf(u';', ignored->end + 1);
    }
    const QStringView segment =
        QStringView(body).mid(segmentBegin, end < 0 ? -1 : end - segmentBegin);
    segmentBegin = end < 0 ? -1 : end + 1;
    if (!ignored->hasMarkers()) {
        return segment;
    }
    storage = segment.toString().remove(ignoreStartMarker).remove(ignoreEndMarker);
    return storage;
}

/// Visits the next entry unless it is a list, whose items are taken one by one. Returns the number
/// of characters.
qsizetype Reader::beginSegment(const EntryVisitor &visit)
{
    QString storage;
    const QStringView segment = nextSegment(storage);
    const qsizetype equals = segment.indexOf(equalsSign);
    // By design: without an equals sign the whole segment is the key, and the value starts at its
    // third character.
    const QStringView key = equals < 0 ? segment : segment.left(equals);
    const qsizetype valueStart = std::min(equals + equalsSign.size(), segment.size());
    QStringView value = segment.mid(valueStart).trimmed();
    if (!value.startsWith(u'(')) {
        visit(key.trimmed().toString(), value.toString());
        return segment.size();
    }
    // A value that begins with a bracket is a list, closed or not. By design: its last character is
    // removed, whatever it is.
    value.chop(1);
    listKey = key.trimmed().toString();
    listText = value.mid(1).trimmed().toString();
    itemBegin = 0;
    isInList = true;
    return segment.size();
}

/// Takes one item, and visits the list after the last item. Returns the number of characters.
qsizetype Reader::takeItem(const EntryVisitor &visit)
{
    const qsizetype end = listText.indexOf(itemSeparator, itemBegin);
    items.append(listText.mid(itemBegin, end < 0 ? -1 : end - itemBegin));
    itemBegin = end + itemSeparator.size();
    const qsizetype size = items.last().size();
    if (end < 0) {
        isInList = false;
        visit(std::exchange(listKey, {}), std::exchange(items, {}));
    }
    return size;
}

Reading read(QByteArrayView chunk, const EntryVisitor &visit)
{
    Reader reader(chunk);
    while (reader.readSome(std::numeric_limits<qsizetype>::max(), visit)) {
    }
    return reader.reading();
}

qsizetype Reader::memory() const
{
    const qsizetype characters = found.text.size() + body.size() + listText.size();
    // What the items hold is part of the list's text.
    return chunk.size() + (characters + listText.size()) * qsizetype(sizeof(QChar)) +
           items.size() * (qsizetype(sizeof(QString)) + textOverhead);
}

bool Writer::writeSome(QString &text, qsizetype size)
{
    const qsizetype end = text.size() + size;
    while (text.size() < end) {
        if (written < pending.size()) {
            const qsizetype count = std::min(end - text.size(), pending.size() - written);
            text += QStringView(pending).mid(written, count);
            written += count;
        } else if (!advance(text)) {
            return false;
        }
    }
    return true;
}

/// Writes what is between two texts, and selects the next one.
bool Writer::advance(QString &text)
{
    pending.clear();
    written = 0;
    switch (step) {
    case Step::Begin:
        text += u'{';
        entry = token.cbegin();
        step = Step::Key;
        break;
    case Step::Key:
        if (entry == token.cend()) {
            text += u'}';
            step = Step::End;
        } else {
            pending = entry.key();
            step = Step::Value;
        }
        break;
    case Step::Value:
        beginValue(text);
        break;
    case Step::TextEnd:
        text += "\";"_L1;
        ++entry;
        step = Step::Key;
        break;
    case Step::ItemEnd:
        endItem(text);
        break;
    case Step::End:
        return false;
    }
    return true;
}

void Writer::beginValue(QString &text)
{
    if (entry->typeId() != QMetaType::QStringList) {
        text += equalsSign;
        text += u'"';
        pending = entry->toString();
        step = Step::TextEnd;
        return;
    }
    items = entry->toStringList();
    item = 0;
    if (items.isEmpty()) {
        // By design: without an item there is no space before the bracket.
        text += " =();"_L1;
        ++entry;
        step = Step::Key;
        return;
    }
    text += equalsSign;
    text += "(\""_L1;
    pending = items.first();
    step = Step::ItemEnd;
}

void Writer::endItem(QString &text)
{
    text += u'"';
    if (++item < items.size()) {
        text += itemSeparator;
        text += u'"';
        pending = items.at(item);
        return;
    }
    // By design: a space after the last item.
    text += " );"_L1;
    items.clear();
    ++entry;
    step = Step::Key;
}

QString write(const TokenMap &token)
{
    QString text;
    Writer writer(token);
    while (writer.writeSome(text, std::numeric_limits<qsizetype>::max() - text.size())) {
    }
    return text;
}

} // namespace TokenText
