// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

/// The fields of requests, by the types and ranges that they must have.
namespace RequestFields {

/// The largest whole number that every program can tell exactly.
constexpr qint64 largestNumber = 9'007'199'254'740'991;

/// Nothing if it is not a whole number in this range; `otherwise` if it is not there.
std::optional<qint64> wholeNumber(const QJsonObject &fields, const QString &name, qint64 otherwise,
                                  qint64 lowest, qint64 highest);
/// Nothing if it is not there or no whole number from 0 on.
std::optional<qint64> wholeNumber(const QJsonObject &fields, const QString &name);
/// Nothing if it is neither true nor false; `otherwise` if it is not there.
std::optional<bool> yesOrNo(const QJsonObject &fields, const QString &name, bool otherwise);
/// The text as UTF-8; nothing if it is no text or no Unicode.
std::optional<QByteArray> utf8(const QJsonValue &value);
/// The text that these bytes are, with a mark of the byte order if it begins with one; nothing if
/// they are not UTF-8.
std::optional<QString> textOf(const QByteArray &bytes);

} // namespace RequestFields
