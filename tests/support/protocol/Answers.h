// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QStringList>
#include <QVariantMap>

#include <optional>

/// The entries of an answer in the server's compact form, each a QString or a QStringList;
/// nothing when the text has another form. Values may hold anything but quotes.
std::optional<QVariantMap> readAnswer(const QByteArray &text);

/// The answer's `serverResponse`, such as "OK"; "no answer" when there is none.
QString response(const std::optional<QVariantMap> &answer);

/// The answer's `cmdParameters`; none when there is no answer.
QStringList parameters(const std::optional<QVariantMap> &answer);
