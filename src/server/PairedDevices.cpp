// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/PairedDevices.h"

#include "settings/Settings.h"

#include <utility>

PairedDevices::Store PairedDevices::Store::ofNetwork()
{
    return {Settings::pairedDevices, Settings::storePairedDevices};
}

PairedDevices::Store PairedDevices::Store::ofSessions()
{
    return {Settings::sessionDevices, Settings::storeSessionDevices};
}

PairedDevices::PairedDevices(QStringList &list, Store store)
    : devices(list)
    , listStore(std::move(store))
{
    devices = listStore.read();
    known = QSet<QString>(devices.cbegin(), devices.cend());
}

void PairedDevices::store() const
{
    listStore.write(devices);
}

void PairedDevices::add(const QString &device)
{
    if (!contains(device)) {
        devices.append(device);
        known.insert(device);
    }
}

void PairedDevices::addUnasked(const QString &device)
{
    if (device.size() <= longestUnasked && devices.size() < maximumUnasked) {
        add(device);
    }
}
