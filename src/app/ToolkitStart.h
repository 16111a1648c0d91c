// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DisplayAccess.h"

#include <QByteArray>
#include <QList>
#include <QMutex>
#include <QString>

/// Must live while the application object is constructed. If the toolkit cannot start, it writes a
/// fatal message and would abort; this class prints the reason in one sentence and exits with
/// status 1 instead. Whether the toolkit can start is never guessed beforehand. Other messages are
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
    QMutex mutex; // other threads write messages too
    QList<Message> messages;
};
