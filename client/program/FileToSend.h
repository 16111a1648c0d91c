// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/FileAnnouncement.h"

#include <QFile>
#include <QString>

#include <optional>

namespace quillmote {

/// A file of the command line, checked before anything is sent.
struct FileToSend
{
    QString path;
    /// The name under which the server saves it, below its download directory.
    QString name;
    /// In which form it arrives.
    FileAnnouncement::Place place = FileAnnouncement::Place::InFront;
    /// Why it arrives damaged, as the second half of a sentence; empty otherwise.
    QString obstacle;
    /// A sentence for the user about why it cannot be sent at all; empty if it can.
    QString problem;

    /// Without a name, the file's own name is used.
    static FileToSend at(const QString &path, const std::optional<QString> &name = {});
};

/// Why the file cannot be sent, whatever its name there; empty if it can.
QString reasonAgainstReading(const QString &path);

/// The announcement of a file with that size. The file is open, and nothing has been read from it.
FileAnnouncement announcementOf(const QString &name, QFile &file, quint64 size, quint64 tag);

/// A command for a POSIX shell in the download directory that removes the bytes in front of the
/// original file, which has that size.
QString restoringCommand(const QString &name, quint64 size);

} // namespace quillmote
