// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/AnswerReader.h"

#include "lib/RequestWriter.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

bool isTag(const QHash<QString, QVariant> &entries, const QString &key, quint64 tag)
{
    return entries.value(key).toString() == QString::number(tag);
}

} // namespace

QString Answer::response() const
{
    return entries.value(u"serverResponse"_s).toString();
}

QStringList Answer::parameters() const
{
    return entries.value(u"cmdParameters"_s).toStringList();
}

bool Answer::holds(quint64 tag) const
{
    return isTag(entries, tagKey(), tag) || isTag(entries, keyBehindAnotherToken(tagKey()), tag);
}

Confirmation Answer::confirmation(quint64 tag) const
{
    if (isTag(entries, keyBehindAnotherToken(questionKey()), tag)) {
        return Confirmation::NotCarriedOut;
    }
    if (!isTag(entries, questionKey(), tag)) {
        return Confirmation::None;
    }
    return holds(tag) ? Confirmation::CarriedOut : Confirmation::NotCarriedOut;
}

std::optional<Answer> AnswerReader::take()
{
    const qsizetype size = scanner.scan(buffer);
    if (size == 0) {
        return std::nullopt;
    }
    const Answer answer{scanner.takeEntries()};
    scanner = {};
    buffer.remove(0, size);
    return answer;
}

bool AnswerReader::isGarbage() const
{
    const bool startsAsNone = !buffer.isEmpty() && !buffer.startsWith('{');
    return startsAsNone || buffer.size() > maximumSize || scanner.isOverfull();
}

} // namespace quillmote
