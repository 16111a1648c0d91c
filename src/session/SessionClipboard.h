// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "session/SessionRequest.h"
#include "session/SharedAmount.h"
#include "session/SharedWatch.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

namespace platform {
class Clipboard;
}

/// The requests of one session about the clipboard. Texts pass exactly, whatever characters they
/// have; only what is no Unicode is refused.
///
/// An answer that is still to come when this object is destroyed does not come.
class SessionClipboard : public QObject
{
public:
    /// In bytes of UTF-8: the longest text, and what all sessions may hold of texts on their way.
    static constexpr qint64 longestText = 16 * 1024 * 1024;
    static constexpr qint64 textsOfAllSessions = 64 * 1024 * 1024;
    /// The answer when they would be more.
    static SessionReply tooMuchText();

    using Event = std::function<void(const QJsonObject &)>;

    /// \param texts of all sessions, in bytes
    /// \param watch over Clipboard::watch(), of all sessions
    SessionClipboard(platform::Clipboard &clipboard, SharedAmount &texts, SharedWatch &watch,
                     Event event);
    ~SessionClipboard() override;

    void set(const SessionRequest &request, const SessionAnswer &answer);
    void get(const SessionRequest &request, const SessionAnswer &answer);
    void watch(const SessionRequest &request, const SessionAnswer &answer);

private:
    SessionReply setWhole(const SessionRequest &request);
    SessionReply addPiece(const QByteArray &piece, bool hasMore);
    SessionReply append(const QByteArray &piece);
    SessionReply setReceived();
    void fetch(const SessionAnswer &answer);
    SessionReply keep(const std::optional<QString> &text);
    SessionReply pieceFrom(qint64 offset);

    platform::Clipboard &clipboard;
    SharedWatch &changes;
    Event sendEvent;
    std::unique_ptr<SharedWatch::Listener> listener;
    // The text that comes in pieces, or why it will not be set when its last piece has come.
    QByteArray received;
    std::optional<SessionReply> refusal;
    SharedAmount::Share receivedShare;
    // The text that is read in pieces.
    std::optional<QByteArray> snapshot;
    SharedAmount::Share snapshotShare;
};
