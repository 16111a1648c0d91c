// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "messages/Messages.h"

#include <QDebug>

namespace Messages {

QString streamed(std::initializer_list<QString> items)
{
    // Appended one by one: a diagnostic may contain a token of 1 MiB, and copies of it are
    // expensive.
    QString text;
    for (const QString &item : items) {
        text += item;
        text += u' ';
    }
    return text;
}

QString quoted(const QString &text)
{
    return u'"' + text + u'"';
}

// Without automatic spaces the stream passes on exactly what it is given.

void warning(std::initializer_list<QString> items)
{
    qWarning().nospace().noquote() << streamed(items);
}

void debug(std::initializer_list<QString> items)
{
    qDebug().nospace().noquote() << streamed(items);
}

} // namespace Messages
