// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "session/SessionRequest.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

/// The lines of a session as JSON, and JSON as lines.
namespace SessionJson {

/// How deeply objects and lists may be nested.
constexpr int deepest = 32;
/// The largest whole number that every program can tell exactly.
constexpr qint64 largestNumber = 9'007'199'254'740'991;

/// The object in a line; none if it is no object, no UTF-8, or nested too deeply.
std::optional<QJsonObject> read(const QByteArray &line);

/// The id of a request; null if it has none that could be answered.
QJsonValue idOf(const QJsonObject &request);

/// The announced size of its body; none if there is none, or no whole number.
std::optional<qint64> sizeOfBody(const QJsonObject &request);

/// A line with its line feed, and the body if there is one.
QByteArray written(QJsonObject message, const std::optional<QByteArray> &body = std::nullopt);
/// The answer to a request of that id.
QByteArray answer(const QJsonValue &id, const SessionReply &reply);

/// Whether each half of a surrogate pair has its other half.
bool isUnicode(const QString &text);
/// The text that these bytes are, with a mark of the byte order if it begins with one; none if they
/// are not UTF-8.
std::optional<QString> textOf(const QByteArray &bytes);
/// Cut to a length that is good in a sentence, without control characters and half pairs.
QString shown(const QString &text);

} // namespace SessionJson
