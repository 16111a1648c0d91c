// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace quillmote {

enum class Button { Left = 0, Right = 1, Center = 2 };

/// One command to the server, as a value. Its content is checked when it is written.
struct Request
{
    QString command;
    std::optional<QStringList> parameters;
    std::optional<QString> function;
    /// False for input commands, which the server does not answer.
    bool isAnswered = true;
    /// The answer may wait for a decision of a person.
    bool asksUser = false;
    /// Carrying it out twice does no harm, so it is sent again if no answer comes.
    bool isRepeatable = false;

    static Request serverInfo();
    static Request pair(const QString &deviceIdentifier, const QString &deviceName);
    static Request openUrl(const QString &url);
    static Request copy(const QString &text);
    static Request paste();
    /// The name of a key, or a shortcut such as "Cmd+Q".
    static Request key(const QString &shortcut);
    static Request click(Button button);
    /// In pixels; right and down are positive.
    static Request move(int dx, int dy);
    static Request sendFile(const QString &name, quint64 announcedSize);
};

} // namespace quillmote
