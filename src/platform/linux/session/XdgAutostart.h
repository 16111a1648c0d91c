// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/LoginItems.h"

#include <QList>
#include <QStringList>

namespace platform {

/// The desktop entries in the user's autostart folder, in the order of their file names (Desktop
/// Application Autostart Specification 0.5). Entries that the administrator has made for all users
/// are not part of it.
///
/// An entry that is switched off (Hidden=true, X-GNOME-Autostart-enabled=false) has its path like
/// any other. If the user switches this program off in the desktop's own settings, the entry
/// remains, so the next start of the program finds it and does not add a second one. A change in
/// our preferences overrides that: turning start at logon off removes the entry, turning it on
/// writes one that is switched on.
class XdgAutostart final : public LoginItems
{
public:
    /// Reads the folder. A missing one is an empty list; save() creates it when needed.
    explicit XdgAutostart(const QString &autostartFolder);

    /// The image file when this program runs from an AppImage, whose inner path changes at each
    /// start.
    QString applicationPath() const override;
    int count() const override { return static_cast<int>(entries.size()); }
    QString pathAt(int index) const override { return entries.value(index).path; }
    /// `hide` has no meaning here: no key starts a program with its windows hidden (this program
    /// has none at the start), and the key Hidden means that the entry is deleted.
    void append(const QString &path, bool hide) override;
    void removeAt(int index) override;
    /// A new file appears complete or not at all; the files of other entries are not touched.
    void save() override;

private:
    struct Entry
    {
        QString path;
        /// Empty until the entry is saved.
        QString fileName;
    };

    QString freeFileName() const;
    void write(Entry &entry) const;

    QString folder;
    QList<Entry> entries;
    QStringList removedFiles;
};

} // namespace platform
