// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionFields.h"

#include "session/SessionJson.h"

#include <QJsonArray>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

QString SessionFields::text(QLatin1StringView name, qsizetype shortest, qsizetype longest)
{
    const QJsonValue value = fields.value(name);
    const QString found = value.toString();
    if (!value.isString()) {
        refuse(u"\"%1\" must be a text."_s.arg(name));
    } else if (found.size() < shortest || found.size() > longest) {
        refuse(
            u"\"%1\" must have from %2 to %3 characters."_s.arg(name).arg(shortest).arg(longest));
    } else if (!SessionJson::isUnicode(found)) {
        refuse(u"\"%1\" has half of a surrogate pair."_s.arg(name));
    }
    return found;
}

int SessionFields::choice(QLatin1StringView name, std::initializer_list<QLatin1StringView> words)
{
    if (!has(name)) {
        return 0;
    }
    const QJsonValue value = fields.value(name);
    const auto *const found = std::find(words.begin(), words.end(), value.toString());
    if (!value.isString() || found == words.end()) {
        QStringList quoted;
        for (const QLatin1StringView word : words) {
            quoted.append(u'"' + word + u'"');
        }
        refuse(u"\"%1\" must be one of %2."_s.arg(name, quoted.join(u", "_s)));
        return 0;
    }
    return static_cast<int>(found - words.begin());
}

double SessionFields::number(QLatin1StringView name, double least, double most)
{
    const QJsonValue value = fields.value(name);
    const double found = value.toDouble();
    if (!value.isDouble() || !(found >= least && found <= most)) {
        refuse(u"\"%1\" must be a number from %2 to %3."_s.arg(name)
                   .arg(least, 0, 'f', -1)
                   .arg(most, 0, 'f', -1));
    }
    return found;
}

qint64 SessionFields::whole(QLatin1StringView name, qint64 least, qint64 most,
                            std::optional<qint64> absent)
{
    if (absent && !has(name)) {
        return *absent;
    }
    const QJsonValue value = fields.value(name);
    const double found = value.toDouble();
    const bool isInRange =
        found >= static_cast<double>(least) && found <= static_cast<double>(most);
    if (!value.isDouble() || !isInRange || std::floor(found) != found) {
        refuse(u"\"%1\" must be a whole number from %2 to %3."_s.arg(name).arg(least).arg(most));
        return least;
    }
    return static_cast<qint64>(found);
}

bool SessionFields::yesOrNo(QLatin1StringView name, bool absent)
{
    const QJsonValue value = fields.value(name);
    if (has(name) && !value.isBool()) {
        refuse(u"\"%1\" must be true or false."_s.arg(name));
    }
    return value.toBool(absent);
}

QStringList SessionFields::texts(QLatin1StringView name)
{
    QStringList found;
    const QJsonValue value = fields.value(name);
    if (has(name) && !value.isArray()) {
        refuse(u"\"%1\" must be a list."_s.arg(name));
    }
    for (const QJsonValue entry : value.toArray()) {
        if (!entry.isString()) {
            refuse(u"\"%1\" must be a list of texts."_s.arg(name));
        }
        found.append(entry.toString());
    }
    return found;
}

void SessionFields::refuse(const QString &why)
{
    if (isGood()) {
        fault = why;
    }
}

SessionReply SessionFields::reply() const
{
    return SessionReply::refused(u"bad-request"_s, fault);
}
