// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/// Texts on their way to the server of this desktop.
namespace quillmote::LocalText {

/// Why the text cannot be typed, as a sentence; empty if it can be.
QString problemWithTyping(const QString &text);

/// Characters typed by one request: few enough to be typed within the time limit, even where a
/// character takes many milliseconds.
inline constexpr qsizetype typedPiece = 100;

/// The text in pieces that are typed one after the other. None of them splits a character or a line
/// break.
QStringList pieces(const QString &text, qsizetype longest);

/// The text of these bytes; none if they are not UTF-8.
std::optional<QString> fromUtf8(const QByteArray &bytes);

/// Without the line break at the end that a program adds to its output.
QByteArray withoutLastLineBreak(QByteArray text);

} // namespace quillmote::LocalText
