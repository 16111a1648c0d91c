// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <functional>
#include <optional>

/// One request of a session, see docs/session.md.
struct SessionRequest
{
    QJsonValue id;
    QString name;
    QJsonObject fields;             ///< All of the line.
    std::optional<QByteArray> body; ///< If it has announced one; only its rest if it came in parts.
};

/// The answer to a request, without its id.
struct SessionReply
{
    QJsonObject fields;
    std::optional<QByteArray> body;
    QString error; ///< The word for programs; empty if it is done.
    QString message;

    static SessionReply done(const QJsonObject &fields = {}) { return {fields, {}, {}, {}}; }
    static SessionReply refused(const QString &error, const QString &message)
    {
        return {{}, {}, error, message};
    }
};

/// Called exactly once, at once or later.
using SessionAnswer = std::function<void(const SessionReply &)>;
