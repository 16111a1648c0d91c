// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>

namespace quillmote {

/// The longest line and the longest body of a session, in bytes.
constexpr qsizetype longestSessionPart = 1024 * 1024;
/// The longest text of the clipboard, in bytes of UTF-8.
constexpr qsizetype longestClipboardText = 16 * 1024 * 1024;

/// One request over the session socket, as a value; see docs/session.md.
struct SessionMessage
{
    QString request;
    QJsonObject fields;
    std::optional<QByteArray> body;
    /// The answer may wait for a decision of a person.
    bool asksUser = false;

    static constexpr int notch = 120;

    /// What is sent in front of the body, with its line feed.
    QByteArray line(qint64 id) const;

    /// A key by its name or character. The action is "tap", "press" or "release".
    static SessionMessage key(const QString &key, const QStringList &modifiers = {},
                              const QString &action = QStringLiteral("tap"));
    static SessionMessage text(const QString &text);
    /// In pixels; right and down are positive.
    static SessionMessage move(double dx, double dy);
    /// The action is "click", "double", "press" or "release".
    static SessionMessage button(const QString &button, const QString &action);
    /// In units of which a notch of a wheel has `notch`; right and down are positive.
    static SessionMessage scroll(int dx, int dy);
    /// A piece of the text; the last one has none behind it.
    static SessionMessage setClipboard(const QByteArray &piece, bool hasMore);
    static SessionMessage getClipboard(qint64 offset);
    static SessionMessage watchClipboard();
    static SessionMessage openAddress(const QString &address);
    static SessionMessage openApplication(const QString &name);
    static SessionMessage applications();
    static SessionMessage beginFile(const QString &name, qint64 size, bool isOpened);
    static SessionMessage filePiece(const QJsonValue &file, const QByteArray &piece);
    static SessionMessage cancelFile(const QJsonValue &file);
    /// The files behind that name.
    static SessionMessage listFiles(const QString &after);
    static SessionMessage getFile(const QString &name, qint64 offset);
    static SessionMessage screens();
    static SessionMessage watchScreens();
    static SessionMessage pair(const QString &name, const QString &device);
    /// Where the server listens for the network, unchanged or from now on; empty: everywhere.
    static SessionMessage listen(const std::optional<QString> &address = std::nullopt);
    static SessionMessage ping();
};

} // namespace quillmote
