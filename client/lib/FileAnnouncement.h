// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

namespace quillmote {

/// The first bytes of a file transfer.
///
/// The server stores the announcement itself as the first bytes of the file. If the file's format
/// has comments, the announcement is written as one, so the received file opens like the original.
/// In plain text it is a first line of its own. Any other file arrives with the announcement in
/// front, and programs cannot read it until the announcement is removed.
struct FileAnnouncement
{
    /// The role of the announcement in the received file.
    enum class Place {
        Comment,   ///< programs open the file like the original
        FirstLine, ///< plain text with one more line
        InFront,   ///< the file is damaged
    };

    /// The bytes that are sent first, and so stored first.
    QByteArray bytes;
    /// How many of the original's first bytes these bytes contain.
    qint64 skippedBytes = 0;
    Place place = Place::InFront;
    /// Why a file is damaged, as the second half of a sentence; empty otherwise.
    QString obstacle;
    /// Why the file cannot be announced; empty otherwise.
    QString refusal;

    /// Announces a file with that name and size in bytes. `head` is its first 4 KiB, or all of it.
    static FileAnnouncement of(const QString &name, quint64 size, const QByteArray &head,
                               quint64 tag);
};

} // namespace quillmote
