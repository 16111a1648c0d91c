// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/applications/DefaultApplication.h"

#include "platform/linux/applications/DesktopEntry.h"
#include "platform/linux/applications/KeyFile.h"

#include <vector>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

/// What the files say about one MIME type.
class Associations
{
public:
    Associations(const QString &mimeType, const XdgDirectories &xdgDirectories)
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

    QString chosen() const
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

    /// A folder's removals hold for the folders after it.
    QString mostPreferred() const
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

private:
    /// Whether somebody named the program for the type, or it just says that it can.
    enum class Purpose { Chosen, Able };

    struct Folder
    {
        /// One a desktop, then the one for all desktops, the only one that may add or remove.
        std::vector<KeyFile> lists;
        KeyFile cache;
    };

    void addFolder(const QString &path, bool hasEntries)
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

    QString firstOf(const QStringList &ids, Purpose purpose) const
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

    QString type;
    const XdgDirectories &directories;
    std::vector<Folder> folders;
};

} // namespace

QString defaultApplication(const QString &mimeType, const XdgDirectories &directories)
{
    const Associations associations(mimeType, directories);
    const QString chosen = associations.chosen();
    return chosen.isEmpty() ? associations.mostPreferred() : chosen;
}

} // namespace platform
