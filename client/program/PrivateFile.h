// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

/// Small files that only their user may read.
namespace quillmote::PrivateFile {

/// Nothing when there is no such file, or it is larger than a few kilobytes.
QByteArray read(const QString &path);

/// Replaces the whole file, or leaves it as it is and says why. Folders that are missing are made.
QString replace(const QString &path, const QByteArray &content);

/// The same, but a file that is there stays as it is: what another program wrote first counts.
QString create(const QString &path, const QByteArray &content);

} // namespace quillmote::PrivateFile
