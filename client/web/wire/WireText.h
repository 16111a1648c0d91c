// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QJsonObject>

#include <optional>

namespace quillmote {

/// The text of a message: one JSON object, a line feed, and a body of any bytes, which may be
/// empty.
struct WireText
{
    QJsonObject object;
    QByteArray body;

    /// How deeply objects and lists may be nested.
    static constexpr int deepest = 32;
    /// The longest body of a piece of a file or of the clipboard, in bytes.
    static constexpr qsizetype longestPiece = 128 * 1024;

    QByteArray toBytes() const;
    /// Nothing if it has no line feed, is not UTF-8 or one object, or is nested too deeply.
    static std::optional<WireText> fromBytes(const QByteArray &bytes);
};

} // namespace quillmote
