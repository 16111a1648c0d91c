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
/// does; elsewhere the file arrives with the announcement in front of it.
struct FileAnnouncement
{
    /// What is sent first, and so stored first.
    QByteArray bytes;
    /// How many of the original's first bytes are in there already.
    qint64 skippedBytes = 0;
    /// True when programs open the received file as if nothing stood in front.
    bool isComment = false;
    /// The format whose comment it is, or that was not recognised, for the user.
    QString format;
    /// Why the file cannot be announced; empty otherwise.
    QString refusal;

    /// Announces a file of that name and size, in bytes, that begins with `head` (the first 4 KiB
    /// or all of it).
    static FileAnnouncement of(const QString &name, quint64 size, const QByteArray &head,
                               quint64 tag);
};

} // namespace quillmote
