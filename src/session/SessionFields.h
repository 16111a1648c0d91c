// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "session/SessionRequest.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <initializer_list>
#include <optional>

/// Reads the fields of a request and checks their types and ranges. The first fault is kept, and
/// what was read then has no meaning.
class SessionFields
{
public:
    explicit SessionFields(const QJsonObject &request) : fields(request) {}

    bool has(QLatin1StringView name) const { return fields.contains(name); }

    /// A text of Unicode characters with a length in that range, in UTF-16.
    QString text(QLatin1StringView name, qsizetype shortest, qsizetype longest);
    /// One of these words, the first of which is the default.
    int choice(QLatin1StringView name, std::initializer_list<QLatin1StringView> words);
    double number(QLatin1StringView name, double least, double most);
    /// A whole number; the default if there is none and there is a default.
    qint64 whole(QLatin1StringView name, qint64 least, qint64 most,
                 std::optional<qint64> absent = std::nullopt);
    /// Whether it is true; the default if there is none.
    bool yesOrNo(QLatin1StringView name, bool absent);
    /// A list of texts; empty by default.
    QStringList texts(QLatin1StringView name);

    /// Keeps a fault that the caller has found.
    void refuse(const QString &why);
    bool isGood() const { return fault.isEmpty(); }
    /// The answer to a request with a fault.
    SessionReply reply() const;

private:
    const QJsonObject &fields;
    QString fault;
};
