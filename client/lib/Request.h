// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace quillmote {

enum class Button { Left = 0, Right = 1, Center = 2 };

/// One command to the server, as a value. What it may hold is checked when it is written.
struct Request
{
    QString command;
    std::optional<QStringList> parameters;
    std::optional<QString> function;
    /// False for commands of input, which the server carries out in silence.
    bool isAnswered = true;
    /// The answer waits for a person.
    bool asksUser = false;
    /// Carrying it out twice does no harm, so it is sent again when no answer comes.
    bool isRepeatable = false;

    static Request serverInfo();
    static Request pair(const QString &deviceIdentifier, const QString &deviceName);
    static Request openUrl(const QString &url);
    static Request copy(const QString &text);
    static Request paste();
    /// A key's name or a shortcut such as "Cmd+Q".
    static Request key(const QString &shortcut);
    static Request click(Button button);
    /// By pixels: right and down are positive.
    static Request move(int dx, int dy);
    static Request sendFile(const QString &name, quint64 announcedSize);
};

} // namespace quillmote
