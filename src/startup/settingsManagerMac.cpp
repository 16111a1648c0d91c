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
        if (items.pathAt(index).contains(name, Qt::CaseInsensitive)) {
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

settingsManagerMac::settingsManagerMac(std::unique_ptr<platform::LoginItems> loginItems)
    : items(std::move(loginItems))
{
}

void settingsManagerMac::startAtLogon(bool enable)
{
    const QString path = items->applicationPath();
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
