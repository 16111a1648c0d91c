// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

/// What lies in a folder, by paths below it; links are not followed.
namespace Folders {

/// Everything in the folder and below: a file's bytes in short (its size and hash), a link's
/// target, or what else it is.
QMap<QString, QByteArray> listing(const QString &folder);

/// The paths that came, went or changed from one listing to the other, in order.
QStringList differences(const QMap<QString, QByteArray> &before,
                        const QMap<QString, QByteArray> &after);

/// The bytes of a file; empty when there is none.
QByteArray fileBytes(const QString &path);

/// Makes the bytes the file's whole content; false when that fails.
bool write(const QString &path, const QByteArray &bytes);

/// A hash of the file's bytes, which need not fit into memory; empty when there is none.
QByteArray fileHash(const QString &path);

} // namespace Folders
