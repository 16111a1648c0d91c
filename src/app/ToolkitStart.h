// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DisplayAccess.h"

#include <QByteArray>
#include <QList>
#include <QMutex>
#include <QString>

/// Lives while the application object is made. If the toolkit cannot start, which it tells by a
/// fatal message and would end by an abort, this says why in a sentence and exits with status 1.
/// Whether the toolkit starts is its own decision; nothing is guessed before. Other messages are
/// kept until the start has succeeded and are then passed on. At most one may exist.
class ToolkitStart
{
public:
    explicit ToolkitStart(const platform::DisplayChoice &choice);
    ~ToolkitStart();
    ToolkitStart(const ToolkitStart &) = delete;
    ToolkitStart &operator=(const ToolkitStart &) = delete;

private:
    struct Message
    {
        QtMsgType type = QtDebugMsg;
        QByteArray category;
        QString text;
    };

    static void take(QtMsgType type, const QMessageLogContext &context, const QString &text);
    [[noreturn]] void refuse(const QString &fatalText);
    QString complaint(const QString &fatalText);

    platform::DisplayChoice display;
    QtMessageHandler previousHandler = nullptr;
    QMutex mutex; // messages come from other threads too
    QList<Message> messages;
};
