// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "startup/settingsManagerMac.h"

#include <QStringList>

#include <optional>

namespace {

std::optional<int> firstEntryNaming(const QString &name, const platform::LoginItems &items)
{
    // Every path contains the empty name.
    if (name.isEmpty()) {
        return std::nullopt;
    }
    for (int index = 0; index < items.count(); ++index) {
        if (items.pathContains(index, name)) {
            return index;
        }
    }
    return std::nullopt;
}

QString lastPart(const QString &path)
{
    const QStringList parts = path.split(u'/', Qt::SkipEmptyParts);
    return parts.isEmpty() ? QString() : parts.last();
}

} // namespace

settingsManagerMac::settingsManagerMac(std::unique_ptr<platform::LoginItems> loginItems,
                                       std::unique_ptr<platform::SessionStart> start)
    : items(std::move(loginItems))
    , sessionStart(std::move(start))
{
}

void settingsManagerMac::startAtLogon(bool enable)
{
    const QString path = items->applicationPath();
    updateList(enable, path);
    sessionStart->setEnabled(enable, path);
}

void settingsManagerMac::updateList(bool enable, const QString &path)
{
    const auto entry = firstEntryNaming(lastPart(path), *items);
    if (entry.has_value() == enable) {
        return;
    }
    if (enable) {
        items->append(path, false);
    } else {
        items->removeAt(*entry);
    }
    items->save();
}
