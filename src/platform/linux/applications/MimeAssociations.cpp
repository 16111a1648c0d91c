// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/applications/MimeAssociations.h"

#include "platform/linux/applications/DesktopEntry.h"

using namespace Qt::StringLiterals;

namespace platform {

MimeAssociations::MimeAssociations(const QString &mimeType, const XdgDirectories &xdgDirectories)
    : type(mimeType)
    , directories(xdgDirectories)
{
    for (const QString &config : directories.allConfig()) {
        addFolder(config, false);
    }
    for (const QString &data : directories.allData()) {
        addFolder(data + "/applications"_L1, true);
    }
}

QString MimeAssociations::defaultApplication() const
{
    const QString file = chosen();
    return file.isEmpty() ? mostPreferred() : file;
}

void MimeAssociations::addFolder(const QString &path, bool hasEntries)
{
    Folder folder;
    for (const QString &desktop : directories.desktops) {
        folder.lists.push_back(
            KeyFile::read(path + u'/' + desktop.toLower() + "-mimeapps.list"_L1));
    }
    folder.lists.push_back(KeyFile::read(path + "/mimeapps.list"_L1));
    if (hasEntries) {
        folder.cache = KeyFile::read(path + "/mimeinfo.cache"_L1);
    }
    folders.push_back(folder);
}

QString MimeAssociations::chosen() const
{
    for (const Folder &folder : folders) {
        for (const KeyFile &list : folder.lists) {
            const QString file =
                firstOf(list.strings(u"Default Applications"_s, type), Purpose::Chosen);
            if (!file.isEmpty()) {
                return file;
            }
        }
    }
    return {};
}

/// What a folder removes is removed for the folders after it.
QString MimeAssociations::mostPreferred() const
{
    QStringList removed;
    for (const Folder &folder : folders) {
        const KeyFile &list = folder.lists.back();
        QStringList added = list.strings(u"Added Associations"_s, type);
        added.removeIf([&removed](const QString &id) { return removed.contains(id); });
        removed += list.strings(u"Removed Associations"_s, type);
        QStringList able = folder.cache.strings(u"MIME Cache"_s, type);
        able.removeIf([&removed](const QString &id) { return removed.contains(id); });
        for (const QString &file :
             {firstOf(added, Purpose::Chosen), firstOf(able, Purpose::Able)}) {
            if (!file.isEmpty()) {
                return file;
            }
        }
    }
    return {};
}

QString MimeAssociations::firstOf(const QStringList &ids, Purpose purpose) const
{
    for (const QString &id : ids) {
        const QString file = directories.applicationFile(id);
        const DesktopEntry entry = DesktopEntry::read(file);
        const bool suits = purpose == Purpose::Chosen || entry.isMeantFor(directories.desktops);
        if (entry.isApplication() && suits) {
            return file;
        }
    }
    return {};
}

} // namespace platform
