// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/RequestFields.h"

#include <QStringDecoder>
#include <QStringEncoder>

#include <cmath>

namespace RequestFields {
namespace {

std::optional<qint64> wholeNumber(const QJsonValue &value, qint64 lowest, qint64 highest)
{
    const double number = value.toDouble(-1);
    const bool isWhole = value.isDouble() && number == std::trunc(number);
    if (!isWhole || number < double(lowest) || number > double(highest)) {
        return std::nullopt;
    }
    return static_cast<qint64>(number);
}

} // namespace

std::optional<qint64> wholeNumber(const QJsonObject &fields, const QString &name, qint64 otherwise,
                                  qint64 lowest, qint64 highest)
{
    const QJsonValue value = fields.value(name);
    return value.isUndefined() ? otherwise : wholeNumber(value, lowest, highest);
}

std::optional<qint64> wholeNumber(const QJsonObject &fields, const QString &name)
{
    return wholeNumber(fields.value(name), 0, largestNumber);
}

std::optional<bool> yesOrNo(const QJsonObject &fields, const QString &name, bool otherwise)
{
    const QJsonValue value = fields.value(name);
    if (value.isUndefined()) {
        return otherwise;
    }
    return value.isBool() ? std::optional(value.toBool()) : std::nullopt;
}

std::optional<QByteArray> utf8(const QJsonValue &value)
{
    QStringEncoder encoder(QStringEncoder::Utf8, QStringEncoder::Flag::Stateless);
    const QByteArray bytes = encoder(value.toString());
    return value.isString() && !encoder.hasError() ? std::optional(bytes) : std::nullopt;
}

std::optional<QString> textOf(const QByteArray &bytes)
{
    using Flag = QStringDecoder::Flag;
    QStringDecoder decoder(QStringDecoder::Utf8, Flag::Stateless | Flag::ConvertInitialBom);
    const QString text = decoder(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(text);
}

} // namespace RequestFields
