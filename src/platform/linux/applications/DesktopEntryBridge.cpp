// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/applications/DesktopEntryBridge.h"

#include "platform/linux/applications/DesktopApplication.h"
#include "platform/linux/applications/MimeAssociations.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

/// The type of the files whose default application replaces that of the Mac on this desktop; empty
/// for an application without a counterpart.
QString handledType(const QString &identifier)
{
    static const QHash<QString, QString> types{
        {u"com.apple.finder"_s, u"inode/directory"_s},
        {u"com.apple.iTunes"_s, u"audio/mpeg"_s},
    };
    return types.value(identifier);
}

} // namespace

DesktopEntryBridge::DesktopEntryBridge(const XdgDirectories &xdgDirectories)
    : directories(xdgDirectories)
{
}

std::unique_ptr<ScriptableApplication>
DesktopEntryBridge::applicationWithBundleIdentifier(const QString &identifier)
{
    const QString file = applicationFile(identifier);
    if (file.isEmpty()) {
        return nullptr;
    }
    return std::make_unique<DesktopApplication>(DesktopEntry::read(file));
}

QString DesktopEntryBridge::applicationFile(const QString &identifier) const
{
    const QString file = directories.applicationFile(identifier + ".desktop"_L1);
    if (DesktopEntry::read(file).isApplication()) {
        return file;
    }
    const QString type = handledType(identifier);
    return type.isEmpty() ? QString() : MimeAssociations(type, directories).defaultApplication();
}

} // namespace platform
