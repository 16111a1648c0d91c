// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/applications/KeyFile.h"
#include "platform/linux/applications/XdgDirectories.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace platform {

/// Which programs open files of one MIME type (Association between MIME types and applications
/// 1.0.1). Entries that cannot be started are passed over.
class MimeAssociations
{
public:
    /// Reads the files that say so. The directories must outlive the associations.
    MimeAssociations(const QString &mimeType, const XdgDirectories &xdgDirectories);

    /// The file of the desktop entry that opens files of the type: the user's, the administrator's
    /// or the distribution's choice, or else the most preferred program that can. Empty when there
    /// is none.
    QString defaultApplication() const;

private:
    /// Whether somebody named the program for the type, or the program declares that it can.
    enum class Purpose { Chosen, Able };

    /// The files of one folder.
    struct Folder
    {
        /// One for each desktop, then the one for all desktops, the only one that may add or remove
        /// associations.
        std::vector<KeyFile> lists;
        KeyFile cache;
    };

    void addFolder(const QString &path, bool hasEntries);
    QString chosen() const;
    QString mostPreferred() const;
    QString firstOf(const QStringList &ids, Purpose purpose) const;

    QString type;
    const XdgDirectories &directories;
    std::vector<Folder> folders; // The most important one first.
};

} // namespace platform
