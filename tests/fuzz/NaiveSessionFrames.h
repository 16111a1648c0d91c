// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QRegularExpression>
#include <QStringDecoder>

#include <algorithm>
#include <cmath>
#include <optional>

/// A second reading of what docs/session.md says about lines, bodies and ids: of all bytes at once,
/// and in no hurry.
namespace NaiveSessionFrames {

constexpr qsizetype longest = 1024 * 1024;

inline bool isUtf8(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(bytes);
    return !decoder.hasError();
}

/// Of brackets outside of texts.
inline int depthOf(const QByteArray &line)
{
    static const QRegularExpression text(QStringLiteral("\"(?:[^\"\\\\]++|\\\\.)*+(?:\"|$)"),
                                         QRegularExpression::DotMatchesEverythingOption);
    const QString rest = QString::fromLatin1(line).remove(text);
    int depth = 0;
    int deepest = 0;
    for (const QChar character : rest) {
        depth += (character == u'{' || character == u'[') ? 1 : 0;
        depth -= (character == u'}' || character == u']') ? 1 : 0;
        deepest = std::max(depth, deepest);
    }
    return deepest;
}

inline std::optional<qint64> wholeNumber(const QJsonValue &value)
{
    const double number = value.toDouble(-1);
    const bool isWhole = value.isDouble() && number >= 0 && number <= 9'007'199'254'740'991 &&
                         std::fmod(number, 1) == 0;
    return isWhole ? std::optional(qint64(number)) : std::nullopt;
}

inline QJsonValue idOf(const QJsonObject &request)
{
    const QJsonValue id = request.value(QStringLiteral("id"));
    if (const auto number = wholeNumber(id)) {
        return *number;
    }
    const bool isUsable =
        id.isString() && id.toString().size() <= 64 && id.toString().isValidUtf16();
    return isUsable ? id : QJsonValue();
}

/// The ids of all answers to these bytes, after which nothing more comes.
inline QList<QJsonValue> answeredIds(QByteArray bytes)
{
    QList<QJsonValue> ids;
    for (qsizetype end = bytes.indexOf('\n'); end >= 0; end = bytes.indexOf('\n')) {
        const QByteArray line = bytes.first(end);
        bytes = bytes.sliced(end + 1);
        const QJsonDocument document = QJsonDocument::fromJson(line);
        if (line.size() > longest || !isUtf8(line) || depthOf(line) > 32 || !document.isObject()) {
            ids.append(QJsonValue());
            continue;
        }
        const QJsonObject request = document.object();
        const qint64 body = wholeNumber(request.value(QStringLiteral("body"))).value_or(0);
        if (bytes.size() < body) {
            break;
        }
        bytes = bytes.sliced(body);
        ids.append(idOf(request));
    }
    return ids;
}

} // namespace NaiveSessionFrames
