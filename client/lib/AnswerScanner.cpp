// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/AnswerScanner.h"

#include <QStringList>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

constexpr QByteArrayView emptyList = "();"; // written without a blank in front
constexpr QByteArrayView listBegin = " (\"";
constexpr QByteArrayView textBegin = " \"";
constexpr QByteArrayView listEnd = "\" );";
constexpr QByteArrayView textEnd = "\";";
constexpr QByteArrayView betweenItems = "\", \"";
constexpr QByteArrayView behindKey = " =";

constexpr std::array valueBegins = {emptyList, listBegin, textBegin};

bool isValueBegin(QByteArrayView text)
{
    return std::any_of(valueBegins.begin(), valueBegins.end(),
                       [&](QByteArrayView begin) { return text.startsWith(begin); });
}

bool mayBecomeValueBegin(QByteArrayView text)
{
    return std::any_of(valueBegins.begin(), valueBegins.end(),
                       [&](QByteArrayView begin) { return begin.startsWith(text); });
}

} // namespace

qsizetype AnswerScanner::scan(QByteArrayView allBytes)
{
    bytes = allBytes;
    while (step()) {
    }
    bytes = {};
    return state == State::End ? position + 1 : 0;
}

/// True if reading can go on.
bool AnswerScanner::step()
{
    switch (state) {
    case State::Begin:
        return readBrace();
    case State::Key:
        return readKey();
    case State::Value:
        return beginValue();
    case State::Text:
    case State::List:
        return readValue();
    case State::End:
    case State::Broken:
    case State::Overfull:
        break;
    }
    return false;
}

void AnswerScanner::enter(State next, qsizetype at)
{
    state = next;
    position = searched = inspected = at;
}

bool AnswerScanner::readBrace()
{
    if (bytes.isEmpty()) {
        return false;
    }
    enter(bytes.startsWith('{') ? State::Key : State::Broken, 1);
    return true;
}

bool AnswerScanner::readKey()
{
    if (isEnd(position)) {
        state = State::End;
        return false;
    }
    const qsizetype end = bytes.indexOf(behindKey, searched);
    if (end == -1) {
        searched = std::max(position, bytes.size() - 1);
        return false;
    }
    key = QString::fromLatin1(bytes.sliced(position, end - position));
    enter(State::Value, end + behindKey.size());
    return true;
}

bool AnswerScanner::beginValue()
{
    const QByteArrayView rest = bytes.sliced(position);
    if (rest.startsWith(emptyList)) {
        enter(State::Key, position + emptyList.size());
        store(QStringList());
    } else if (rest.startsWith(listBegin)) {
        enter(State::List, position + listBegin.size());
    } else if (rest.startsWith(textBegin)) {
        enter(State::Text, position + textBegin.size());
    } else if (mayBecomeValueBegin(rest)) {
        return false;
    } else {
        state = State::Broken;
    }
    return true;
}

/// Reads up to the first ending that is followed by an entry or by the end of the answer.
bool AnswerScanner::readValue()
{
    const bool isList = state == State::List;
    const QByteArrayView ending = isList ? listEnd : textEnd;
    qsizetype end = -1;
    while ((end = bytes.indexOf(ending, searched)) != -1) {
        searched = end;
        const Border border = borderAt(end + ending.size());
        if (border == Border::Unknown) {
            return false;
        }
        if (border == Border::Yes) {
            const QByteArrayView value = bytes.sliced(position, end - position);
            enter(State::Key, end + ending.size());
            isList ? storeList(value) : store(QString::fromLatin1(value));
            return true;
        }
        searched = inspected = end + 1;
    }
    searched = std::max(searched, bytes.size() - ending.size() + 1);
    return false;
}

void AnswerScanner::store(const QVariant &value)
{
    entries.insert(key, value);
    if (entries.size() > maximumEntries) {
        state = State::Overfull;
    }
}

void AnswerScanner::storeList(QByteArrayView list)
{
    items += list.count(betweenItems) + 1;
    if (items > maximumItems) {
        state = State::Overfull;
        return;
    }
    store(QString::fromLatin1(list).split(QString::fromLatin1(betweenItems)));
}

/// A brace that is followed by nothing, or by another answer. Keys may hold braces, but never start
/// with a blank.
bool AnswerScanner::isEnd(qsizetype at) const
{
    const QByteArrayView rest = bytes.sliced(at);
    if (!rest.startsWith('}')) {
        return false;
    }
    const QByteArrayView behind = rest.sliced(1);
    return behind.isEmpty() || (behind.startsWith('{') && !behind.startsWith("{ "));
}

/// Whether the answer ends here or another entry begins, whose key holds no quote. The search stops
/// at the next quote, where the next ending may be, so no byte is inspected for two endings.
AnswerScanner::Border AnswerScanner::borderAt(qsizetype at)
{
    if (isEnd(at)) {
        return Border::Yes;
    }
    const qsizetype from = std::max(at, inspected);
    const qsizetype quote = bytes.indexOf('"', from);
    const qsizetype end = bytes.first(quote == -1 ? bytes.size() : quote).indexOf(behindKey, from);
    if (end != -1) {
        inspected = end;
        const QByteArrayView value = bytes.sliced(end + behindKey.size());
        if (isValueBegin(value)) {
            return Border::Yes;
        }
        return mayBecomeValueBegin(value) ? Border::Unknown : Border::No;
    }
    inspected = std::max(at, bytes.size() - 1);
    return quote == -1 ? Border::Unknown : Border::No;
}

} // namespace quillmote
