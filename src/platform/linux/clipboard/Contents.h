// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArrayList>
#include <QMap>
#include <QString>

#include <optional>

namespace platform {

/// The contents of a selection by their types.
using Contents = QMap<QByteArray, QByteArray>;

/// The best type of plain text; none if there is none. All of them are UTF-8. By design: a list of
/// files is no text.
std::optional<QByteArray> textTypeOf(const QByteArrayList &types);

/// A text under each type of plain text.
Contents contentsOf(const QString &text);
/// The same, with the mark by which programs that keep a history leave it out, as they do with
/// passwords.
Contents passingContentsOf(const QString &text);

/// Their types, those of plain text first, the best first of all.
QByteArrayList typesOf(const Contents &contents);

/// The plain text; none if there is none.
std::optional<QString> textOf(const Contents &contents);

/// What must be read of contents with these types so that they can be put back. One of several
/// types that mean the same is enough: a plain text, a picture. None if they cannot be put back, as
/// what a password manager lends for a moment.
std::optional<QByteArrayList> typesToKeep(const QByteArrayList &types);

} // namespace platform
