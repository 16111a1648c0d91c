// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

/// Small files that only their owner may read.
namespace quillmote::PrivateFile {

/// Empty if there is no such file, or if it is larger than `limit` bytes.
QByteArray read(const QString &path, qint64 limit = 4096);

/// Replaces the whole file, or leaves it unchanged and returns the reason. Missing folders are
/// made.
QString replace(const QString &path, const QByteArray &content);

/// The same, but an existing file is left unchanged: the program that writes first wins.
QString create(const QString &path, const QByteArray &content);

} // namespace quillmote::PrivateFile
