// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/AnswerReader.h"

#include "lib/RequestWriter.h"

#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// Reads one answer from the start of the bytes.
class Scanner
{
public:
    explicit Scanner(QByteArrayView answer) : bytes(answer) {}

    /// How many bytes the answer takes; 0 when it is not whole.
    qsizetype scan(QHash<QString, QVariant> &entries)
    {
        if (!skip("{")) {
            return 0;
        }
        while (!isEnd(position)) {
            if (!scanEntry(entries)) {
                return 0;
            }
        }
        return position + 1;
    }

private:
    bool startsWith(QByteArrayView text, qsizetype at) const
    {
        return bytes.sliced(at).startsWith(text);
    }

    bool skip(QByteArrayView text)
    {
        const bool isThere = startsWith(text, position);
        position += isThere ? text.size() : 0;
        return isThere;
    }

    bool scanEntry(QHash<QString, QVariant> &entries)
    {
        const qsizetype equals = bytes.indexOf(" =", position);
        if (equals == -1) {
            return false;
        }
        const QString key = QString::fromLatin1(bytes.sliced(position, equals - position));
        position = equals + 2;
        const std::optional<QVariant> value = scanValue();
        if (value) {
            entries.insert(key, *value);
        }
        return value.has_value();
    }

    std::optional<QVariant> scanValue()
    {
        // An empty list has lost the blank in front of it.
        if (skip("();")) {
            return QStringList();
        }
        if (skip(" (\"")) {
            const auto items = upTo("\" );");
            return items ? std::optional<QVariant>(items->split(u"\", \""_s)) : std::nullopt;
        }
        if (skip(" \"")) {
            const auto text = upTo("\";");
            return text ? std::optional<QVariant>(*text) : std::nullopt;
        }
        return std::nullopt;
    }

    /// The text before the first such ending behind which an answer can go on.
    std::optional<QString> upTo(QByteArrayView ending)
    {
        for (qsizetype end = bytes.indexOf(ending, position); end != -1;
             end = bytes.indexOf(ending, end + 1)) {
            if (isBorder(end + ending.size())) {
                const QString text = QString::fromLatin1(bytes.sliced(position, end - position));
                position = end + ending.size();
                return text;
            }
        }
        return std::nullopt;
    }

    /// A brace behind which nothing comes, or another answer. Keys may hold braces, but never start
    /// with a blank.
    bool isEnd(qsizetype at) const
    {
        if (!startsWith("}", at)) {
            return false;
        }
        const QByteArrayView behind = bytes.sliced(at + 1);
        return behind.isEmpty() || (behind.startsWith('{') && !behind.startsWith("{ "));
    }

    /// True when the answer ends here or another entry begins.
    bool isBorder(qsizetype at) const
    {
        if (isEnd(at)) {
            return true;
        }
        const qsizetype equals = bytes.indexOf(" =", at);
        if (equals == -1 || bytes.sliced(at, equals - at).contains('"')) {
            return false;
        }
        return startsWith(" \"", equals + 2) || startsWith(" (\"", equals + 2) ||
               startsWith("();", equals + 2);
    }

    QByteArrayView bytes;
    qsizetype position = 0;
};

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
    if (!mayHoldWholeAnswer()) {
        return std::nullopt;
    }
    Answer answer;
    const qsizetype size = Scanner(buffer).scan(answer.entries);
    buffer.remove(0, size);
    searched = size == 0 ? buffer.size() : 0;
    return size == 0 ? std::nullopt : std::optional(answer);
}

/// An answer ends with its last entry and a brace. Until another such end has come, looking again
/// would be in vain, and dear: a large answer comes in many pieces.
bool AnswerReader::mayHoldWholeAnswer() const
{
    const qsizetype from = std::max<qsizetype>(searched - 1, 0);
    return buffer.indexOf(";}", from) != -1 || buffer.indexOf("{}", from) != -1;
}

bool AnswerReader::isGarbage() const
{
    return buffer.size() > maximumSize || (!buffer.isEmpty() && !buffer.startsWith('{'));
}

} // namespace quillmote
