// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

namespace quillmote {

/// The first bytes of a file transfer.
///
/// The server stores the announcement itself as the first bytes of the file. Where the file's
/// format has comments, the announcement is made one, so the received file opens as the original
/// does. In plain text it is a first line of its own. Any other file arrives with the announcement
/// in front of it, and programs cannot read it until that is taken off.
struct FileAnnouncement
{
    /// What the announcement is in the received file.
    enum class Place {
        Comment,   ///< programs open the file as if nothing stood in front
        FirstLine, ///< plain text, with one line more for a person to read
        InFront,   ///< the file is damaged
    };

    /// What is sent first, and so stored first.
    QByteArray bytes;
    /// How many of the original's first bytes are in there already.
    qint64 skippedBytes = 0;
    Place place = Place::InFront;
    /// Why the place is no better one, as the second half of a sentence; empty otherwise.
    QString obstacle;
    /// Why the file cannot be announced; empty otherwise.
    QString refusal;

    /// Announces a file of that name and size, in bytes, that begins with `head` (the first 4 KiB
    /// or all of it).
    static FileAnnouncement of(const QString &name, quint64 size, const QByteArray &head,
                               quint64 tag);
};

} // namespace quillmote
