// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/FileAnnouncement.h"

#include <QFile>
#include <QString>

#include <optional>

namespace quillmote {

/// A file of the command line, looked at before anything is sent.
struct FileToSend
{
    QString path;
    /// Under which the server saves it, below its download directory.
    QString name;
    /// How it arrives.
    FileAnnouncement::Place place = FileAnnouncement::Place::InFront;
    /// Why it does not arrive as it is, as the second half of a sentence.
    QString obstacle;
    /// Why it cannot be sent at all, as a sentence for the user; empty when it can.
    QString problem;

    /// Saved under the file's own name when none is given.
    static FileToSend at(const QString &path, const std::optional<QString> &name = {});
};

/// The announcement of a file of that size that is open and has not been read from.
FileAnnouncement announcementOf(const QString &name, QFile &file, quint64 size, quint64 tag);

/// A command for a POSIX shell in the download directory that takes off what arrived in front of
/// the file, which is that many bytes long.
QString restoringCommand(const QString &name, quint64 size);

} // namespace quillmote
