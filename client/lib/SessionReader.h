// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QJsonObject>

#include <optional>

namespace quillmote {

/// What the server says in one line, with the bytes behind it.
struct SessionLine
{
    QJsonObject object;
    QByteArray body;
};

/// Splits the bytes of a session into lines and bodies. It stores little more than one line and one
/// body, whatever arrives.
class SessionReader
{
public:
    void append(const QByteArray &bytes);
    /// The next line, once all of it and of its body have arrived.
    std::optional<SessionLine> take();
    /// Whether something else than such lines has arrived. Nothing more is taken then.
    bool isGarbage() const { return garbage; }

private:
    void takeLine();
    void read(const QByteArray &text);

    QByteArray unread;
    qsizetype searched = 0; // bytes of `unread` without a line feed
    std::optional<SessionLine> begun;
    qsizetype bodySize = 0; // of the line that has begun
    bool garbage = false;
};

} // namespace quillmote
