// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionJson.h"

#include <QJsonDocument>
#include <QStringDecoder>
#include <QUtf8StringView>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype longestId = 64;

/// Counted before parsing, which calls itself at each level.
bool isTooDeep(const QByteArray &line)
{
    int depth = 0;
    bool isInText = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const char character = line[i];
        if (isInText && character == '\\') {
            ++i;
        } else if (character == '"') {
            isInText = !isInText;
        } else if (!isInText && (character == '{' || character == '[')) {
            ++depth;
        } else if (!isInText && (character == '}' || character == ']')) {
            --depth;
        }
        if (depth > SessionJson::deepest) {
            return true;
        }
    }
    return false;
}

bool isWhole(double number)
{
    return number >= 0 && number <= double(SessionJson::largestNumber) &&
           std::floor(number) == number;
}

} // namespace

std::optional<QJsonObject> SessionJson::read(const QByteArray &line)
{
    if (!QUtf8StringView(line).isValidUtf8() || isTooDeep(line)) {
        return std::nullopt;
    }
    const QJsonDocument document = QJsonDocument::fromJson(line);
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

QJsonValue SessionJson::idOf(const QJsonObject &request)
{
    const QJsonValue id = request.value("id"_L1);
    if (id.isDouble() && isWhole(id.toDouble())) {
        return id.toInteger();
    }
    const QString text = id.toString();
    const bool isUsable = id.isString() && text.size() <= longestId && isUnicode(text);
    return isUsable ? id : QJsonValue();
}

std::optional<qint64> SessionJson::sizeOfBody(const QJsonObject &request)
{
    const QJsonValue size = request.value("body"_L1);
    return size.isDouble() && isWhole(size.toDouble()) ? std::optional(size.toInteger())
                                                       : std::nullopt;
}

QByteArray SessionJson::written(QJsonObject message, const std::optional<QByteArray> &body)
{
    if (body) {
        message.insert("body"_L1, body->size());
    }
    QByteArray line = QJsonDocument(message).toJson(QJsonDocument::Compact) + '\n';
    return body ? line + *body : line;
}

QByteArray SessionJson::answer(const QJsonValue &id, const SessionReply &reply)
{
    QJsonObject message = reply.fields;
    message.insert("id"_L1, id);
    if (reply.error.isEmpty()) {
        message.insert("ok"_L1, true);
        return written(message, reply.body);
    }
    message.insert("error"_L1, reply.error);
    message.insert("message"_L1, reply.message);
    return written(message);
}

bool SessionJson::isUnicode(const QString &text)
{
    return QStringView(text).isValidUtf16();
}

std::optional<QString> SessionJson::textOf(const QByteArray &bytes)
{
    using Flag = QStringDecoder::Flag;
    QStringDecoder decoder(QStringDecoder::Utf8, Flag::Stateless | Flag::ConvertInitialBom);
    const QString text = decoder(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(text);
}

QString SessionJson::shown(const QString &text)
{
    constexpr qsizetype longest = 80;
    QString plain;
    for (const char32_t character : text.left(longest + 1).toUcs4()) {
        const bool isPlain = QChar::isPrint(character);
        plain += QString::fromUcs4(isPlain ? &character : U" ", 1);
    }
    return text.size() <= longest ? plain.trimmed() : plain.left(longest - 1).trimmed() + u'…';
}
